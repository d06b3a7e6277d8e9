#include "hermite/frame/moments.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

// Sums over the terms of H_k cancel: their error is in units of the sum of magnitudes, the moment
// of the polynomial with all signs positive, below 3^k moments; gamma, pow and exp2 cost some
// units.
double Bound(unsigned int k, double moment) {
  return 16 * kEpsilon * std::pow(3.0, k) * moment;
}

TEST(Moments, OneDimensionalMomentsAreIntegrals) {
  for (unsigned int e = 0; e <= 4; ++e) {
    const Vector all = Hermite1DMoments(12, e);
    for (unsigned int k = 0; k <= 12; ++k) {
      if ((k + e) % 2 != 0) {
        EXPECT_EQ(Hermite1DMoment(k, e), 0.0);
        EXPECT_EQ(all.at(k), 0.0);
        continue;
      }
      const double expected =
          Integrate([&](long double t) { return std::pow(t, 1.0L * e) * HermiteFunction(k, t); },
                    -16, 16, 0.0625L);
      EXPECT_NEAR(Hermite1DMoment(k, e), expected, Bound(k, expected)) << k << ", " << e;
      EXPECT_NEAR(all.at(k), expected, (k + 2 * e + 2) * kEpsilon * expected) << k << ", " << e;
    }
  }
  // The master integral knows no parity. t = exp(v) makes its half line the whole one.
  for (unsigned int k : {1u, 2u, 5u}) {
    const auto integrand = [&](long double v) {
      const long double t = std::exp(v);
      return t * t * t * std::hermitel(k, t) * std::exp(-0.7L * t * t);
    };
    EXPECT_NEAR(HermiteMomentsMasterIntegral(3, 0.7, k), Integrate(integrand, -32, 4, 0.03125L),
                Bound(k, 1 << k));
  }
}

TEST(Moments, ThreeDimensionalMomentsAreIntegralsOfTheExpansion) {
  const QXHermiteOptions options = FixedWidths(4, 0.8, 1.0, 1.3);
  const Vector c = RandomCoefficients(4, 11);
  const auto integrand = [&](double x, double y, double z) {
    return x * x * z * z * z * Evaluate(c, options, x, y, z);
  };
  // Terms of up to 1000, of either sign, a few hundred roundings.
  EXPECT_NEAR(Hermite3DMoment(2, 0, 3, 4, 0.8, 1.0, 1.3, c), Integrate3D(integrand, 13.0, 0.40625),
              300 * kEpsilon * 1000);
}

}  // namespace
}  // namespace QXHermiteMath
