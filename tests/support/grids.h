#pragma once

#include <Eigen/Dense>

#include "host/core/simd.h"
#include "host/grid/scalar_grid.h"
#include "support/density.h"

namespace QXTest {

using Eigen::Vector3d;
using QXCore::QXScalarGrid;

/// A grid of zeros.
inline QXScalarGrid MakeGrid(unsigned int x, unsigned int y, unsigned int z, float spacing,
                             const Eigen::Vector3f& mid = {0, 0, 0}) {
  QXScalarGrid grid;
  grid.SetDim(x, y, z);
  grid.SetSpacing(spacing);
  grid.SetMid(mid[0], mid[1], mid[2]);
  return grid;
}

/// The levels of instructions that this machine has.
inline std::vector<QXCore::QXSimdLevel> SimdLevels() {
  std::vector<QXCore::QXSimdLevel> levels;
  for (int level = 0; level <= static_cast<int>(QXCore::QXGetSimdLevel()); ++level)
    levels.push_back(static_cast<QXCore::QXSimdLevel>(level));
  return levels;
}

/// Calls visit(value, place) for every element, x fastest.
template <class Visit>
void ForElements(QXScalarGrid& grid, Visit&& visit) {
  float* value = grid.GetValues();
  const float h = grid.GetSpacing();
  for (unsigned int k = 0; k < grid.GetZDim(); ++k)
    for (unsigned int j = 0; j < grid.GetYDim(); ++j)
      for (unsigned int i = 0; i < grid.GetXDim(); ++i)
        visit(*value++, Vector3d(QXCore::QXElementCoord(i, grid.GetXDim(), h, grid.GetXMid()),
                                 QXCore::QXElementCoord(j, grid.GetYDim(), h, grid.GetYMid()),
                                 QXCore::QXElementCoord(k, grid.GetZDim(), h, grid.GetZMid())));
}

template <class Function>
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

/// The density of Gaussians on a cubic grid about the origin.
inline QXScalarGrid OnGrid(const Gaussians& gaussians, unsigned int dim, float spacing) {
  QXScalarGrid grid = MakeGrid(dim, dim, dim, spacing);
  Fill(grid, [&](const Vector3d& p) { return Evaluate(gaussians, p[0], p[1], p[2]); });
  return grid;
}

/// A cubic grid of numbers from -0.1 to 0.9 in no order, the same each time.
inline QXScalarGrid NoiseGrid(unsigned int dim, float spacing) {
  QXScalarGrid grid = MakeGrid(dim, dim, dim, spacing);
  std::mt19937 random(5);
  Fill(grid, [&](const Vector3d&) { return static_cast<double>(random()) / 4294967296.0 - 0.1; });
  return grid;
}

/// The cosine of the angle between the values of a grid and the density of Gaussians there.
inline double Cosine(QXScalarGrid grid, const Gaussians& gaussians) {
  double product = 0, squares = 0, norm = 0;
  ForElements(grid, [&](float value, const Vector3d& p) {
    const double f = Evaluate(gaussians, p[0], p[1], p[2]);
    product += f * static_cast<double>(value);
    squares += f * f;
    norm += static_cast<double>(value) * static_cast<double>(value);
  });
  return product / std::sqrt(squares * norm);
}

}  // namespace QXTest
