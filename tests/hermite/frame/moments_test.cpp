#include "hermite/frame/moments.h"

#include <gtest/gtest.h>

#include "support/density.h"
#include "support/numerics.h"

namespace QXHermiteMath {
namespace {

using QXTest::kEpsilon;
using QXTest::Vector;

// The sums cancel: their error is in units of the sum of magnitudes, the moment of |H_k| with all
// signs positive, which is below the moment times 3^k at the degrees here; gamma, pow and exp2 cost
// a few units each.
double Bound(unsigned int k, double largest) {
  return 16 * kEpsilon * std::pow(3.0, k) * largest;
}

TEST(Moments, OneDimensionalMomentsAreIntegrals) {
  for (unsigned int e = 0; e <= 4; ++e) {
    const Vector all = Hermite1DMoments(12, e);
    ASSERT_EQ(all.size(), 13u);
    for (unsigned int k = 0; k <= 12; ++k) {
      const auto integrand = [&](long double t) {
        return std::pow(t, static_cast<long double>(e)) * std::hermitel(k, t) *
               std::exp(-t * t / 2);
      };
      const double p = Hermite1DMoment(k, e);
      if ((k + e) % 2 != 0) {
        EXPECT_EQ(p, 0.0);
        EXPECT_EQ(all[k], 0.0);
        continue;
      }
      const double expected = static_cast<double>(QXTest::Integrate(integrand, -16, 16, 0.0625L));
      EXPECT_NEAR(p, expected, Bound(k, expected)) << k << ", " << e;
      EXPECT_NEAR(all[k], expected, (k + 2 * e + 2) * kEpsilon * expected) << k << ", " << e;
      EXPECT_NEAR(2 * HermiteMomentsMasterIntegral(e + 1, 0.5, k), p, Bound(k, expected));
    }
  }
  EXPECT_NEAR(Hermite1DMoment(0, 0), std::sqrt(2 * std::acos(-1.0)), 2 * kEpsilon * 2.5);
}

TEST(Moments, MasterIntegralIsThatOfTheHalfLineWithoutParity) {
  for (unsigned int k : {0u, 1u, 2u, 5u}) {
    // t = exp(v) makes the half line the whole one, and the integrand smooth with both ends zero.
    const auto integrand = [&](long double v) {
      const long double t = std::exp(v);
      return t * t * std::hermitel(k, t) * std::exp(-0.7L * t * t);
    };
    const double expected = static_cast<double>(QXTest::Integrate(integrand, -32, 4, 0.03125L));
    EXPECT_NEAR(HermiteMomentsMasterIntegral(2, 0.7, k), expected, Bound(k, 1 << k)) << k;
  }
}

TEST(Moments, ThreeDimensionalMomentsAreIntegralsOfTheExpansion) {
  const unsigned int N = 4;
  const QXHermiteOptions options = QXTest::FixedWidths(N, 0.8, 1.0, 1.3);
  const Vector c = QXTest::RandomCoefficients(N, 11);
  constexpr unsigned int orders[][3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1},
                                        {2, 0, 0}, {0, 1, 1}, {2, 1, 0}, {1, 0, 3}};
  for (const auto& [a, b, d] : orders) {
    const double expected = QXTest::Integrate3D(
        [&, a = a, b = b, d = d](double x, double y, double z) {
          return std::pow(x, a) * std::pow(y, b) * std::pow(z, d) *
                 QXTest::Evaluate(c, options, x, y, z);
        },
        13.0, 0.40625);
    // Moments of an expansion of order 1 are of the order of 100, of either sign.
    EXPECT_NEAR(Hermite3DMoment(a, b, d, N, 0.8, 1.0, 1.3, c), expected, 1e-11) << a << b << d;
  }
}

}  // namespace
}  // namespace QXHermiteMath
