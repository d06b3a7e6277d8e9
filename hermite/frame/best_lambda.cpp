#include "hermite/frame/best_lambda.h"

#include <algorithm>
#include <cmath>

#include "host/core/throw.h"

namespace QXHermiteMath {

QXHermiteSelfOverlap::QXHermiteSelfOverlap(QXHermiteOptions const& newOptions,
                                           std::vector<QXGaussian> const& newGaussians)
    : options(newOptions), engine(newOptions.GetNPolyMax(), 1, 1), gaussians(newGaussians) {}

unsigned int QXHermiteSelfOverlap::NumVar() const {
  return options.GetUseSingleLambda() ? 1 : 3;
}

void QXHermiteSelfOverlap::SetCandidate(double const* x) {
  const bool single = NumVar() == 1;
  SetLambdas(options, std::exp(x[0]), std::exp(x[single ? 0 : 1]), std::exp(x[single ? 0 : 2]));
}

// By the chain rule through lambda = exp(u).
void QXHermiteSelfOverlap::GetGradient(double* gradient) const {
  const std::vector<double>& d = engine.GetSelfOverlapLambdaDerivatives();
  if (NumVar() == 1) {
    gradient[0] = -options.GetLambdaX() * (d[0] + d[1] + d[2]);
    return;
  }
  gradient[0] = -options.GetLambdaX() * d[0];
  gradient[1] = -options.GetLambdaY() * d[1];
  gradient[2] = -options.GetLambdaZ() * d[2];
}

double QXHermiteSelfOverlap::operator()(double const* x) {
  SetCandidate(x);
  options.SetUseOptimalLambdas(false);
  QXGaussianToHermite plain(options.GetNPolyMax(), 0, 0);
  plain.Expand(options, gaussians, 0);
  return -plain.GetSelfOverlap();
}

double QXHermiteSelfOverlap::operator()(double const* x, double* gradient) {
  SetCandidate(x);
  options.SetUseOptimalLambdas(false);
  engine.Expand(options, gaussians, 1);
  GetGradient(gradient);
  return -engine.GetSelfOverlap();
}

bool QXHermiteSelfOverlap::operator()(double const* x, double* hessian, double* gradient) {
  SetCandidate(x);
  const bool single = NumVar() == 1;
  engine.Expand(options, gaussians, single ? 1 : 2);
  GetGradient(gradient);
  if (single) return true;

  const double lambda[3] = {options.GetLambdaX(), options.GetLambdaY(), options.GetLambdaZ()};
  // xx, xy, yy, xz, yz, zz is the lower triangle by rows.
  const std::vector<double>& dd = engine.GetSelfOverlapLambdaSecondDerivatives();
  size_t p = 0;
  for (size_t a = 0; a < 3; ++a) {
    for (size_t b = 0; b <= a; ++b, ++p) {
      hessian[p] = -lambda[a] * lambda[b] * dd[p];
      if (a == b) hessian[p] += gradient[a];
    }
  }
  return true;
}

const double* QXHermiteSelfOverlap::GetFComponents(double const*) {
  QXCore::QXThrow.Warning("This method has not been implemented yet.");
  return nullptr;
}

namespace {

std::vector<double> LambdasOfExtents(QXHermiteOptions const& options, const double* extent,
                                     double margin) {
  const double w = 2.0 * std::pow(options.GetNPolyMax() + 1.0, 0.16666666666666666);
  return {w / (extent[0] + margin), w / (extent[1] + margin), w / (extent[2] + margin)};
}

}  // namespace

std::vector<double> QXApproxHermiteBestLambda(std::vector<QXGaussian> const& gaussians,
                                              QXHermiteOptions const& options) {
  double extent[3] = {1.0, 1.0, 1.0};
  for (const QXGaussian& g : gaussians) {
    const double position[3] = {g.GetX(), g.GetY(), g.GetZ()};
    for (int a = 0; a < 3; ++a) extent[a] = std::max(extent[a], std::fabs(position[a]));
  }
  return LambdasOfExtents(options, extent, 1.0);
}

std::vector<double> QXApproxHermiteBestLambda(QXScalarGrid const& grid,
                                              QXHermiteOptions const& options,
                                              std::vector<double> const& center) {
  const float* values = grid.GetValues();
  float running = 0.0f;
  for (unsigned int i = 0; i < grid.GetSize(); ++i) {
    if (running < std::fabs(values[i])) running = values[i];
  }
  const float threshold = 0.25f * running;

  double extent[3] = {1.0, 1.0, 1.0};
  QXForEachElement(grid, [&](float value, double x, double y, double z) {
    if (!(std::fabs(value) > threshold)) return;
    extent[0] = std::max(extent[0], std::fabs(x - center[0]));
    extent[1] = std::max(extent[1], std::fabs(y - center[1]));
    extent[2] = std::max(extent[2], std::fabs(z - center[2]));
  });
  return LambdasOfExtents(options, extent, 0.5);
}

}  // namespace QXHermiteMath
