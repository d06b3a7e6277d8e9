#include "hermite/multihermite/site_tables.h"

#include "support/grids.h"
#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

// Side by side the functions are those of BuildHermites but for the exponential, good to 7e-16,
// and what the recurrence makes of it: bounds are the recurrence without signs.
TEST(SiteTables, AreTheFunctionsOfAFamilyAtEveryLevel) {
  constexpr size_t kCount = 37;
  const QXMultiHermiteParameters params(UInts{3, 0, 6}, Vector{0.9, 1.3, 0.7},
                                        RandomPoints(3, 2.0, 1));
  const Vector points = RandomPoints(kCount, 2.5, 2);
  QXMultiHermite hermites(params);
  QXHermiteChargeDensity charges(params);
  const auto test = [&](QXMultiHermiteBase& family, double exponent) {
    Vector bounds;
    const auto fill = [&](double used, QXSimdLevel level) {
      WorkTables work = MakeWorkTables(params);
      SiteTables tables(params, {0, 1, 2}, kCount, used);
      tables.Fill(family, points.data(), kCount, work, level);
      Vector values;
      bounds.clear();
      for (unsigned int site : {0u, 1u, 2u})
        for (size_t axis = 0; axis < 3; ++axis)
          for (size_t i = 0; i < kCount; ++i) {
            const double t = std::fabs(points[3 * i + axis] - params.GetCenter(site)[axis]) *
                             params.GetLambda(site);
            Vector size = {std::exp(-exponent * t * t)};
            for (unsigned int k = 0; k <= params.GetNPolyMax(site); ++k) {
              values.push_back(tables.Row(site, axis, k)[i]);
              bounds.push_back((4 + 2 * k) * kEpsilon * size[k]);
              size.push_back(2 * t * size[k] + (k > 0 ? 2 * k * size[k - 1] : 0.0));
            }
          }
      return values;
    };
    const Vector expected = fill(0.0, QXSimdLevel::Baseline);
    const Vector found = fill(exponent, QXSimdLevel::Baseline);
    EXPECT_TRUE(AllWithin(found, expected, bounds)) << exponent;
    for (QXSimdLevel level : SimdLevels())
      EXPECT_EQ(fill(exponent, level), found) << static_cast<int>(level);
  };
  test(hermites, 0.5);
  test(charges, 1.0);
}

struct Ramps final : QXMultiHermiteBase {
  using QXMultiHermiteBase::QXMultiHermiteBase;
  bool BuildHermites(double t, unsigned int, std::vector<double>& out) override {
    out[0] = t;
    return true;
  }
};

TEST(SiteTables, ComeFromBuildHermitesWhereNothingElseIsKnown) {
  Ramps ramps(QXMultiHermiteParameters(0, 2.0, {1, 1, 1}));
  ramps.SetCoefficients({0.5});
  EXPECT_EQ(ramps.Evaluate({2, 3, 4}), Vector{0.5 * 2 * 4 * 6});
}

}  // namespace
}  // namespace QXHermiteMath
