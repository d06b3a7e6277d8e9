#include "hermite/foundations/hermite_function.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

constexpr double kArguments[] = {-3.1, -1.0, -0.25, 0.0, 0.5, 1.7, 4.0};

TEST(HermiteFunction, IsTheExplicitSumAndLosesDigitsWithIt) {
  for (double x : kArguments) {
    for (unsigned int n : {0u, 1u, 2u, 3u, 8u, 15u, 30u}) {
      // The terms cancel: the error is in units of the sum of their magnitudes, which is the
      // polynomial with all signs positive. Powers and factorials take up to n roundings.
      double magnitudes = 0.0;
      for (unsigned int k = 0; k <= n / 2; ++k)
        magnitudes += std::pow(2 * std::fabs(x), n - 2 * k) * std::tgamma(n + 1.0) /
                      (std::tgamma(n - 2 * k + 1.0) * std::tgamma(k + 1.0));
      EXPECT_NEAR(QXHermiteFunc(n, x), static_cast<double>(HermiteFunction(n, x)),
                  (2 * n + 4) * kEpsilon * magnitudes * std::exp(-x * x / 2));
    }
  }
  // A recurrence would keep all but the last two digits here.
  const double exact = static_cast<double>(HermiteFunction(30, 4.0L));
  EXPECT_GT(std::fabs(QXHermiteFunc(30, 4.0) / exact - 1.0), 1000 * kEpsilon);

  for (double x : kArguments) {
    Vector all(32, -7.0), each;
    HermiteFuncs(30, x, all.data());
    for (unsigned int n = 0; n <= 30; ++n) each.push_back(QXHermiteFunc(n, x));
    each.push_back(-7.0);
    EXPECT_EQ(all, each);
  }

  double factorial = 1.0;  // exact up to 18!
  for (unsigned int n = 1; n <= 19; factorial *= n++) EXPECT_EQ(tgamma_i(n), factorial);
  EXPECT_EQ(tgamma_i(0), 1.0);
}

TEST(HermiteFunction, RecurrencesGiveTheFunctionsOverTheirNorms) {
  for (unsigned int n : {0u, 1u, 40u}) {
    for (double x : kArguments) {
      Vector normalized(n + 2, -7.0), doubly(n + 2, -7.0);
      EXPECT_TRUE(QXCalcNormalizedHermite(n, x, normalized.data()));
      EXPECT_TRUE(QXCalcDoubleNormalizedHermite(n, x, doubly.data()));
      for (unsigned int k = 0; k <= n; ++k) {
        const long double M = std::sqrt(SquaredNorm(k));
        const double p = static_cast<double>(HermiteFunction(k, x) / M);
        // The functions stay below 1; three roundings a step, each seen by the k steps after it.
        const double bound = 3 * (k + 2) * (k + 2) * kEpsilon;
        EXPECT_NEAR(normalized[k], p, bound) << k << " at " << x;
        EXPECT_NEAR(doubly[k] * static_cast<double>(M), p, bound) << k << " at " << x;
      }
      EXPECT_EQ(normalized[n + 1] + doubly[n + 1], -14.0);
    }
  }
}

}  // namespace
}  // namespace QXHermiteMath
