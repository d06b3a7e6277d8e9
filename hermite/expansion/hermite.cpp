#include "hermite/expansion/hermite.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "hermite/expansion/gaussian_to_hermite.h"
#include "hermite/expansion/grid_evaluation.h"
#include "hermite/expansion/grid_projection.h"
#include "hermite/foundations/basis.h"
#include "hermite/frame/best_lambda.h"
#include "hermite/frame/inertial_orientation.h"
#include "host/minimizer/bfgs.h"
#include "host/minimizer/newton.h"

namespace QXHermiteMath {

namespace {

double FullWidth(const std::vector<QXGaussian>& gaussians) {
  double width = std::numeric_limits<double>::min();
  for (const QXGaussian& g : gaussians) {
    const double ax = std::fabs(static_cast<double>(g.GetX()));
    const double ay = std::fabs(static_cast<double>(g.GetY()));
    const double az = std::fabs(static_cast<double>(g.GetZ()));
    width = 2.0 * std::max({ax, ay, az, width / 2.0});
  }
  return width;
}

void UseSmallestLambda(QXHermiteOptions& options) {
  const double smallest =
      std::min({options.GetLambdaX(), options.GetLambdaY(), options.GetLambdaZ()});
  SetLambdas(options, smallest, smallest, smallest);
}

}  // namespace

bool QXHermite::Setup(const std::vector<QXGaussian>& gaussians,
                      const QXHermiteOptions& newOptions) {
  center.assign(3, 0.0);
  if (newOptions.GetUseCenterOfMass()) {
    std::vector<QXGaussian> centered = gaussians;
    center = QXCenterGaussians(centered);
    SetupAboutOrigin(centered, newOptions);
  } else {
    SetupAboutOrigin(gaussians, newOptions);
  }
  return true;
}

void QXHermite::SetupAboutOrigin(const std::vector<QXGaussian>& g,
                                 const QXHermiteOptions& newOptions) {
  extent = FullWidth(g);
  options = newOptions;

  if (!options.GetUseOptimalLambdas()) {
    if (options.GetUseSingleLambda()) UseSmallestLambda(options);
  } else if (options.GetUseSingleLambda()) {
    FindSingleOptimalLambda(g);
  } else {
    FindThreeOptimalLambdas(g);
  }

  QXGaussianToHermite engine(options.GetNPolyMax(), 0, 0);
  engine.Expand(options, g, 0);
  coefficients = engine.GetHermiteCoefficients();
  selfOverlap = engine.GetSelfOverlap();
}

void QXHermite::FindSingleOptimalLambda(const std::vector<QXGaussian>& gaussians) {
  QXHermiteSelfOverlap func(options, gaussians);
  QXMinimizer::QXBFGSOpt minimizer;
  const double mean =
      (options.GetLambdaY() + options.GetLambdaX() + options.GetLambdaZ()) * 0.3333333333333333;
  const double start = std::log(mean);
  double x = start;
  minimizer(func, &start, &x);
  const double lambda = std::exp(x);
  SetLambdas(options, lambda, lambda, lambda);
}

void QXHermite::FindThreeOptimalLambdas(const std::vector<QXGaussian>& gaussians) {
  // At degree 0 the estimate is wide enough to make Newton start on the right side.
  QXHermiteOptions search = options;
  search.SetNPolyMax(0);
  const std::vector<double> estimate = QXApproxHermiteBestLambda(gaussians, search);
  search.SetNPolyMax(options.GetNPolyMax());
  SetLambdas(search, estimate[0], estimate[1], estimate[2]);
  search.SetUseOptimalLambdas(false);
  search.SetUseSingleLambda(false);

  double x[3] = {std::log(estimate[0]), std::log(estimate[1]), std::log(estimate[2])};
  QXHermiteSelfOverlap func(search, gaussians);
  QXMinimizer::QXNewtonOpt minimizer;
  minimizer.SetIterLimit(10);
  minimizer.SetTolerance(0.01);
  minimizer(func, nullptr, x, x);
  SetLambdas(options, std::exp(x[0]), std::exp(x[1]), std::exp(x[2]));
}

bool QXHermite::Setup(const std::vector<double>& newCoefficients,
                      const QXHermiteOptions& newOptions) {
  options = newOptions;
  const auto size = static_cast<unsigned int>(newCoefficients.size());
  if (QXHermiteBasisSize(options.GetNPolyMax()) != size) return false;
  options.SetUseOptimalLambdas(false);
  coefficients = newCoefficients;
  selfOverlap = QXCalcHermiteSelfOverlap(coefficients, options);
  return true;
}

bool QXHermite::Setup(const QXScalarGrid& grid, const QXHermiteOptions& newOptions) {
  options = newOptions;
  const unsigned int largest = std::max({grid.GetXDim(), grid.GetYDim(), grid.GetZDim()});
  extent = (largest + 1.0) * static_cast<double>(grid.GetSpacing());
  center = {0.0, 0.0, 0.0};
  if (options.GetUseCenterOfMass()) center = ValueWeightedCenter(grid);

  if (options.GetUseOptimalLambdas()) {
    const std::vector<double> best = QXApproxHermiteBestLambda(grid, options, center);
    SetLambdas(options, best[0], best[1], best[2]);
  }
  if (options.GetUseSingleLambda()) UseSmallestLambda(options);

  // Not cleared, on purpose: a second projection adds to the first.
  coefficients.resize(QXHermiteBasisSize(options.GetNPolyMax()));
  const double lambdas[3] = {options.GetLambdaX(), options.GetLambdaY(), options.GetLambdaZ()};
  ProjectGrid(grid, options.GetNPolyMax(), lambdas, center.data(), coefficients.data(),
              QXCore::QXGetSimdLevel());
  selfOverlap = QXCalcHermiteSelfOverlap(coefficients, options);
  return true;
}

QXHermite QXHermite::Restore(std::vector<double> coefficients, const QXHermiteOptions& options,
                             std::vector<double> center, double extent, double selfOverlap) {
  QXHermite h;
  h.extent = extent;
  h.options = options;
  h.coefficients = std::move(coefficients);
  h.selfOverlap = selfOverlap;
  h.center = std::move(center);
  return h;
}

bool QXHermite::CreateGrid(QXScalarGrid& grid, double spacing) const {
  return CreateGrid(grid, spacing, extent);
}

bool QXHermite::CreateGrid(QXScalarGrid& grid, double spacing, double width) const {
  return QXHermiteMath::CreateGrid(options.GetNPolyMax(), coefficients, width, grid, spacing,
                                   options.GetLambdaX(), options.GetLambdaY(),
                                   options.GetLambdaZ());
}

bool QXHermite::CreateGrid(QXScalarGrid& grid, double spacing, QXTrans transform) const {
  return CreateGrid(grid, spacing, extent, std::move(transform));
}

bool QXHermite::CreateGrid(QXScalarGrid& grid, double spacing, double width,
                           QXTrans transform) const {
  return QXHermiteMath::CreateGrid(options.GetNPolyMax(), coefficients, width, grid, spacing,
                                   options.GetLambdaX(), options.GetLambdaY(), options.GetLambdaZ(),
                                   transform);
}

unsigned long QXHermite::NumCoefficients() const {
  const unsigned long N = options.GetNPolyMax();
  return (N + 3) * (N + 2) * (N + 1) / 6;
}

bool QXHermite::ComputeInertialHermiteVectors(std::vector<std::vector<double>>& turned) const {
  return QXHermiteMath::ComputeInertialHermiteVectors(coefficients, options, turned);
}

std::vector<double> QXCenterGaussians(std::vector<QXGaussian>& gaussians) {
  std::vector<double> center(3, 0.0);
  if (gaussians.empty()) return center;
  for (const QXGaussian& g : gaussians) {
    center[0] += g.GetX();
    center[1] += g.GetY();
    center[2] += g.GetZ();
  }
  // Two forms of one mean, which differ in the last bit: kept as they stand.
  const double count = static_cast<double>(gaussians.size());
  center[0] *= 1.0 / count;
  center[1] *= 1.0 / count;
  center[2] /= count;
  for (QXGaussian& g : gaussians) {
    g.SetX(g.GetX() - static_cast<float>(center[0]));
    g.SetY(g.GetY() - static_cast<float>(center[1]));
    g.SetZ(g.GetZ() - static_cast<float>(center[2]));
  }
  return center;
}

}  // namespace QXHermiteMath
