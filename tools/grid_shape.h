#pragma once

#include <array>
#include <optional>
#include <string>

#include "host/grid/scalar_grid.h"
#include "tools/console.h"

namespace CLI {
class App;
}

namespace QXTools {

/// Which elements a grid is to have that a command writes.
struct GridShape {
  std::string like;  ///< a grid file with the elements to take; empty: a cube
  double spacing = 0.5;
  double width = 0.0;  ///< of the cube; 0: that of the source
};

void DeclareGridShape(CLI::App& app, GridShape& shape);

/// What a cube is to hold: at most largestDim elements an axis, and kGridMargin around the width.
struct CubeSource {
  std::string file;  ///< for messages
  std::array<double, 3> centre{};
  double width = 0.0;
  unsigned int largestDim = 0;
};

/// The grid of zeros, or as it was read. Nothing when it cannot be had, which the console is told.
std::optional<QXCore::QXScalarGrid> MakeGrid(const GridShape& shape, const CubeSource& source,
                                             Console& console);

}  // namespace QXTools
