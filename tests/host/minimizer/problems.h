#pragma once

#include <gtest/gtest.h>

#include <Eigen/Core>
#include <cmath>
#include <unsupported/Eigen/AutoDiff>
#include <vector>

#include "host/minimizer/func.h"

/// Test problems of J. J. Moré, B. S. Garbow and K. E. Hillstrom, ACM Trans. Math. Softw. 7 (1981)
/// 17, each a sum of squares with minimum 0, with derivatives by automatic differentiation.
namespace QXTest {

/// An objective that counts its evaluations.
class CountedFunc : public virtual QXMinimizer::QXFunc1 {
 public:
  using QXMinimizer::QXFunc1::operator();
  const double* GetFComponents(const double*) override { return nullptr; }
  double operator()(const double* x) override {
    std::vector<double> unused(NumVar());
    return (*this)(x, unused.data());
  }
  unsigned int evaluations = 0;
};

/// Formula: kVariables and a template Value(x) over arrays of any number type.
template <typename Formula>
class Problem : public CountedFunc, public QXMinimizer::QXFunc2 {
  static constexpr int kN = Formula::kVariables;
  using Inner = Eigen::AutoDiffScalar<Eigen::Matrix<double, kN, 1>>;
  using Outer = Eigen::AutoDiffScalar<Eigen::Matrix<Inner, kN, 1>>;

 public:
  using CountedFunc::operator();
  unsigned int NumVar() const override { return kN; }
  double operator()(const double* x, double* gradient) override {
    ++evaluations;
    Inner point[kN];
    for (int i = 0; i < kN; ++i) point[i] = Inner(x[i], kN, i);
    const Inner value = Formula::Value(point);
    for (int i = 0; i < kN; ++i) gradient[i] = value.derivatives()(i);
    return value.value();
  }
  bool operator()(const double* x, double* hessian, double* gradient) override {
    Outer point[kN];
    for (int i = 0; i < kN; ++i) {
      point[i].value() = Inner(x[i], kN, i);
      point[i].derivatives().setConstant(Inner(0));
      point[i].derivatives()(i) = Inner(1);
      for (int j = 0; j < kN; ++j) point[i].derivatives()(j).derivatives().setZero();
    }
    const Outer value = Formula::Value(point);
    for (int i = 0; i < kN; ++i) {
      gradient[i] = value.derivatives()(i).value();
      for (int j = 0; j <= i; ++j) *hessian++ = value.derivatives()(i).derivatives()(j);
    }
    return true;
  }
};

template <typename T>
T Square(const T& v) {
  return v * v;
}

struct Rosenbrock {
  static constexpr int kVariables = 2;
  static constexpr double kStart[] = {-1.2, 1};
  template <typename T>
  static T Value(const T* x) {
    return Square(T(10.0 * (x[1] - Square(x[0])))) + Square(T(1.0 - x[0]));
  }
};

struct PowellBadlyScaled {
  static constexpr int kVariables = 2;
  static constexpr double kStart[] = {0, 1};
  template <typename T>
  static T Value(const T* x) {
    using std::exp;
    return Square(T(1e4 * x[0] * x[1] - 1.0)) + Square(T(exp(-x[0]) + exp(-x[1]) - 1.0001));
  }
};

struct BrownBadlyScaled {
  static constexpr int kVariables = 2;
  static constexpr double kStart[] = {1, 1};
  template <typename T>
  static T Value(const T* x) {
    return Square(T(x[0] - 1e6)) + Square(T(x[1] - 2e-6)) + Square(T(x[0] * x[1] - 2.0));
  }
};

struct PowellSingular {
  static constexpr int kVariables = 4;
  static constexpr double kStart[] = {3, -1, 0, 1};
  template <typename T>
  static T Value(const T* x) {
    return Square(T(x[0] + 10.0 * x[1])) + 5.0 * Square(T(x[2] - x[3])) +
           Square(Square(T(x[1] - 2.0 * x[2]))) + 10.0 * Square(Square(T(x[0] - x[3])));
  }
};

struct Wood {
  static constexpr int kVariables = 4;
  static constexpr double kStart[] = {-3, -1, -3, -1};
  template <typename T>
  static T Value(const T* x) {
    return 100.0 * Square(T(x[1] - Square(x[0]))) + Square(T(1.0 - x[0])) +
           90.0 * Square(T(x[3] - Square(x[2]))) + Square(T(1.0 - x[2])) +
           10.0 * Square(T(x[1] + x[3] - 2.0)) + 0.1 * Square(T(x[1] - x[3]));
  }
};

using Problems =
    testing::Types<Rosenbrock, PowellBadlyScaled, BrownBadlyScaled, PowellSingular, Wood>;

/// An objective made of callables, for what the problems above are not.
template <typename F>
class Callable : public CountedFunc {
 public:
  Callable(unsigned int n, F f) : n_(n), f_(f) {}
  using CountedFunc::operator();
  unsigned int NumVar() const override { return n_; }
  double operator()(const double* x, double* gradient) override {
    ++evaluations;
    return f_(x, gradient);
  }

 private:
  unsigned int n_;
  F f_;
};

}  // namespace QXTest
