#include "host/grid/scalar_grid.h"

#include <gmock/gmock.h>

#include <limits>

#include "support/grids.h"
#include "support/messages.h"

namespace QXCore {
namespace {

using namespace QXTest;
using testing::ElementsAre;
using testing::Pair;

TEST(ScalarGrid, ElementsStandAtCellCentresAboutTheMidPoint) {
  QXScalarGrid grid = MakeGrid(3, 2, 1, 0.5f, {1, 0, -4});
  EXPECT_EQ(QXElementCoord(0, 3, 0.5f, 1.0f), 0.5f);
  EXPECT_EQ(QXElementCoord(1, 3, 0.5f, 1.0f), 1.0f);
  EXPECT_EQ(QXElementCoord(2, 3, 0.5f, 1.0f), 1.5f);
  const auto box = [&grid] {
    return Vector{grid.GetXMin(), grid.GetXMax(), grid.GetYMin(),
                  grid.GetYMax(), grid.GetZMin(), grid.GetZMax()};
  };
  EXPECT_THAT(box(), ElementsAre(0.25, 1.75, -0.5, 0.5, -4.25, -3.75));
  grid.SetSpacing(1.0f);
  EXPECT_THAT(box(), ElementsAre(-0.5, 2.5, -1, 1, -4.5, -3.5));
}

TEST(ScalarGrid, PointsFindTheirElementClampedToTheGrid) {
  const QXScalarGrid grid = MakeGrid(3, 4, 5, 0.5f, {1, 0, 0});  // x from 0.25 to 1.75
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  const struct {
    float x, y, z;
    bool inside;
    unsigned int i, j, k;
  } cases[] = {
      {0.25f, -1.0f, -1.25f, true, 0, 0, 0}, {0.76f, 0.1f, 0.2f, true, 1, 2, 2},
      {1.74f, 0.99f, 1.2f, true, 2, 3, 4},   {1.75f, 0.0f, 0.0f, false, 2, 2, 2},
      {0.2f, 0.0f, 0.0f, false, 0, 2, 2},    {1.0f, -9e9f, 1e30f, false, 1, 0, 4},
      {1.0f, 0.0f, kNan, false, 1, 2, 4},
  };
  for (const auto& c : cases) {
    unsigned int element = 999;
    EXPECT_EQ(grid.SpatialCoordToElement(c.x, c.y, c.z, element), c.inside) << c.x;
    EXPECT_EQ(element, c.i + 3 * (c.j + 4 * c.k)) << c.x << " " << c.y << " " << c.z;
  }
}

TEST(ScalarGrid, InterpolationIsTrilinearAndOutsideOnTheUpperFace) {
  QXScalarGrid grid = MakeGrid(3, 4, 5, 0.5f, {1, 0, 0});
  // What trilinear interpolation returns exactly, and values so small that floats hold it.
  const auto f = [](const Vector3d& p) {
    return (1 + p[0]) * (2 - 4 * p[1]) * (0.5 + 2 * p[2]) + 8 * p[0];
  };
  Fill(grid, f);
  for (const Vector3d& p : {Vector3d(0.5, -0.75, -1.0), Vector3d(0.75, 0.125, 0.25),
                            Vector3d(1.4375, 0.6875, 0.9375)}) {
    EXPECT_EQ(QXLinearInterpolate<float>(grid, float(p[0]), float(p[1]), float(p[2]), -99.0f),
              static_cast<float>(f(p)));
  }
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  for (const float x : {1.5f, 0.49f, 1e30f, kNan})
    EXPECT_EQ(QXLinearInterpolate<float>(grid, x, 0.0f, 0.0f, -99.0f), -99.0f) << x;
}

TEST(ScalarGrid, WrongValuesAreRefusedWithAWarning) {
  QXScalarGrid grid = MakeGrid(2, 1, 1, 1.0f);
  const float values[3] = {5, 6, 7};
  ASSERT_TRUE(grid.SetValues(values, 2));
  Messages messages;
  EXPECT_FALSE(grid.SetValues(nullptr, 2));
  EXPECT_FALSE(grid.SetValues(values, 3));
  EXPECT_THAT(
      messages.all,
      ElementsAre(
          Pair(QXErrorLevel::Warning, "Attempting to set grid data with zero pointer"),
          Pair(QXErrorLevel::Warning, "Attempting to set grid data with wrong size array")));
  EXPECT_THAT(Values(grid), ElementsAre(5, 6));
}

TEST(ScalarGrid, NewDimensionsMakeZerosAndCopiesAreDeep) {
  QXScalarGrid grid = MakeGrid(2, 1, 1, 0.5f);
  grid.SetTitle("first");
  grid.GetValues()[1] = 3;
  QXScalarGrid copy(grid), assigned;
  assigned = grid;
  grid.SetXDim(3);
  EXPECT_THAT(Values(grid), ElementsAre(0, 0, 0));
  for (const QXScalarGrid& other : {copy, assigned}) {
    EXPECT_THAT(Values(other), ElementsAre(0, 3));
    EXPECT_EQ(other.GetTitle(), "first");
    EXPECT_EQ(other.GetXMax(), 0.5f);
  }
  copy.Clear();
  EXPECT_EQ(Geometry(copy), (Vector{0, 0, 0, 1, 0, 0, 0}));
  EXPECT_FALSE(copy.IsTitleSet() || copy.IsSpacingSet() || copy.IsXMidSet());
  EXPECT_EQ(copy.GetValues(), nullptr);
  EXPECT_EQ(copy.GetXMax(), 0.0f);
  Messages messages;
  grid.SetDim(65536, 65536, 1);
  EXPECT_EQ(grid.GetSize(), 0u);
  grid.SetDim(65536, 65535, 2);
  EXPECT_EQ(grid.GetSize(), 0u);
  EXPECT_EQ(messages.all.size(), 2u);
}

}  // namespace
}  // namespace QXCore
