#include "host/grid/skew_grid.h"

#include <gmock/gmock.h>

#include "support/grids.h"
#include "support/messages.h"

namespace QXCore {
namespace {

using namespace QXTest;
using Matrix = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>;

TEST(SkewGrid, AnUnmovedGridIsItself) {
  QXScalarGrid grid = MakeGrid(5, 4, 1, 0.3f, {10.1f, -7.77f, 0.123f});
  Fill(grid, [](const Vector3d& p) { return std::sin(9 * p.sum()); });
  grid.GetValues()[7] = std::numeric_limits<float>::infinity();
  QXScalarGrid same;
  QXMakeRegularGrid(same, QXSkewGrid(grid), 0.3f);
  EXPECT_EQ(Geometry(same), Geometry(grid));
  EXPECT_EQ(Values(same), Values(grid));
}

TEST(SkewGrid, AQuarterTurnPermutesTheElements) {
  QXScalarGrid grid = MakeGrid(2, 3, 4, 0.5f, {1, 2, 3});
  const auto f = [](const Vector3d& p) { return p[0] + 10 * p[1] + 100 * p[2]; };
  Fill(grid, f);
  QXSkewGrid skew(grid);
  const double aboutZ[9] = {0, -1, 0, 1, 0, 0, 0, 0, 1}, up[3] = {0, 0, 8};
  QXRotate(skew, aboutZ);
  QXTranslate(skew, up);
  QXScalarGrid turned;
  QXMakeRegularGrid(turned, skew, 0.5f);
  EXPECT_EQ(Geometry(turned), (Vector{3, 2, 4, 0.5, -2, 1, 11}));
  ForElements(turned, [&](float value, const Vector3d& p) {
    EXPECT_NEAR(value, f({p[1], -p[0], p[2] - 8}), 1e-4);
  });
}

TEST(SkewGrid, ATurnedGaussianIsThatGaussianWithinTheErrorOfInterpolation) {
  // exp(-w d^2) about a point off the centre; its second derivatives are 2 w at most, and linear
  // interpolation over a step h errs by h^2/8 of that on each axis.
  constexpr double w = 0.8, h = 0.25;
  const Vector3d centre(0.4, -0.3, 0.2), shift(3, -1, 0.5);
  QXScalarGrid grid = MakeGrid(41, 37, 33, h, {0.1f, 0.2f, -0.1f});
  Fill(grid, [&](const Vector3d& p) { return std::exp(-w * (p - centre).squaredNorm()); });
  const Matrix turn = Eigen::AngleAxisd(0.7, Vector3d(1, 2, -1).normalized()).toRotationMatrix();
  QXSkewGrid skew(grid);
  QXRotate(skew, turn.data());
  QXTranslate(skew, shift.data());
  QXScalarGrid moved;
  QXMakeRegularGrid(moved, skew, h);

  const Vector3d expected = turn * centre + shift;
  double volume = 0;
  ForElements(moved, [&](float value, const Vector3d& p) {
    // The Gaussian falls to exp(-w 3.6^2) = 3e-5 where the nearest face of the grid is.
    ASSERT_NEAR(value, std::exp(-w * (p - expected).squaredNorm()), 3 * h * h / 8 * 2 * w + 4e-5);
    volume += value;
  });
  EXPECT_NEAR(volume * h * h * h, std::pow(std::acos(-1.0) / w, 1.5), 0.01);
}

TEST(SkewGrid, ImpossibleSpacingsAreErrors) {
  const QXSkewGrid skew(MakeGrid(10, 10, 10, 1.0f));
  for (const float spacing : {0.0f, -1.0f, std::nanf(""), 1e-6f, 1e-30f}) {
    Messages messages;
    QXScalarGrid out = MakeGrid(2, 2, 2, 1.0f);
    QXMakeRegularGrid(out, skew, spacing);
    EXPECT_EQ(out.GetSize(), 0u) << spacing;
    EXPECT_EQ(messages.all.size(), 1u) << spacing;
  }
}

}  // namespace
}  // namespace QXCore
