#include "host/minimizer/newton.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
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

/// A separable objective of two variables that is barred, or lacks derivatives, where asked.
class Separable : public QXFunc2 {
 public:
  using Part = void (*)(double x, double* valueSlopeCurvature);
  Separable(Part part, double wall) : part_(part), wall_(wall) {}
  using QXFunc2::operator();
  unsigned int NumVar() const override { return 2; }
  const double* GetFComponents(const double*) override { return nullptr; }
  double operator()(const double* x) override {
    double a[3], b[3];
    part_(x[0], a);
    part_(x[1], b);
    return x[0] < wall_ ? std::nan("") : a[0] + b[0];
  }
  double operator()(const double*, double*) override { return std::nan(""); }
  bool operator()(const double* x, double* hessian, double* gradient) override {
    double a[3], b[3];
    part_(x[0], a);
    part_(x[1], b);
    gradient[0] = a[1];
    gradient[1] = b[1];
    hessian[0] = a[2];
    hessian[1] = 0;
    hessian[2] = b[2];
    return hasDerivatives;
  }
  bool hasDerivatives = true;

 private:
  Part part_;
  double wall_;
};

void Parabola(double x, double* f) {
  f[0] = (x - 3) * (x - 3);
  f[1] = 2 * (x - 3);
  f[2] = 2;
}
void Cosine(double x, double* f) {
  f[0] = std::cos(x);
  f[1] = -std::sin(x);
  f[2] = -std::cos(x);
}
void Distance(double x, double* f) {  // a full Newton step from beyond 1 goes farther out
  f[0] = std::sqrt(1 + x * x);
  f[1] = x / f[0];
  f[2] = 1 / (f[0] * f[0] * f[0]);
}

TEST(Newton, OneStepSolvesAParabolaAndAStationaryStartStays) {
  Separable f(Parabola, -100);
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
  Separable cosine(Cosine, -100);
  double x[] = {0.1, -0.3};  // close to the maximum at 0
  QXNewtonOpt newton;
  newton(cosine, nullptr, x, x);
  EXPECT_NEAR(cosine(x), -2, 1e-15);  // an error of 1e-8 in x, squared

  Separable distance(Distance, -100);
  double y[] = {5, -40};
  newton(distance, nullptr, y, y);
  EXPECT_NEAR(y[0], 0, 1e-7);
  EXPECT_NEAR(y[1], 0, 1e-7);
}

// A value in single precision is a staircase: it may refuse the last step but not go on for ever.
TEST(Newton, ToleranceIsTheLastStepAlsoOnAValueOfLowPrecision) {
  Separable smooth(Cosine, -100);
  Separable stairs([](double x, double* v) { Cosine(x, v), v[0] = static_cast<float>(v[0]); },
                   -100);
  for (Separable* f : {&smooth, &stairs}) {
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
  Separable f(Parabola, 3.5);  // the minimum lies beyond the wall
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
