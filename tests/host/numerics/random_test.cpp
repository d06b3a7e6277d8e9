#include "host/numerics/random.h"

#include <gtest/gtest.h>

namespace QXCore {
namespace {

TEST(QXRandom, StartsAlikeInEveryObjectAndStaysBelowOne) {
  // The first number of MT19937 with the seed of its authors, and of every program that uses it.
  constexpr double kFirst = 3499211612.0 / 4294967296.0;
  QXRandom random(false), again(false);
  EXPECT_NEAR(random.NextFloat(), kFirst, 0x1p-24);
  EXPECT_NEAR(again.NextFloat(), kFirst, 0x1p-24);
  double sum = 0;
  constexpr int kCount = 1 << 20;
  for (int i = 0; i < kCount; ++i) {
    const float value = random.NextFloat();
    ASSERT_TRUE(value >= 0.0f && value < 1.0f) << value;
    sum += value;
  }
  // To five standard deviations, sqrt(1/12) each.
  EXPECT_NEAR(sum / kCount, 0.5, 5 * 0.2887 / 1024);
}

TEST(QXRandom, FromTheSystemDiffersBetweenObjects) {
  QXRandom one(true), other(true);
  int same = 0;  // of 4 numbers of 24 bits
  for (int i = 0; i < 4; ++i) same += one.NextFloat() == other.NextFloat();
  EXPECT_LT(same, 4);
}

}  // namespace
}  // namespace QXCore
