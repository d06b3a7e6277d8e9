#pragma once

#include "host/core/simd.h"
#include "host/grid/scalar_grid.h"
#include "support/density.h"

namespace QXTest {

using QXCore::QXScalarGrid;

/// A grid of zeros.
inline QXScalarGrid ZeroGrid(unsigned int x, unsigned int y, unsigned int z, float spacing,
                             float xmid = 0.0f, float ymid = 0.0f, float zmid = 0.0f) {
  QXScalarGrid grid;
  grid.SetDim(x, y, z);
  grid.SetSpacing(spacing);
  grid.SetMid(xmid, ymid, zmid);
  return grid;
}

/// The levels of instructions that this machine has.
inline std::vector<QXCore::QXSimdLevel> SimdLevels() {
  std::vector<QXCore::QXSimdLevel> levels;
  for (int level = 0; level <= static_cast<int>(QXCore::QXGetSimdLevel()); ++level)
    levels.push_back(static_cast<QXCore::QXSimdLevel>(level));
  return levels;
}

/// Calls visit(value, x, y, z) for every element, x fastest.
template <class Visit>
void ForElements(QXScalarGrid& grid, Visit&& visit) {
  float* value = grid.GetValues();
  const float h = grid.GetSpacing();
  for (unsigned int k = 0; k < grid.GetZDim(); ++k)
    for (unsigned int j = 0; j < grid.GetYDim(); ++j)
      for (unsigned int i = 0; i < grid.GetXDim(); ++i)
        visit(*value++, QXCore::QXElementCoord(i, grid.GetXDim(), h, grid.GetXMid()),
              QXCore::QXElementCoord(j, grid.GetYDim(), h, grid.GetYMid()),
              QXCore::QXElementCoord(k, grid.GetZDim(), h, grid.GetZMid()));
}

/// The density of Gaussians on a cubic grid about the origin.
inline QXScalarGrid OnGrid(const Gaussians& gaussians, unsigned int dim, float spacing) {
  QXScalarGrid grid;
  grid.SetDim(dim, dim, dim);
  grid.SetSpacing(spacing);
  ForElements(grid, [&](float& value, double x, double y, double z) {
    value = static_cast<float>(Evaluate(gaussians, x, y, z));
  });
  return grid;
}

/// The cosine of the angle between the values of a grid and the density of Gaussians there.
inline double Cosine(QXScalarGrid grid, const Gaussians& gaussians) {
  double product = 0, squares = 0, norm = 0;
  ForElements(grid, [&](float value, double x, double y, double z) {
    const double f = Evaluate(gaussians, x, y, z);
    product += f * static_cast<double>(value);
    squares += f * f;
    norm += static_cast<double>(value) * static_cast<double>(value);
  });
  return product / std::sqrt(squares * norm);
}

}  // namespace QXTest
