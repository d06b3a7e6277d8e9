#include "hermite/charge/r_table.h"

#include "support/charges.h"
#include "support/grids.h"
#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

TEST(RTable, StandsByTotalThenDerivativeThenXThenY) {
  unsigned int next = 0;
  for (unsigned int t = 0; t <= 7; ++t) {
    for (unsigned int v = 0; v <= t; ++v)
      for (unsigned int b = 0; b <= v; ++b)
        for (unsigned int c = 0; c <= v - b; ++c)
          ASSERT_EQ(RIndex(t - v, b, c, v - b - c), next++) << t << v << b << c;
    EXPECT_EQ(SizeOfRMatrix(t), next);
  }
}

// F_n(T) = exp(-T) sum over k of (2T)^k / ((2n + 1)(2n + 3) .. (2n + 2k + 1)), without signs. In
// the closed form two terms cancel of which the first is 1/((2n + 1) t_n) or less.
TEST(RTable, HasTheBoysFunctionsButAtZero) {
  for (unsigned int n = 0; n <= 10; ++n) {
    for (double T : {0.03, 0.5, 1.0, 4.0, 20.0, 60.0, 700.0}) {
      long double term = 1.0L / (2 * n + 1), sum = 0.0L, t = 1.0L;
      for (unsigned int k = 1; k < 4000; ++k) {
        sum += term;
        term *= 2.0L * T / (2 * n + 2 * k + 1);
      }
      for (unsigned int k = 1; k <= n; ++k) t *= 2.0L * T / (2 * k + 1);
      const double expected = static_cast<double>(std::exp(-static_cast<long double>(T)) * sum);
      const double bound = (8 + n) * kEpsilon * (expected + 1.0 / ((2 * n + 1) * double(t)));
      EXPECT_NEAR(BoysFunc(n, T), expected, bound) << "n = " << n << ", T = " << T;
    }
    EXPECT_TRUE(std::isnan(BoysFunc(n, 0.0)));
  }
  // One formula with no other branch, on purpose: near zero all digits cancel.
  for (double T : {0.01, 1e-4}) EXPECT_GT(std::fabs(17 * BoysFunc(8, T) - 1), 0.5) << T;
}

Vector Table(unsigned int order, double alpha, const Vector& R) {
  Vector table(SizeOfRMatrix(order));
  EXPECT_TRUE(BuildBoys(order, alpha, R.data(), table));
  EXPECT_TRUE(BuildMcMurchieDavidson(order, R.data(), table));
  return table;
}

TEST(RTable, HoldsDerivativesOfTheBoysFunctions) {
  const double alpha = 0.7;
  const Vector R = {0.9, -1.3, 0.6};
  const double T = alpha * (0.81 + 1.69 + 0.36);
  const Vector table = Table(7, alpha, R);
  Vector boys, expected, bounds;
  for (unsigned int a = 0; a <= 7; ++a) {
    boys.push_back(table[RIndex(a, 0, 0, 0)]);
    expected.push_back(std::pow(-2 * alpha, a) * BoysFunc(a, T));
    // At T = 2 the closed form of F_7 loses two digits.
    bounds.push_back(1e3 * kEpsilon * std::fabs(expected.back()));
  }
  EXPECT_TRUE(AllWithin(boys, expected, bounds));

  std::vector<Vector> columns(3);
  for (unsigned int t = 0; t <= 6; ++t)
    for (unsigned int v = 0; v <= t; ++v)
      for (unsigned int b = 0; b <= v; ++b)
        for (unsigned int c = 0; c <= v - b; ++c) {
          const unsigned int a = t - v, d = v - b - c;
          columns[0].push_back(table[RIndex(a, b + 1, c, d)]);
          columns[1].push_back(table[RIndex(a, b, c + 1, d)]);
          columns[2].push_back(table[RIndex(a, b, c, d + 1)]);
        }
  EXPECT_TRUE(DerivativesAgree(
      columns, [&](const Vector& r) { return Table(6, alpha, r); }, R));
  Vector none;
  EXPECT_TRUE(BuildMcMurchieDavidson(~0u, R.data(), none)) << "and returns at once";
}

// Also close to a site, where digits cancel, and on it, where all is NaN.
TEST(RTable, IsThatOfEachPlaceInLanesAndTheSameBitsAtEveryLevel) {
  const unsigned int order = 6;
  RTablePlaces places;
  for (size_t i = 0; i < kTableLanes; ++i) {
    const double x = static_cast<double>(i);
    places.X[i] = 0.5 * x - 2.0;
    places.Y[i] = 0.1 * x - 0.4;
    places.Z[i] = i == 4 ? 0.0 : 1.7 - 0.01 * x * x;
    if (i == 3) places.X[i] = places.Y[i] = places.Z[i] = 2e-3;  // T = 1e-5
    places.alpha[i] = 0.4 + 0.1 * x;
  }
  const auto tables = [&](QXSimdLevel level) {
    Vector all(SizeOfRTables(order) + kTableLanes, 7.0);
    BuildRTables(order, places, all.data(), level);
    return all;
  };
  const Vector baseline = tables(QXSimdLevel::Baseline);
  for (QXSimdLevel level : SimdLevels()) {
    const Vector others = tables(level);
    for (size_t i = 0; i < others.size(); ++i)
      ASSERT_TRUE(others[i] == baseline[i] || i % kTableLanes == 4) << static_cast<int>(level);
  }
  for (size_t i = 0; i < kTableLanes; ++i) {
    const Vector R = {places.X[i], places.Y[i], places.Z[i]};
    Vector lane;
    for (size_t at = i; at < SizeOfRTables(order); at += kTableLanes) lane.push_back(baseline[at]);
    if (i == 4)
      EXPECT_TRUE(std::all_of(lane.begin(), lane.end(), [](double x) { return std::isnan(x); }));
    else
      EXPECT_TRUE(AllWithin(lane, Table(order, places.alpha[i], R),
                            TableRounding(order, places.alpha[i], R.data())))
          << "lane " << i;
    EXPECT_EQ(baseline[SizeOfRTables(order) + i], 7.0);
  }
}

}  // namespace
}  // namespace QXHermiteMath
