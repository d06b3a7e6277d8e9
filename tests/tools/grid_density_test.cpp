#include "tools/grid_density.h"

#include <gtest/gtest.h>

#include <numeric>

#include "support/grids.h"

namespace {

using namespace QXTest;
using namespace QXTools;

// Variances add. What is cut off beyond four sigma is 8 phi(4) = 0.0011 of the variance added, and
// the amplitude goes with the power -3/2.
TEST(Blur, AddsVariances) {
  constexpr double kOld = 0.6 * 0.6, kNew = kOld + 0.5 * 0.5;
  const Vector3d centre(0.3, -0.2, 0.1);
  QXScalarGrid grid = MakeGrid(40, 44, 48, 0.25f);
  Fill(grid, [&](const Vector3d& p) { return std::exp(-(p - centre).squaredNorm() / (2 * kOld)); });
  Blur(grid, 0.5);
  const double amplitude = std::pow(kOld / kNew, 1.5);
  ForElements(grid, [&](float value, const Vector3d& p) {
    ASSERT_NEAR(value, amplitude * std::exp(-(p - centre).squaredNorm() / (2 * kNew)),
                1.5 * 0.0011 * amplitude);
  });
}

TEST(Blur, LosesWhatGoesBeyondTheGridAndEndsForAnyWidth) {
  const double a = std::exp(-0.5), b = std::exp(-2.0), c = std::exp(-4.5), d = std::exp(-8.0);
  const double kept = (1 + a + b) * (1 + a + b + c) * (1 + a + b + c + d);
  // The last two are flat over 11 elements, of which the axes have 3, 4 and 5.
  for (const auto& [sigma, expected] : {std::pair(1e-300, 1.0),
                                        {1.0, kept / std::pow(1 + 2 * (a + b + c + d), 3)},
                                        {1e10, 60.0 / 1331},
                                        {1e308, 60.0 / 1331}}) {
    QXScalarGrid grid = MakeGrid(3, 4, 5, 1.0f);
    grid.GetValues()[59] = 1.0f;  // a corner
    Blur(grid, sigma);
    const Vector values = Values(grid);
    EXPECT_NEAR(std::accumulate(values.begin(), values.end(), 0.0), expected, 1e-6) << sigma;
  }
}

TEST(CutPeaks, LeavesAShareOfWhatIsPositive) {
  for (const auto& [share, cut] : {std::pair(0.25, 1.0), {0.5, 2.0}, {0.75, 4.0}}) {
    QXScalarGrid grid = MakeGrid(5, 1, 1, 1.0f);
    grid.SetValues(std::array{2.0f, -5.0f, 4.0f, 1.0f, 1.0f}.data(), 5);
    CutPeaks(grid, share);
    EXPECT_EQ(Values(grid), (Vector{std::min(2.0, cut), -5, cut, 1, 1})) << share;
  }
}

TEST(WithWidths, KeepsTheBasisCoarserThanTheElements) {
  QXScalarGrid grid = MakeGrid(3, 3, 3, 2.0f);
  grid.GetValues()[13] = 1.0f;
  QXHermiteOptions options;
  options.SetNPolyMax(7);
  options = WithWidths(options, grid, {});
  EXPECT_FALSE(options.GetUseOptimalLambdas());
  const double most = std::acos(-1.0) / (2 * std::sqrt(15.0));
  EXPECT_TRUE(AllNear({options.GetLambdaX(), options.GetLambdaY(), options.GetLambdaZ()},
                      Vector(3, most), 4 * kEpsilon));
  EXPECT_EQ(WithWidths(FixedWidths(7, 3, 2, 1), grid, {}).GetLambdaX(), 3.0) << "given ones stay";
}

}  // namespace
