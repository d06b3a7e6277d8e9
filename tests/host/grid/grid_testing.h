#pragma once

#include <Eigen/Dense>

#include "host/grid/skew_grid.h"
#include "support/messages.h"
#include "support/numerics.h"

namespace QXTest {

using Eigen::Vector3d;
using QXCore::QXScalarGrid;

inline QXScalarGrid MakeGrid(unsigned int x, unsigned int y, unsigned int z, float spacing,
                             const Eigen::Vector3f& mid = {0, 0, 0}) {
  QXScalarGrid grid;
  grid.SetDim(x, y, z);
  grid.SetSpacing(spacing);
  grid.SetMid(mid[0], mid[1], mid[2]);
  return grid;
}

/// Calls visit(value&, place) for every element.
template <typename Grid, typename Visit>
void ForElements(Grid& grid, Visit&& visit) {
  const float h = grid.GetSpacing();
  auto* value = grid.GetValues();
  for (unsigned int k = 0; k < grid.GetZDim(); ++k)
    for (unsigned int j = 0; j < grid.GetYDim(); ++j)
      for (unsigned int i = 0; i < grid.GetXDim(); ++i)
        visit(*value++, Vector3d(QXCore::QXElementCoord(i, grid.GetXDim(), h, grid.GetXMid()),
                                 QXCore::QXElementCoord(j, grid.GetYDim(), h, grid.GetYMid()),
                                 QXCore::QXElementCoord(k, grid.GetZDim(), h, grid.GetZMid())));
}

template <typename Function>
void Fill(QXScalarGrid& grid, Function&& f) {
  ForElements(grid, [&](float& value, const Vector3d& p) { value = static_cast<float>(f(p)); });
}

/// Dimensions, spacing and mid point.
inline Vector Geometry(const QXScalarGrid& g) {
  return {double(g.GetXDim()), double(g.GetYDim()), double(g.GetZDim()), double(g.GetSpacing()),
          double(g.GetXMid()), double(g.GetYMid()), double(g.GetZMid())};
}

inline Vector Values(const QXScalarGrid& g) {
  return {g.GetValues(), g.GetValues() + g.GetSize()};
}

}  // namespace QXTest

namespace QXCore {
using namespace QXTest;
}
