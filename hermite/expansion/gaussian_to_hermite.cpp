#include "hermite/expansion/gaussian_to_hermite.h"

#include <algorithm>
#include <cmath>

#include "hermite/expansion/gaussian_integrals.h"

namespace QXHermiteMath {

namespace {

// What an order of Expand asks for.
constexpr bool HasFirst(unsigned int order) {
  return order >= 1;
}
constexpr bool HasSecond(unsigned int order) {
  return order == 2 || order == 4;
}
constexpr bool InWidths(unsigned int order) {
  return order == 1 || order == 2;
}

// How far beyond N the derivative tables of an order read F.
constexpr unsigned int ExtraIntegrals(unsigned int order) {
  constexpr unsigned int extra[] = {0, 2, 4, 1, 2};
  return extra[order];
}

void ClearPrefix(std::vector<double>& values, size_t count) {
  std::fill_n(values.begin(), std::min(count, values.size()), 0.0);
}

}  // namespace

QXGaussianToHermite::QXGaussianToHermite(unsigned int degree, unsigned int firstFlag,
                                         unsigned int secondFlag)
    : nPolyMax(degree), ks(computeKs(degree)), norms(QXCalcHermiteNormalization(degree)) {
  const size_t basisSize = QXHermiteBasisSize(degree);
  const bool second = secondFlag != 0;
  const bool first = firstFlag != 0 || second;

  hermiteCoefficients.resize(basisSize);
  // The derivative orders read F up to N + 4.
  for (std::vector<double>* f : {&fx, &fy, &fz}) f->resize(degree + 5);
  if (first) {
    for (std::vector<double>* df : {&dfx, &dfy, &dfz}) df->resize(degree + 1);
    selfOverlapLambdaDerivatives.resize(3);
    for (std::vector<double>& d : firstDerivatives) d.resize(basisSize);
  }
  if (second) {
    for (std::vector<double>* ddf : {&ddfx, &ddfy, &ddfz}) ddf->resize(degree + 1);
    selfOverlapLambdaSecondDerivatives.resize(6);
    for (std::vector<double>& d : secondDerivatives) d.resize(basisSize);
  }
  for (double k : ks) inverseKs.push_back(1.0 / k);
  weights.resize(basisSize);
  ForEachLmn(degree, [this](unsigned int i, unsigned int l, unsigned int m, unsigned int n) {
    weights[i] = ks[m] * ks[l] * ks[n];
  });
  plane.resize(static_cast<size_t>(degree + 1) * (degree + 2) / 2);
  unsorted.resize(basisSize);
}

bool QXGaussianToHermite::Expand(const QXHermiteOptions& newOptions,
                                 const std::vector<QXGaussian>& gaussians, unsigned int order) {
  const unsigned int N = newOptions.GetNPolyMax();
  if (N > nPolyMax) return false;
  options = newOptions;
  Clear(order, N);
  switch (order) {
    case 0:
      AddGaussians<0>(gaussians);
      break;
    case 1:
      AddGaussians<1>(gaussians);
      break;
    case 2:
      AddGaussians<2>(gaussians);
      break;
    case 3:
      AddGaussians<3>(gaussians);
      break;
    case 4:
      AddGaussians<4>(gaussians);
      break;
    default:
      return false;
  }

  if (InWidths(order)) ScaleToLambdaDerivatives(HasSecond(order));
  const double volume = GetLambdaProduct(options);
  selfOverlap = SumOfNormalizedSquares(N, hermiteCoefficients.data(), norms.data()) / volume;
  if (InWidths(order)) {
    SelfOverlapLambdaDerivatives();
    if (HasSecond(order)) SelfOverlapLambdaSecondDerivatives();
  } else if (HasFirst(order)) {
    AppendTranslationalDerivatives(HasSecond(order));
  }
  return true;
}

void QXGaussianToHermite::Clear(unsigned int order, unsigned int N) {
  const size_t basisSize = QXHermiteBasisSize(N);
  ClearPrefix(hermiteCoefficients, basisSize);
  if (HasFirst(order))
    for (std::vector<double>& d : firstDerivatives) ClearPrefix(d, basisSize);
  if (HasSecond(order))
    for (std::vector<double>& d : secondDerivatives) ClearPrefix(d, basisSize);
}

template <unsigned int Order>
void QXGaussianToHermite::AddGaussians(const std::vector<QXGaussian>& gaussians) {
  const unsigned int N = options.GetNPolyMax();
  const double lambdaX = options.GetLambdaX();
  const double lambdaY = options.GetLambdaY();
  const double lambdaZ = options.GetLambdaZ();
  for (const QXGaussian& g : gaussians) {
    const double width = g.GetWidth();
    BuildTables<Order>(width, g.GetX(), lambdaX, N, fx, dfx, ddfx);
    BuildTables<Order>(width, g.GetY(), lambdaY, N, fy, dfy, ddfy);
    BuildTables<Order>(width, g.GetZ(), lambdaZ, N, fz, dfz, ddfz);
    AddGaussian<Order>(g.GetAmplitude(), std::sqrt(width + width), N);
  }
  // All targets were summed in the order that is fast to add to.
  const auto sort = [&](std::vector<double>& target) {
    std::copy_n(target.begin(), QXHermiteBasisSize(N), unsorted.begin());
    kernel::ToShellOrder(N, unsorted.data(), target.data());
  };
  sort(hermiteCoefficients);
  if constexpr (HasFirst(Order))
    std::for_each(firstDerivatives.begin(), firstDerivatives.end(), sort);
  if constexpr (HasSecond(Order))
    std::for_each(secondDerivatives.begin(), secondDerivatives.end(), sort);
}

// After this the tables carry the division by K, once an axis instead of once a coefficient.
template <unsigned int Order>
void QXGaussianToHermite::BuildTables(double width, double center, double lambda, unsigned int N,
                                      std::vector<double>& f, std::vector<double>& df,
                                      std::vector<double>& ddf) const {
  kernel::BuildF(width, center, N + ExtraIntegrals(Order), lambda, f.data());
  const double u = std::sqrt(width + width) / lambda;
  if constexpr (InWidths(Order)) {
    kernel::BuildFDerivative(N, u, f.data(), df.data());
    if constexpr (HasSecond(Order)) kernel::BuildFSecondDerivative(N, u, f.data(), ddf.data());
  } else if constexpr (HasFirst(Order)) {
    kernel::BuildFSecondArgDerivative(N, u, f.data(), df.data());
    if constexpr (HasSecond(Order))
      kernel::BuildFSecondArgSecondDerivative(N, u, f.data(), ddf.data());
  }
  for (unsigned int k = 0; k <= N; ++k) {
    f[k] *= inverseKs[k];
    if constexpr (HasFirst(Order)) df[k] *= inverseKs[k];
    if constexpr (HasSecond(Order)) ddf[k] *= inverseKs[k];
  }
}

// Each plane of y and z products serves all targets that share it.
template <unsigned int Order>
void QXGaussianToHermite::AddGaussian(double amplitude, double a, unsigned int N) {
  const auto buildPlane = [&](const std::vector<double>& tableY,
                              const std::vector<double>& tableZ) {
    kernel::BuildPlane(N, tableY.data(), tableZ.data(), plane.data());
  };
  const auto add = [&](double prefactor, const std::vector<double>& tableX,
                       std::vector<double>& target) {
    kernel::AddProduct(N, prefactor, tableX.data(), plane.data(), target.data());
  };
  const double first = -amplitude * a;
  const double second = amplitude * a * a;

  buildPlane(fy, fz);
  add(amplitude, fx, hermiteCoefficients);
  if constexpr (HasFirst(Order)) add(first, dfx, firstDerivatives[0]);
  if constexpr (HasSecond(Order)) add(second, ddfx, secondDerivatives[kXX]);
  if constexpr (HasFirst(Order)) {
    buildPlane(dfy, fz);
    add(first, fx, firstDerivatives[1]);
    if constexpr (HasSecond(Order)) add(second, dfx, secondDerivatives[kXY]);
    buildPlane(fy, dfz);
    add(first, fx, firstDerivatives[2]);
    if constexpr (HasSecond(Order)) add(second, dfx, secondDerivatives[kXZ]);
  }
  if constexpr (HasSecond(Order)) {
    buildPlane(ddfy, fz);
    add(second, fx, secondDerivatives[kYY]);
    buildPlane(fy, ddfz);
    add(second, fx, secondDerivatives[kZZ]);
    buildPlane(dfy, dfz);
    add(second, fx, secondDerivatives[kYZ]);
  }
}

// From derivatives in u to derivatives in lambda, by the chain rule through u = a/lambda. The
// factor -a of each derivative is in the prefactor already.
void QXGaussianToHermite::ScaleToLambdaDerivatives(bool second) {
  const size_t basisSize = QXHermiteBasisSize(options.GetNPolyMax());
  const double lambda[3] = {options.GetLambdaX(), options.GetLambdaY(), options.GetLambdaZ()};
  double square[3];
  for (int a = 0; a < 3; ++a) square[a] = lambda[a] * lambda[a];

  if (second) {
    for (size_t a = 0; a < 3; ++a) {
      const double cube = square[a] * lambda[a];
      const double fourth = square[a] * square[a];
      for (size_t i = 0; i < basisSize; ++i)
        secondDerivatives[a][i] =
            secondDerivatives[a][i] / fourth - 2.0 * firstDerivatives[a][i] / cube;
    }
    for (size_t i = 0; i < basisSize; ++i) {
      secondDerivatives[kXY][i] /= square[1] * square[0];
      secondDerivatives[kXZ][i] /= square[2] * square[0];
      secondDerivatives[kYZ][i] /= square[2] * square[1];
    }
  }
  for (size_t a = 0; a < 3; ++a)
    for (size_t i = 0; i < basisSize; ++i) firstDerivatives[a][i] /= square[a];
}

void QXGaussianToHermite::AppendTranslationalDerivatives(bool second) {
  for (const std::vector<double>& d : firstDerivatives) translationalDerivatives.push_back(d);
  if (!second) return;
  for (Second pair : {kXX, kXY, kYY, kXZ, kYZ, kZZ})
    translationalSecondDerivatives.push_back(secondDerivatives[pair]);
}

double QXGaussianToHermite::WeightedDot(const std::vector<double>& a,
                                        const std::vector<double>& b) const {
  const size_t basisSize = QXHermiteBasisSize(options.GetNPolyMax());
  double sum = 0.0;
  for (size_t i = 0; i < basisSize; ++i) sum += weights[i] * a[i] * b[i];
  return sum;
}

bool QXGaussianToHermite::SelfOverlapLambdaDerivatives() {
  const double lambda[3] = {options.GetLambdaX(), options.GetLambdaY(), options.GetLambdaZ()};
  const double volume = GetLambdaProduct(options);
  for (size_t a = 0; a < 3; ++a) {
    const double T = 2.0 * WeightedDot(hermiteCoefficients, firstDerivatives[a]) / volume;
    selfOverlapLambdaDerivatives[a] = T - selfOverlap / lambda[a];
  }
  return true;
}

bool QXGaussianToHermite::SelfOverlapLambdaSecondDerivatives() {
  const double lambda[3] = {options.GetLambdaX(), options.GetLambdaY(), options.GetLambdaZ()};
  const double volume = GetLambdaProduct(options);
  const std::vector<double>& d = selfOverlapLambdaDerivatives;
  const auto U = [&](size_t a, size_t b, Second pair) {
    return 2.0 *
           (WeightedDot(hermiteCoefficients, secondDerivatives[pair]) +
            WeightedDot(firstDerivatives[a], firstDerivatives[b])) /
           volume;
  };
  const auto diagonal = [&](size_t a, Second pair) {
    return U(a, a, pair) - 2.0 * d[a] / lambda[a];
  };
  const auto mixed = [&](size_t a, size_t b, Second pair) {
    return U(a, b, pair) - selfOverlap / (lambda[a] * lambda[b]) - d[a] / lambda[b] -
           d[b] / lambda[a];
  };
  selfOverlapLambdaSecondDerivatives = {diagonal(0, kXX), mixed(0, 1, kXY), diagonal(1, kYY),
                                        mixed(0, 2, kXZ), mixed(1, 2, kYZ), diagonal(2, kZZ)};
  return true;
}

std::vector<double> QXGaussianToHermite::Convolve(const std::vector<std::vector<double>>& list,
                                                  size_t count,
                                                  const std::vector<double>& q) const {
  const size_t basisSize = QXHermiteBasisSize(options.GetNPolyMax());
  std::vector<double> result(count, 0.0);
  for (size_t p = 0; p < count; ++p)
    for (size_t i = 0; i < basisSize; ++i) result[p] += q[i] * list[p][i];
  return result;
}

std::vector<double> QXGaussianToHermite::GetTranslationalDerivativeConvolution(
    const std::vector<double>& q) const {
  return Convolve(translationalDerivatives, 3, q);
}

std::vector<double> QXGaussianToHermite::GetTranslationalSecondDerivativeConvolution(
    const std::vector<double>& q) const {
  return Convolve(translationalSecondDerivatives, 6, q);
}

bool QXGaussianToHermite::BuildF(double width, double center, unsigned int kMax, double lambda,
                                 std::vector<double>& f) {
  kernel::BuildF(width, center, kMax, lambda, f.data());
  return true;
}

bool QXGaussianToHermite::BuildFDerivative(unsigned int N, double u, const std::vector<double>& f,
                                           std::vector<double>& df) {
  kernel::BuildFDerivative(N, u, f.data(), df.data());
  return true;
}

bool QXGaussianToHermite::BuildFSecondDerivative(unsigned int N, double u,
                                                 const std::vector<double>& f,
                                                 std::vector<double>& ddf) {
  kernel::BuildFSecondDerivative(N, u, f.data(), ddf.data());
  return true;
}

bool QXGaussianToHermite::BuildFSecondArgDerivative(unsigned int N, double u,
                                                    const std::vector<double>& f,
                                                    std::vector<double>& df) {
  kernel::BuildFSecondArgDerivative(N, u, f.data(), df.data());
  return true;
}

bool QXGaussianToHermite::BuildFSecondArgSecondDerivative(unsigned int N, double u,
                                                          const std::vector<double>& f,
                                                          std::vector<double>& ddf) {
  kernel::BuildFSecondArgSecondDerivative(N, u, f.data(), ddf.data());
  return true;
}

bool QXGaussianToHermite::CoefficientsConvolution(unsigned int order, const QXGaussian& g,
                                                  const std::vector<double>& f1,
                                                  const std::vector<double>& f2,
                                                  const std::vector<double>& f3,
                                                  std::vector<double>& result) {
  double prefactor = g.GetAmplitude();
  const double width = g.GetWidth();
  if (order != 0) prefactor *= std::pow(-std::sqrt(width + width), order);
  ForEachLmn(options.GetNPolyMax(),
             [&](unsigned int i, unsigned int l, unsigned int m, unsigned int n) {
               result[i] += prefactor * f1[l] * f2[m] * f3[n] / (ks[m] * ks[l] * ks[n]);
             });
  return true;
}

}  // namespace QXHermiteMath
