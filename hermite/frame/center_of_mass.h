#pragma once

#include <vector>

#include "hermite/foundations/options.h"
#include "host/core/gaussian.h"
#include "host/minimizer/func.h"

// The Hermite centre of mass C = (M_x, M_y, M_z)/M_0 of a density: the first moments of its
// truncated expansion over the zeroth. Truncation moves it away from the centre of the density
// itself. Two searches find the shift at which it vanishes.
// With M_0 = 0, as without Gaussians, the results are not finite.

namespace QXHermiteMath {

using QXCore::QXGaussian;

/// C of the Gaussians expanded about the origin of their coordinates with the given degree and
/// widths. With singleLambda the expansion uses the smallest width on all axes, the moments the
/// three as given. The Gaussians are not changed.
std::vector<double> QXHermiteCM(std::vector<QXGaussian>& gaussians, unsigned int N, double lambdaX,
                                double lambdaY, double lambdaZ, bool singleLambda);

/// Adds t (x, y, z) to the centre of every Gaussian, in single precision, in place. Always true.
bool QXTranslateGaussians(std::vector<QXGaussian>& gaussians, float* t);

/// The largest absolute value of at least one value.
double max_abs(std::vector<double> const& values);

/// The objective F(x) = |C|^2 of the Gaussians shifted by x, with exact gradient and Hessian. It
/// is zero at the solution. Meant for one common width.
class QXHermiteCOMFunc : public QXMinimizer::QXFunc2 {
 public:
  /// Copies both.
  QXHermiteCOMFunc(QXHermiteOptions const& options, std::vector<QXGaussian> const& gaussians);

  using QXMinimizer::QXFunc2::operator();
  /// Always 3.
  unsigned int NumVar() const override { return 3; }
  double operator()(double const* x) override;
  /// Not supported: warns and returns null.
  const double* GetFComponents(double const* x) override;
  /// Scales its weights by -LambdaX for all axes.
  double operator()(double const* x, double* gradient) override;
  /// Hessian xx, yx, yy, zx, zy, zz, and gradient. Scales its weights by the mean of the three
  /// widths, where the gradient form takes -LambdaX: for equal widths the two agree. Always true.
  bool operator()(double const* x, double* hessian, double* gradient) override;

 private:
  std::vector<QXGaussian> Shifted(double const* x) const;

  QXHermiteOptions options;
  std::vector<QXGaussian> gaussians;
};

/// The Hermite centre of mass by Newton minimisation of QXHermiteCOMFunc with one width (tolerance
/// 0.0001, at most 100 iterations). The Gaussians are not changed.
std::vector<double> QXOptimizationSearchOfHermiteCOM(std::vector<QXGaussian>& gaussians,
                                                     unsigned int N, double lambda);

/// The same by fixed-point iteration: moves the Gaussians in place by -C until no |C_a| exceeds
/// tolerance, or maxIterations times. The result is the sum of all C seen, the last included,
/// which the Gaussians have not been moved by; a NaN ends the loop.
std::vector<double> QXIterativeSearchOfHermiteCOM(std::vector<QXGaussian>& gaussians,
                                                  unsigned int N, double lambdaX, double lambdaY,
                                                  double lambdaZ, double tolerance,
                                                  unsigned int maxIterations);

}  // namespace QXHermiteMath
