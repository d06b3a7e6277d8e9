#pragma once

#include <vector>

namespace QXMinimizer {

/// An objective with value and gradient: what a minimiser makes small. A call may change scratch of
/// the object, so one object serves one search at a time.
class QXFunc1 {
 public:
  /// The number of variables.
  virtual unsigned int NumVar() const = 0;
  /// The value at x, NumVar() doubles.
  virtual double operator()(const double* x) = 0;
  /// The parts of the value. No minimiser needs them; an objective that has none reports so and
  /// returns null.
  virtual const double* GetFComponents(const double* x) = 0;
  virtual ~QXFunc1() = default;
  /// Batched single-precision form, for devices. Here it reports an error and returns nothing.
  virtual std::vector<float> operator()(const float** x);
  /// The value at x; writes the gradient, NumVar() doubles.
  virtual double operator()(const double* x, double* gradient) = 0;
  /// Asked by a minimiser about each point before it evaluates there. False bars the point: it is
  /// treated as a point where the value is infinite. All points are valid unless overridden.
  virtual bool CheckVariablesValidity(const double* x);
  /// True when two points are the same solution: unless overridden, when no variable differs by
  /// more than `tolerance`.
  virtual bool IsRedundant(const double* a, const double* b, double tolerance) const;
};

/// An objective with second derivatives.
class QXFunc2 : public virtual QXFunc1 {
 public:
  using QXFunc1::operator();
  ~QXFunc2() override = default;
  /// Writes the Hessian at x, the lower triangle by rows ((0,0), (1,0), (1,1), (2,0), ...) in
  /// NumVar()(NumVar() + 1)/2 doubles, and the gradient. False when they cannot be had at x.
  virtual bool operator()(const double* x, double* hessian, double* gradient) = 0;
};

}  // namespace QXMinimizer
