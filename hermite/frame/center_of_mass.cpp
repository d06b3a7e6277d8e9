#include "hermite/frame/center_of_mass.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "hermite/expansion/gaussian_to_hermite.h"
#include "hermite/expansion/hermite.h"
#include "hermite/foundations/basis.h"
#include "hermite/frame/moments.h"
#include "host/core/throw.h"
#include "host/minimizer/newton.h"

namespace QXHermiteMath {

namespace {

// What gradient and Hessian share at one point.
struct Derivatives {
  std::vector<double> C;                 // the centre of mass
  std::array<std::vector<double>, 3> W;  // dC_a/dc, in shell order
  std::array<std::vector<double>, 3> D;  // dC_a/dx_j = D[a][j]
  std::vector<double> V;                 // -dlog(M_0)/dc, in shell order
};

std::vector<double> CenterOfMass(std::vector<QXGaussian>& gaussians,
                                 QXHermiteOptions const& options) {
  return QXHermiteCM(gaussians, options.GetNPolyMax(), options.GetLambdaX(), options.GetLambdaY(),
                     options.GetLambdaZ(), false);
}

// L is the width that scales the weights; engine has expanded the Gaussians at order 3 or 4.
Derivatives GetDerivatives(std::vector<QXGaussian>& gaussians, QXHermiteOptions const& options,
                           QXGaussianToHermite const& engine, double L) {
  const unsigned int N = options.GetNPolyMax();
  QXHermite h;
  h.Setup(gaussians, options);
  const double M0 = Hermite3DMoment(0, 0, 0, N, options.GetLambdaX(), options.GetLambdaY(),
                                    options.GetLambdaZ(), h.GetCoefficients());
  const double cube = L * L * L;
  const double fourth = cube * L;
  const std::vector<double> p0 = Hermite1DMoments(N, 0);
  const std::vector<double> p1 = Hermite1DMoments(N, 1);

  Derivatives d;
  d.C = CenterOfMass(gaussians, options);
  const size_t basisSize = QXHermiteBasisSize(N);
  for (std::vector<double>& w : d.W) w.resize(basisSize);
  d.V.resize(basisSize);
  ForEachLmn(N, [&](unsigned int i, unsigned int l, unsigned int m, unsigned int n) {
    const double zeroth = p0[l] * p0[m] * p0[n];
    d.W[0][i] = (p1[l] * p0[m] * p0[n] / fourth - zeroth * d.C[0] / cube) / M0;
    d.W[1][i] = (p0[l] * p1[m] * p0[n] / fourth - zeroth * d.C[1] / cube) / M0;
    d.W[2][i] = (p0[l] * p0[m] * p1[n] / fourth - zeroth * d.C[2] / cube) / M0;
    d.V[i] = -zeroth / (cube * M0);
  });
  for (size_t a = 0; a < 3; ++a) d.D[a] = engine.GetTranslationalDerivativeConvolution(d.W[a]);
  return d;
}

void GetGradient(Derivatives const& d, double* gradient) {
  for (size_t j = 0; j < 3; ++j)
    gradient[j] = 2.0 * (d.C[0] * d.D[0][j] + d.C[1] * d.D[1][j] + d.C[2] * d.D[2][j]);
}

double SquaredLength(std::vector<double> const& C) {
  return C[0] * C[0] + C[1] * C[1] + C[2] * C[2];
}

std::vector<double> Scaled(std::vector<double> const& values, double factor) {
  std::vector<double> scaled(values);
  for (double& value : scaled) value *= factor;
  return scaled;
}

}  // namespace

std::vector<double> QXHermiteCM(std::vector<QXGaussian>& gaussians, unsigned int N, double lambdaX,
                                double lambdaY, double lambdaZ, bool singleLambda) {
  QXHermiteOptions options;
  options.SetNPolyMax(N);
  SetLambdas(options, lambdaX, lambdaY, lambdaZ);
  options.SetUseOptimalLambdas(false);
  options.SetUseSingleLambda(singleLambda);
  QXHermite h;
  h.Setup(gaussians, options);
  const unsigned int degree = options.GetNPolyMax();  // the options refuse an N above 100
  const auto moment = [&](unsigned int a, unsigned int b, unsigned int c) {
    return Hermite3DMoment(a, b, c, degree, lambdaX, lambdaY, lambdaZ, h.GetCoefficients());
  };
  const double M0 = moment(0, 0, 0);
  return {moment(1, 0, 0) / M0, moment(0, 1, 0) / M0, moment(0, 0, 1) / M0};
}

bool QXTranslateGaussians(std::vector<QXGaussian>& gaussians, float* t) {
  for (QXGaussian& g : gaussians) {
    g.SetX(g.GetX() + t[0]);
    g.SetY(g.GetY() + t[1]);
    g.SetZ(g.GetZ() + t[2]);
  }
  return true;
}

double max_abs(std::vector<double> const& values) {
  double largest = 0.0;
  for (double value : values) {
    if (std::isnan(value)) return value;  // std::max would drop it
    largest = std::max(largest, std::fabs(value));
  }
  return largest;
}

QXHermiteCOMFunc::QXHermiteCOMFunc(QXHermiteOptions const& newOptions,
                                   std::vector<QXGaussian> const& newGaussians)
    : options(newOptions), gaussians(newGaussians) {}

// A copy each time: shifts must not accumulate.
std::vector<QXGaussian> QXHermiteCOMFunc::Shifted(double const* x) const {
  std::vector<QXGaussian> copy = gaussians;
  float t[3] = {static_cast<float>(x[0]), static_cast<float>(x[1]), static_cast<float>(x[2])};
  QXTranslateGaussians(copy, t);
  return copy;
}

double QXHermiteCOMFunc::operator()(double const* x) {
  std::vector<QXGaussian> copy = Shifted(x);
  return SquaredLength(CenterOfMass(copy, options));
}

double QXHermiteCOMFunc::operator()(double const* x, double* gradient) {
  std::vector<QXGaussian> copy = Shifted(x);
  QXGaussianToHermite engine(options.GetNPolyMax(), 1, 0);
  engine.Expand(options, copy, 3);
  const Derivatives d = GetDerivatives(copy, options, engine, options.GetLambdaX());
  GetGradient(d, gradient);
  return SquaredLength(d.C);
}

bool QXHermiteCOMFunc::operator()(double const* x, double* hessian, double* gradient) {
  std::vector<QXGaussian> copy = Shifted(x);
  QXGaussianToHermite engine(options.GetNPolyMax(), 1, 1);
  engine.Expand(options, copy, 4);
  const double L =
      (options.GetLambdaX() + options.GetLambdaY() + options.GetLambdaZ()) * 0.3333333333333333;
  const Derivatives d = GetDerivatives(copy, options, engine, L);
  GetGradient(d, gradient);

  // E_a(j, k) = d^2 C_a/dx_j dx_k, row-major lower triangle, which is also the order
  // xx, xy, yy, xz, yz, zz of the second convolution.
  std::fill_n(hessian, 6, 0.0);
  for (size_t a = 0; a < 3; ++a) {
    const std::vector<double> direct = engine.GetTranslationalSecondDerivativeConvolution(d.W[a]);
    std::array<std::vector<double>, 3> cross;  // cross[k][j]: element j of the convolution of U_ak
    for (size_t k = 0; k < 3; ++k)
      cross[k] = engine.GetTranslationalDerivativeConvolution(Scaled(d.V, d.D[a][k]));
    size_t p = 0;
    for (size_t j = 0; j < 3; ++j) {
      for (size_t k = 0; k <= j; ++k, ++p) {
        const double E = direct[p] + cross[k][j] + cross[j][k];
        hessian[p] += 2.0 * (d.C[a] * E + d.D[a][j] * d.D[a][k]);
      }
    }
  }
  return true;
}

const double* QXHermiteCOMFunc::GetFComponents(double const*) {
  QXCore::QXThrow.Warning("This method has not been implemented yet.");
  return nullptr;
}

std::vector<double> QXOptimizationSearchOfHermiteCOM(std::vector<QXGaussian>& gaussians,
                                                     unsigned int N, double lambda) {
  QXMinimizer::QXNewtonOpt minimizer;
  minimizer.SetTolerance(0.0001);
  minimizer.SetIterLimit(100);
  QXHermiteOptions options;
  SetLambdas(options, lambda, lambda, lambda);
  options.SetUseOptimalLambdas(false);
  options.SetNPolyMax(N);
  QXHermiteCOMFunc func(options, gaussians);
  const double start[3] = {0.0, 0.0, 0.0};
  double x[3] = {0.0, 0.0, 0.0};
  minimizer(func, nullptr, start, x);
  // The Gaussians must move by x to bring their centre to the origin, so it lies at -x.
  return {-x[0], -x[1], -x[2]};
}

std::vector<double> QXIterativeSearchOfHermiteCOM(std::vector<QXGaussian>& gaussians,
                                                  unsigned int N, double lambdaX, double lambdaY,
                                                  double lambdaZ, double tolerance,
                                                  unsigned int maxIterations) {
  const auto centre = [&] { return QXHermiteCM(gaussians, N, lambdaX, lambdaY, lambdaZ, false); };
  std::vector<double> C = centre();
  std::vector<double> total = C;
  for (unsigned int i = 0; max_abs(C) > tolerance && i < maxIterations; ++i) {
    float back[3] = {-static_cast<float>(C[0]), -static_cast<float>(C[1]),
                     -static_cast<float>(C[2])};
    QXTranslateGaussians(gaussians, back);
    C = centre();
    for (size_t a = 0; a < 3; ++a) total[a] += C[a];
  }
  return total;
}

}  // namespace QXHermiteMath
