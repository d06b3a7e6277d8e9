#include "host/numerics/angle_kernel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace QXNumerics {
namespace {

using Pack = typename QXCore::QXAlignedPack<double, 2>::Type;

// Quarter turns and rest make up the angle again, in scalars and in packs, in all four quarters and
// as far as angles are promised to go.
TEST(AngleKernel, TakesAnglesApartIntoQuartersAndExactRests) {
  constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
  for (double x = -1e5; x <= 1e5; x += 7.654321) {
    for (double small : {x, x * 1e-4}) {
      QXAngle<double> one;
      QXTakeAngleApart(small, one);
      QXAngle<Pack> both;
      QXTakeAngleApart(Pack{small, -small}, both);
      EXPECT_NEAR(one.sine, std::sin(small), 2 * kEpsilon) << small;
      EXPECT_NEAR(one.cosine, std::cos(small), 2 * kEpsilon) << small;
      EXPECT_LE(std::abs(one.sineOfRest), std::sqrt(0.5) + kEpsilon);
      // (sine, cosine) are those of the rest after as many quarter turns.
      const long quarter = std::lround(one.turns) & 3;
      EXPECT_EQ(one.odd, quarter % 2);
      EXPECT_EQ(one.signX, quarter == 1 || quarter == 2 ? -1.0 : 1.0);
      EXPECT_EQ(one.signY, quarter >= 2 ? -1.0 : 1.0);
      EXPECT_NEAR(both.sine[0], one.sine, kEpsilon);
      EXPECT_NEAR(both.sine[1], -one.sine, kEpsilon);
      EXPECT_NEAR(both.cosine[1], one.cosine, kEpsilon);
    }
  }
  QXAngle<double> none;
  QXTakeAngleApart(std::numeric_limits<double>::quiet_NaN(), none);
  EXPECT_TRUE(std::isnan(none.sine) && std::isnan(none.cosine));
}

}  // namespace
}  // namespace QXNumerics
