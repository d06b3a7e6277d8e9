#pragma once

#include "host/minimizer/func.h"
#include "host/minimizer/status.h"

namespace QXMinimizer {

/// Newton's method for objectives with a Hessian, kept from climbing: directions of negative
/// curvature are walked downhill (there the Hessian's eigenvalues are replaced by their
/// magnitudes), and a step that does not lower the value is shortened.
///
///     QXNewtonOpt newton;
///     newton.SetIterLimit(10);
///     newton.SetTolerance(0.01);
///     newton(f, nullptr, x, x);
class QXNewtonOpt {
 public:
  /// Up to 100 iterations, tolerance 1e-8.
  QXNewtonOpt() = default;
  virtual ~QXNewtonOpt() = default;

  /// The largest number of steps; 0 leaves the start as it is.
  void SetIterLimit(unsigned int limit) { iterLimit_ = limit; }
  /// The search ends when, at a point of positive curvature, the Newton step would change no
  /// variable by more than this; the step is still taken if it does not climb. The error left is
  /// then of the order of its square. Shortened steps far below it are not tried. A tolerance that
  /// is negative or not a number counts as 0: to rounding.
  void SetTolerance(double tolerance) { tolerance_ = tolerance > 0 ? tolerance : 0; }

  /// Minimises f from `start` and writes the last point, which is the lowest one found, to
  /// `result`: f.NumVar() doubles each, and they may be one array. Returns the value at `result`.
  /// Where value, gradient or Hessian at the start are not finite, `result` is the start.
  virtual double operator()(QXFunc2& f, const void* unused, const double* start, double* result);

  /// Why the last search ended, how many steps it took and how many values it asked for.
  QXMinimizerStatus GetStatus() const { return status_; }
  unsigned int GetIterations() const { return iterations_; }
  unsigned int GetEvaluations() const { return evaluations_; }

 private:
  double Value(QXFunc2& f, const double* x);
  QXMinimizerStatus Search(QXFunc2& f, double* result, double& value);

  unsigned int iterLimit_ = 100;
  double tolerance_ = 1e-8;
  QXMinimizerStatus status_ = QXMinimizerStatus::NotRun;
  unsigned int iterations_ = 0;
  unsigned int evaluations_ = 0;
};

}  // namespace QXMinimizer
