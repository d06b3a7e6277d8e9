#include "hermite/expansion/gaussian_to_hermite.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace QXHermiteMath {

namespace {

// What an order of Expand asks for.
constexpr bool HasFirst(unsigned int order) {
  return order >= 1;
}
constexpr bool HasSecond(unsigned int order) {
  return order == 2 || order == 4;
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
  for (Table* f : {&fx, &fy, &fz}) f->resize(degree + 5);
  if (first) {
    for (Table* df : {&dfx, &dfy, &dfz}) df->resize(degree + 1);
    selfOverlapLambdaDerivatives.resize(3);
    for (std::vector<double>& d : firstDerivatives) d.resize(basisSize);
    weights.resize(basisSize);
  }
  if (second) {
    for (Table* ddf : {&ddfx, &ddfy, &ddfz}) ddf->resize(degree + 1);
    selfOverlapLambdaSecondDerivatives.resize(6);
    for (std::vector<double>& d : secondDerivatives) d.resize(basisSize);
  }
  inverseWeights.resize(basisSize);
  ForEachLmn(degree, [&](unsigned int i, unsigned int l, unsigned int m, unsigned int n) {
    const double weight = ks[m] * ks[l] * ks[n];
    if (first) weights[i] = weight;
    inverseWeights[i] = 1.0 / weight;
  });
}

bool QXGaussianToHermite::Expand(const QXHermiteOptions& newOptions,
                                 const std::vector<QXGaussian>& gaussians, unsigned int order) {
  const unsigned int N = newOptions.GetNPolyMax();
  if (N > nPolyMax) return false;
  options = newOptions;
  Clear(order, N);
  switch (order) {
    case 0:
      AddGaussians<0, false>(gaussians);
      break;
    case 1:
      AddGaussians<1, true>(gaussians);
      break;
    case 2:
      AddGaussians<2, true>(gaussians);
      break;
    case 3:
      AddGaussians<1, false>(gaussians);
      break;
    case 4:
      AddGaussians<2, false>(gaussians);
      break;
    default:
      return false;
  }

  const double volume = GetLambdaProduct(options);
  selfOverlap = SumOfNormalizedSquares(N, hermiteCoefficients.data(), norms.data()) / volume;
  if (order == 1 || order == 2) SelfOverlapLambdaDerivatives();
  if (order == 2) SelfOverlapLambdaSecondDerivatives();
  if (order == 3 || order == 4) AppendTranslationalDerivatives(HasSecond(order));
  return true;
}

void QXGaussianToHermite::Clear(unsigned int order, unsigned int N) {
  const size_t basisSize = QXHermiteBasisSize(N);
  const auto clear = [basisSize](std::vector<double>& values) {
    std::fill_n(values.begin(), std::min(basisSize, values.size()), 0.0);
  };
  clear(hermiteCoefficients);
  if (HasFirst(order)) std::for_each(firstDerivatives.begin(), firstDerivatives.end(), clear);
  if (HasSecond(order)) std::for_each(secondDerivatives.begin(), secondDerivatives.end(), clear);
}

template <unsigned int Derivatives, bool InWidths>
void QXGaussianToHermite::AddGaussians(const std::vector<QXGaussian>& gaussians) {
  const double lambda[] = {options.GetLambdaX(), options.GetLambdaY(), options.GetLambdaZ()};
  const QXCore::QXSimdLevel level = QXCore::QXGetSimdLevel();
  double* targets[] = {hermiteCoefficients.data(),    firstDerivatives[0].data(),
                       firstDerivatives[1].data(),    firstDerivatives[2].data(),
                       secondDerivatives[kXX].data(), secondDerivatives[kYY].data(),
                       secondDerivatives[kZZ].data(), secondDerivatives[kXY].data(),
                       secondDerivatives[kXZ].data(), secondDerivatives[kYZ].data()};
  for (std::span<const QXGaussian> rest = gaussians; !rest.empty();) {
    const kernel::GaussianBatch batch(rest.first(std::min<size_t>(rest.size(), kernel::kBatch)));
    rest = rest.subspan(batch.count);
    const kernel::ExpansionKernel<Derivatives, InWidths> sums{
        batch,
        options.GetNPolyMax(),
        lambda,
        {{fx.data(), fy.data(), fz.data()},
         {dfx.data(), dfy.data(), dfz.data()},
         {ddfx.data(), ddfy.data(), ddfz.data()}},
        inverseWeights.data(),
        targets};
    QXCore::QXRunKernel(level, sums);
  }
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
  // Four sums side by side: one alone would wait for each addition to end.
  double sum[4] = {};
  size_t i = 0;
  for (; i + 4 <= basisSize; i += 4)
    for (size_t j = 0; j < 4; ++j) sum[j] += weights[i + j] * a[i + j] * b[i + j];
  for (; i < basisSize; ++i) sum[0] += weights[i] * a[i] * b[i];
  return (sum[0] + sum[1]) + (sum[2] + sum[3]);
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
  kernel::BuildFDerivative(N, 1.0 / u, f.data(), df.data());
  return true;
}

bool QXGaussianToHermite::BuildFSecondDerivative(unsigned int N, double u,
                                                 const std::vector<double>& f,
                                                 std::vector<double>& ddf) {
  kernel::BuildFSecondDerivative(N, 1.0 / (u * u), f.data(), ddf.data());
  return true;
}

bool QXGaussianToHermite::BuildFSecondArgDerivative(unsigned int N, double u,
                                                    const std::vector<double>& f,
                                                    std::vector<double>& df) {
  kernel::BuildFSecondArgDerivative(N, 1.0 / u, f.data(), df.data());
  return true;
}

bool QXGaussianToHermite::BuildFSecondArgSecondDerivative(unsigned int N, double u,
                                                          const std::vector<double>& f,
                                                          std::vector<double>& ddf) {
  kernel::BuildFSecondArgSecondDerivative(N, 1.0 / (u * u), f.data(), ddf.data());
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
