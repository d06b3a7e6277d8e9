#pragma once

#include <vector>

#include "hermite/expansion/gaussian_to_hermite.h"
#include "hermite/foundations/options.h"
#include "host/core/gaussian.h"
#include "host/grid/scalar_grid.h"
#include "host/minimizer/func.h"

// The best widths of an expansion are those that maximise the self overlap of what the truncated
// basis holds of the density: too small or too large a lambda leaves weight outside.

namespace QXHermiteMath {

using QXCore::QXGaussian;
using QXCore::QXScalarGrid;

/// The objective of the width search, f(u) = -S(lambda(u)): S the self overlap of the expansion,
/// u the logarithms of the widths, which so stay positive. One variable when -UseSingleLambda is
/// true in the own options, three otherwise.
class QXHermiteSelfOverlap : public QXMinimizer::QXFunc2 {
 public:
  /// Copies both. The degree is that of the options.
  QXHermiteSelfOverlap(QXHermiteOptions const& options, std::vector<QXGaussian> const& gaussians);

  using QXMinimizer::QXFunc2::operator();
  unsigned int NumVar() const override;
  /// The value; an engine without derivative tables.
  double operator()(double const* x) override;
  /// Not supported: warns and returns null.
  const double* GetFComponents(double const* x) override;
  double operator()(double const* x, double* gradient) override;
  /// Hessian xx, yx, yy, zx, zy, zz and gradient, with three variables. With one variable only the
  /// gradient: hessian is left unwritten, on purpose. Always true.
  bool operator()(double const* x, double* hessian, double* gradient) override;

  /// The options under which the last evaluation was made.
  QXHermiteOptions& GetOptions() { return options; }

 private:
  void SetCandidate(double const* x);
  void GetGradient(double* gradient) const;

  QXHermiteOptions options;
  QXGaussianToHermite engine;
  std::vector<QXGaussian> gaussians;
};

/// The widths estimated from positions: lambda_a = 2 (N + 1)^(1/6) / e_a, where e_a is the largest
/// of 1 and all |coordinate a|, plus 1; 2 without Gaussians. N is -NPolyMax; the Gaussians' own
/// widths play no part.
std::vector<double> QXApproxHermiteBestLambda(std::vector<QXGaussian> const& gaussians,
                                              QXHermiteOptions const& options);

/// The widths estimated from a grid: lambda_a = 2 (N + 1)^(1/6) / e_a, where e_a is the largest of
/// 1 and all |coordinate a - center a|, plus 0.5, over the elements whose |value| exceeds a quarter
/// of a running value. That becomes each value in turn which is larger in size, with its sign, so
/// that the next element replaces a negative one: only without negative values is it the maximum.
/// center: three doubles.
std::vector<double> QXApproxHermiteBestLambda(QXScalarGrid const& grid,
                                              QXHermiteOptions const& options,
                                              std::vector<double> const& center);

}  // namespace QXHermiteMath
