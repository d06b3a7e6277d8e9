#include "host/minimizer/newton.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "tests/host/minimizer/problems.h"

namespace {

using namespace QXMinimizer;
using namespace QXTest;
using Status = QXMinimizerStatus;

template <typename Formula>
class NewtonProblem : public testing::Test {};
TYPED_TEST_SUITE(NewtonProblem, Problems);

// Step after step downhill to the minimum, with one array as start and result.
TYPED_TEST(NewtonProblem, FindsTheMinimumAndNeverClimbs) {
  Problem<TypeParam> f;
  std::vector<double> x(TypeParam::kStart, TypeParam::kStart + f.NumVar());
  double value = f(x.data());
  QXNewtonOpt newton;
  newton.SetIterLimit(1);
  for (int i = 0; i < 150; ++i) {
    const double next = newton(f, nullptr, x.data(), x.data());
    ASSERT_LE(next, value);
    ASSERT_EQ(next, f(x.data()));
    ASSERT_LE(newton.GetIterations(), 1u);
    value = next;
  }
  EXPECT_NE(newton.GetStatus(), Status::IterationLimit);
  // Second derivatives reach 1e10 in Powell's badly scaled problem, and what a last step of 1e-8
  // leaves is far below that step: 1e10 (1e-11)^2 / 2.
  EXPECT_LE(value, 1e-12);
}

struct Parabola {
  static constexpr int kVariables = 2;
  template <typename T>
  static T Value(const T* x) {
    return Square(T(x[0] - 3.0)) + Square(T(x[1] - 3.0));
  }
};

struct Cosines {
  static constexpr int kVariables = 2;
  template <typename T>
  static T Value(const T* x) {
    using std::cos;
    return cos(x[0]) + cos(x[1]);
  }
};

struct Distances {  // a full Newton step from beyond 1 goes farther out
  static constexpr int kVariables = 2;
  template <typename T>
  static T Value(const T* x) {
    using std::sqrt;
    return sqrt(T(1.0 + Square(x[0]))) + sqrt(T(1.0 + Square(x[1])));
  }
};

TEST(Newton, OneStepSolvesAParabolaAndAStationaryStartStays) {
  Problem<Parabola> f;
  double x[] = {-5, 20};
  QXNewtonOpt newton;
  newton(f, nullptr, x, x);
  EXPECT_NEAR(x[0], 3, 1e-14);
  EXPECT_NEAR(x[1], 3, 1e-14);
  EXPECT_LE(newton.GetIterations(), 2u);  // a second for the rounding of the first
  double y[] = {3, 3};
  newton(f, nullptr, y, y);
  EXPECT_EQ(y[0], 3);
  EXPECT_EQ(newton.GetIterations(), 0u);
  EXPECT_EQ(newton.GetStatus(), Status::SmallGradient);
}

TEST(Newton, LeavesMaximaAndDoesNotOvershoot) {
  Problem<Cosines> cosine;
  double x[] = {0.1, -0.3};  // close to the maximum at 0
  QXNewtonOpt newton;
  newton(cosine, nullptr, x, x);
  EXPECT_NEAR(cosine(x), -2, 1e-15);  // an error of 1e-8 in x, squared

  Problem<Distances> distance;
  double y[] = {5, -40};
  newton(distance, nullptr, y, y);
  EXPECT_NEAR(y[0], 0, 1e-7);
  EXPECT_NEAR(y[1], 0, 1e-7);
}

// A value in single precision is a staircase: it may refuse the last step but not go on for ever.
TEST(Newton, ToleranceIsTheLastStepAlsoOnAValueOfLowPrecision) {
  struct Stairs : Problem<Cosines> {
    using Problem::operator();
    double operator()(const double* x) override {
      return static_cast<float>(Problem::operator()(x));
    }
  } stairs;
  Problem<Cosines> smooth;
  for (Problem<Cosines>* f : {&smooth, static_cast<Problem<Cosines>*>(&stairs)}) {
    QXNewtonOpt newton;
    newton.SetTolerance(0.01);
    double x[] = {2.5, 3.7};
    newton(*f, nullptr, x, x);
    EXPECT_EQ(newton.GetStatus(), Status::SmallStep);
    EXPECT_NEAR(x[0], M_PI, f == &smooth ? 1e-6 : 0.01);  // Newton cubes errors of the cosine
    EXPECT_NEAR(x[1], M_PI, f == &smooth ? 1e-6 : 0.01);
    EXPECT_LE(newton.GetEvaluations(), 12u);
  }
}

TEST(Newton, PointsThatAreNotFiniteAreNeverResults) {
  struct Wall : Problem<Parabola> {  // the minimum lies beyond it
    using Problem::operator();
    double operator()(const double* x) override {
      return x[0] < 3.5 ? std::nan("") : Problem::operator()(x);
    }
    bool operator()(const double* x, double* hessian, double* gradient) override {
      return hasDerivatives && Problem::operator()(x, hessian, gradient);
    }
    bool hasDerivatives = true;
  } f;
  double x[] = {5, 0};
  QXNewtonOpt newton;
  newton(f, nullptr, x, x);
  EXPECT_GE(x[0], 3.5);
  EXPECT_LT(x[0], 5);
  EXPECT_TRUE(std::isfinite(f(x)));
  EXPECT_LE(newton.GetEvaluations(), 2000u);

  double barred[] = {1, 0};
  newton(f, nullptr, barred, barred);
  EXPECT_EQ(barred[0], 1);
  EXPECT_EQ(newton.GetStatus(), Status::NonFiniteStart);

  f.hasDerivatives = false;
  double y[] = {5, 0};
  newton(f, nullptr, y, y);
  EXPECT_EQ(y[0], 5);
  EXPECT_EQ(newton.GetStatus(), Status::NonFiniteStart);
}

}  // namespace
