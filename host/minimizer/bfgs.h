#pragma once

#include <limits>
#include <utility>
#include <vector>

#include "host/minimizer/func.h"
#include "host/minimizer/status.h"

namespace QXMinimizer {

/// Quasi-Newton minimiser (BFGS with a strong-Wolfe line search) for objectives with a gradient.
/// One evaluation a step is the rule, and up to six variables nothing is allocated.
///
/// The tolerance is a relative error of the value, so that the scale of an objective makes no
/// difference. With s = |f|, but at least 1e-10 of |f| and of |g| at the start, the search ends
///   - at a gradient whose length is at most tolerance s (so at once on a stationary start), or
///   - when the model predicts that at most tolerance s is left to gain, and the last step gained
///     at most ten times that.
/// The point is then good to about the square root: in angles and angstroms, 1e-6 places an overlay
/// to some 1e-3, and 1e-10 to some 1e-5. A tolerance of 0 goes on to rounding.
///
/// A point where value or gradient is NaN or infinite, or that CheckVariablesValidity refuses, is
/// never a result; it shortens the step.
///
///     QXBFGSOpt bfgs;
///     bfgs.SetTolerance(1e-6);
///     bfgs(f, start, result);
class QXBFGSOpt {
 public:
  /// Up to 1000 iterations, tolerance 1e-10.
  QXBFGSOpt() = default;

  /// The largest number of steps; 0 leaves the start as it is.
  void SetIterLimit(unsigned int limit) { iterLimit_ = limit; }
  /// Negative or not a number counts as 0.
  void SetTolerance(double tolerance) { tolerance_ = tolerance; }

  /// The longest step, by the root of the sum of squares; infinite unless set. It keeps a search in
  /// the valley of its start: where curvature is small, steps may else leap to a far one.
  void SetLongestStep(double length) { longestStep_ = length; }

  /// What is known of the curvature beforehand, so that the first step already has a length and a
  /// direction of its own: the inverse Hessian of f/|f(start)|, positive definite, the lower
  /// triangle by rows. Empty: nothing, as it is unless set.
  void SetModel(std::vector<double> model) { model_ = std::move(model); }

  /// Minimises f from `start` and writes the lowest point found to `result`: f.NumVar() doubles
  /// each, and they may be one array. Returns the value at `result`. Where value or gradient at the
  /// start are not finite, `result` is the start.
  double operator()(QXFunc1& f, const double* start, double* result);

  /// Why the last search ended, how many steps it took and how many points it asked for.
  QXMinimizerStatus GetStatus() const { return status_; }
  unsigned int GetIterations() const { return iterations_; }
  unsigned int GetEvaluations() const { return evaluations_; }

 private:
  unsigned int iterLimit_ = 1000;
  double tolerance_ = 1e-10;
  double longestStep_ = std::numeric_limits<double>::infinity();
  std::vector<double> model_;
  QXMinimizerStatus status_ = QXMinimizerStatus::NotRun;
  unsigned int iterations_ = 0;
  unsigned int evaluations_ = 0;
};

}  // namespace QXMinimizer
