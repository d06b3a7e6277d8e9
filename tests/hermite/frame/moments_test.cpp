#include "hermite/frame/moments.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

// The sums cancel: their error is in units of the sum of magnitudes, the moment of the polynomial
// with all signs positive, which is below 3^k moments; gamma, pow and exp2 cost a few units each.
double Bound(unsigned int k, double moment) {
  return 16 * kEpsilon * std::pow(3.0, k) * moment;
}

TEST(Moments, OneDimensionalMomentsAreIntegrals) {
  for (unsigned int e = 0; e <= 4; ++e) {
    const Vector all = Hermite1DMoments(12, e);
    for (unsigned int k = 0; k <= 12; ++k) {
      const double p = Hermite1DMoment(k, e);
      if ((k + e) % 2 != 0) {
        EXPECT_EQ(p, 0.0);
        EXPECT_EQ(all.at(k), 0.0);
        continue;
      }
      const auto integrand = [&](long double t) {
        return std::pow(t, static_cast<long double>(e)) * HermiteFunction(k, t);
      };
      const double expected = static_cast<double>(Integrate(integrand, -16, 16, 0.0625L));
      EXPECT_NEAR(p, expected, Bound(k, expected)) << k << ", " << e;
      EXPECT_NEAR(all.at(k), expected, (k + 2 * e + 2) * kEpsilon * expected) << k << ", " << e;
      EXPECT_NEAR(2 * HermiteMomentsMasterIntegral(e + 1, 0.5, k), p, Bound(k, expected));
    }
  }
  // The master integral knows no parity. t = exp(v) makes its half line the whole one.
  for (unsigned int k : {1u, 2u, 5u}) {
    const auto integrand = [&](long double v) {
      const long double t = std::exp(v);
      return t * t * std::hermitel(k, t) * std::exp(-0.7L * t * t);
    };
    EXPECT_NEAR(HermiteMomentsMasterIntegral(2, 0.7, k),
                static_cast<double>(Integrate(integrand, -32, 4, 0.03125L)), Bound(k, 1 << k));
  }
}

TEST(Moments, ThreeDimensionalMomentsAreIntegralsOfTheExpansion) {
  const QXHermiteOptions options = FixedWidths(4, 0.8, 1.0, 1.3);
  const Vector c = RandomCoefficients(4, 11);
  constexpr unsigned int orders[][3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 1}, {2, 1, 0}, {1, 0, 3}};
  for (const auto& order : orders) {
    const auto integrand = [&](double x, double y, double z) {
      return std::pow(x, order[0]) * std::pow(y, order[1]) * std::pow(z, order[2]) *
             Evaluate(c, options, x, y, z);
    };
    // Terms of up to 100, of either sign, a few hundred roundings.
    EXPECT_NEAR(Hermite3DMoment(order[0], order[1], order[2], 4, 0.8, 1.0, 1.3, c),
                Integrate3D(integrand, 13.0, 0.40625), 300 * kEpsilon * 100);
  }
}

}  // namespace
}  // namespace QXHermiteMath
