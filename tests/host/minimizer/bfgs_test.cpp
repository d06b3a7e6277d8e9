#include "host/minimizer/bfgs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "host/minimizer/bfgs_core.h"
#include "support/counting_new.h"
#include "support/messages.h"
#include "tests/host/minimizer/problems.h"

namespace {

using namespace QXMinimizer;
using namespace QXTest;
using Status = QXMinimizerStatus;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

template <typename Formula>
class BfgsProblem : public testing::Test {};
TYPED_TEST_SUITE(BfgsProblem, Problems);

// All these minima are 0, and the tolerance speaks of the value. It is compared with an estimate of
// what is left, which curved valleys make too small: by a factor of 20 in Powell's second problem.
TYPED_TEST(BfgsProblem, ComesWithinTheToleranceOfTheMinimum) {
  for (const double tolerance : {1e-10, 1e-16}) {
    Problem<TypeParam> f;
    std::vector<double> result(f.NumVar());
    QXBFGSOpt bfgs;
    bfgs.SetTolerance(tolerance);
    const double value = bfgs(f, TypeParam::kStart, result.data());
    EXPECT_LE(value, 100 * tolerance);
    EXPECT_EQ(value, f(result.data()));
    EXPECT_THAT(bfgs.GetStatus(), testing::AnyOf(Status::SmallGradient, Status::SmallDecrease));
    EXPECT_EQ(bfgs.GetEvaluations() + 1, f.evaluations);
    EXPECT_LE(bfgs.GetEvaluations(), 3 * bfgs.GetIterations() + 20);
  }
}

// From beside the top of a hill whose valleys repeat, a step without bound leaps over some.
TEST(Bfgs, KeepsWithinItsLongestStep) {
  constexpr double kLongest = 0.25;
  std::vector<double> points;
  Callable wave(1, [&](const double* x, double* gradient) {
    points.push_back(*x);
    *gradient = -1000 * std::sin(*x);
    return 1000 * std::cos(*x);
  });
  const double start = 0.01;
  double result = 0;
  QXBFGSOpt bfgs;
  bfgs.SetLongestStep(kLongest);
  bfgs(wave, &start, &result);
  EXPECT_NEAR(result, std::acos(-1.0), 1e-4);  // the root of the tolerance, tenfold
  for (size_t i = 1; i < points.size(); ++i)
    EXPECT_LE(std::abs(points[i] - points[i - 1]), kLongest * (1 + 1e-15));
}

// By a power of two every number of the search scales without rounding: the same path to the bit.
TYPED_TEST(BfgsProblem, DoesNotDependOnTheScaleOfTheValue) {
  Problem<TypeParam> f;
  Callable small(f.NumVar(), [&](const double* x, double* gradient) {
    const double value = f(x, gradient);
    for (unsigned int i = 0; i < f.NumVar(); ++i) gradient[i] = std::ldexp(gradient[i], -30);
    return std::ldexp(value, -30);
  });
  std::vector<double> result(f.NumVar()), scaled(f.NumVar());
  QXBFGSOpt bfgs;
  bfgs(f, TypeParam::kStart, result.data());
  bfgs(small, TypeParam::kStart, scaled.data());
  EXPECT_EQ(result, scaled);
}

TYPED_TEST(BfgsProblem, NeverClimbsAndKeepsTheLimit) {
  Problem<TypeParam> f;
  double last = f(TypeParam::kStart);
  for (unsigned int limit = 0; limit < 12; ++limit) {
    std::vector<double> result(f.NumVar(), kNaN);
    QXBFGSOpt bfgs;
    bfgs.SetIterLimit(limit);
    const double value = bfgs(f, TypeParam::kStart, result.data());
    EXPECT_LE(value, last);
    EXPECT_EQ(value, f(result.data()));
    EXPECT_EQ(bfgs.GetIterations(), limit);
    EXPECT_EQ(bfgs.GetStatus(), Status::IterationLimit);
    last = value;
  }
}

// A quadratic with minimum -1 at (1, 1, ...) and curvatures from `least` to 1, mixed by a
// reflection so that no variable is an axis of it.
auto Quadratic(unsigned int n, double least) {
  return Callable(n, [n, least](const double* x, double* gradient) {
    const Eigen::VectorXd axis = Eigen::VectorXd::Constant(n, 1 / std::sqrt(n));
    const auto reflect = [&](Eigen::VectorXd v) { return (v - 2 * v.dot(axis) * axis).eval(); };
    Eigen::VectorXd curvature(n);
    for (unsigned int i = 0; i < n; ++i) curvature[i] = std::pow(least, i / (n - 1.0));
    const Eigen::VectorXd v = reflect(Eigen::Map<const Eigen::VectorXd>(x, n).array() - 1);
    Eigen::VectorXd::Map(gradient, n) = reflect(curvature.cwiseProduct(v));
    return -1 + 0.5 * v.dot(curvature.cwiseProduct(v));
  });
}

TEST(Bfgs, SolvesIllConditionedQuadraticsAndManyVariables) {
  for (const auto& [n, least] : {std::pair(6u, 1.0), {6u, 1e-3}, {6u, 1e-6}, {40u, 1e-3}}) {
    auto f = Quadratic(n, least);
    std::vector<double> x(n, 5.0);
    for (unsigned int i = 0; i < n; i += 2) x[i] = -2.0 * i;
    QXBFGSOpt bfgs;
    bfgs.SetTolerance(1e-14);
    EXPECT_LE(bfgs(f, x.data(), x.data()), -1 + 1e-13);
    EXPECT_LE(f.evaluations, 10 * n);
  }
}

// The model that a search ends with serves another one, at another scale of the value, near by.
TEST(Bfgs, StartsFromAModel) {
  constexpr unsigned int n = 6;
  auto f = Quadratic(n, 1e-3);
  std::vector<double> x = {3, -2, 0, 1, 5, 4}, model(n * (n + 1) / 2);
  QXBFGSCore core;
  core.Start(n, x.data(), 1000, 1e-14);
  EXPECT_FALSE(core.GetModel(model.data()));
  while (core.Tell(f(core.Point(), core.Gradient()))) continue;
  const unsigned int without = f.evaluations;
  EXPECT_TRUE(core.GetModel(model.data()));

  Callable scaled(n, [&](const double* point, double* gradient) {
    const double value = 8 * f(point, gradient);
    for (unsigned int i = 0; i < n; ++i) gradient[i] *= 8;
    return value;
  });
  // The model speaks of f/|f| at the start, so the first search's at its end, where f is -1.
  const double size = std::abs(f(x.data(), std::vector<double>(n).data()));
  for (double& element : model) element *= size;
  QXBFGSOpt bfgs;
  bfgs.SetTolerance(1e-14);
  bfgs.SetModel(model);
  EXPECT_LE(bfgs(scaled, x.data(), x.data()), 8 * (-1 + 1e-13));
  EXPECT_LE(3 * bfgs.GetEvaluations(), without);
}

TEST(Bfgs, StationaryStartIsTheResult) {
  Problem<Rosenbrock> f;
  const double start[] = {1, 1};
  double result[] = {7, 7};
  QXBFGSOpt bfgs;
  bfgs.SetTolerance(0);
  bfgs(f, start, result);
  EXPECT_THAT(result, testing::ElementsAre(1, 1));
  EXPECT_EQ(bfgs.GetStatus(), Status::SmallGradient);
  EXPECT_EQ(f.evaluations, 1u);
}

// 10 x - log x with its minimum at 0.1, just beyond the edge of the numbers when seen from 5.
TEST(Bfgs, StepsBackFromPointsThatAreNotFiniteOrBarred) {
  const struct {
    double value, slope;  // beyond the edge
    bool barred;
  } edges[] = {{kNaN, 0, false}, {-HUGE_VAL, 0, false}, {-1e9, kNaN, false}, {-1e9, 0, true}};
  for (const auto& edge : edges) {
    const auto formula = [&](const double* x, double* gradient) {
      gradient[0] = x[0] > 0 ? 10 - 1 / x[0] : edge.slope;
      return x[0] > 0 ? 10 * x[0] - std::log(x[0]) : edge.value;
    };
    struct Edge : Callable<decltype(formula)> {
      using Callable<decltype(formula)>::Callable;
      bool CheckVariablesValidity(const double* x) override { return !barred || x[0] > 0; }
      bool barred = false;
    };
    for (const double start : {0.3, 5.0, -1.0}) {
      Edge f(1, formula);
      f.barred = edge.barred;
      double x = 0;
      QXBFGSOpt bfgs;
      bfgs(f, &start, &x);
      // The second derivative is 100 there and the value 3.3: the root of 2 * 3.3e-10 / 100.
      EXPECT_NEAR(x, start > 0 ? 0.1 : start, 1e-5);
      EXPECT_LE(f.evaluations, start > 0 ? 30u : 1u);
      EXPECT_EQ(bfgs.GetStatus() == Status::NonFiniteStart, start < 0);
    }
  }
}

TEST(Bfgs, EndsOnObjectivesWithoutMinimumOrWithAWrongGradient) {
  Callable slope(1, [](const double* x, double* gradient) { return gradient[0] = -1, -x[0]; });
  Callable wrong(1, [](const double* x, double* gradient) { return gradient[0] = 1, -x[0]; });
  Callable steep(1, [](const double* x, double* gradient) { return gradient[0] = 1e300, x[0]; });
  const double start = 0;
  double x = kNaN;
  QXBFGSOpt bfgs;
  EXPECT_LT(bfgs(slope, &start, &x), -1e6);
  EXPECT_TRUE(std::isfinite(x));
  bfgs(wrong, &start, &x);
  EXPECT_EQ(x, 0);
  EXPECT_EQ(bfgs.GetStatus(), Status::NoDescent);
  bfgs(steep, &start, &x);
  EXPECT_TRUE(std::isfinite(x));
}

TEST(Bfgs, AllocatesNothingUpToSixVariablesAndTakesOneArray) {
  Problem<Wood> f;
  double x[4];
  std::copy(Wood::kStart, Wood::kStart + 4, x);
  QXBFGSOpt bfgs;
  const size_t before = allocations;
  bfgs(f, x, x);
  EXPECT_EQ(allocations, before);
  EXPECT_LT(f(x), 1e-8);
}

TEST(Func, FloatFormReportsAndTheRunGoesOn) {
  Problem<Rosenbrock> f;
  const Messages messages;
  const float* points[] = {nullptr};
  EXPECT_TRUE(static_cast<QXFunc1&>(f)(points).empty());
  EXPECT_THAT(messages.all,
              testing::ElementsAre(testing::Pair(QXCore::QXErrorLevel::Error,
                                                 "This is a GPU-specific method and should only be "
                                                 "called from the derived class.")));
}

}  // namespace
