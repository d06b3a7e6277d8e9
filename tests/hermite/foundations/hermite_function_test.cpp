#include "hermite/foundations/hermite_function.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

constexpr double kArguments[] = {-3.1, -1.0, -0.25, 0.0, 0.5, 1.7, 4.0};

TEST(HermiteFunction, ExplicitSumIsThatOfThePolynomial) {
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
  EXPECT_EQ(QXHermiteFunc(3, 0.0), 0.0);
  EXPECT_EQ(tgamma_i(0), 1.0);
  double factorial = 1.0;  // exact up to 18!
  for (unsigned int n = 1; n <= 19; factorial *= n++) EXPECT_EQ(tgamma_i(n), factorial);
}

TEST(HermiteFunction, RecurrencesGiveTheFunctionsOverTheirNorms) {
  for (unsigned int n : {0u, 1u, 40u}) {
    for (double x : kArguments) {
      Vector normalized(n + 2, -7.0), doubly(n + 2, -7.0);
      EXPECT_TRUE(QXCalcNormalizedHermite(n, x, normalized.data()));
      EXPECT_TRUE(QXCalcDoubleNormalizedHermite(n, x, doubly.data()));
      long double K = std::sqrt(std::acos(-1.0L));
      for (unsigned int k = 0; k <= n; K *= 2 * ++k) {
        const double p = static_cast<double>(HermiteFunction(k, x) / std::sqrt(K));
        // The functions stay below 1; three roundings a step, each seen by the k steps after it.
        const double bound = 3 * (k + 2) * (k + 2) * kEpsilon;
        EXPECT_NEAR(normalized[k], p, bound) << k << " at " << x;
        EXPECT_NEAR(doubly[k] * static_cast<double>(std::sqrt(K)), p, bound) << k << " at " << x;
      }
      EXPECT_EQ(normalized[n + 1], -7.0);
      EXPECT_EQ(doubly[n + 1], -7.0);
    }
  }
}

}  // namespace
}  // namespace QXHermiteMath
