#include "tools/grid_shape.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>

#include "hermite/expansion/grid_evaluation.h"
#include "host/grid/grid_file.h"
#include "tools/arguments.h"

namespace QXTools {

using QXCore::QXScalarGrid;
using QXHermiteMath::kGridMargin;

void DeclareGridShape(CLI::App& app, GridShape& shape) {
  AddFile(app, "--like", shape.like, "Grid file with the elements to take, instead of a cube");
  AddNumber(app, "--spacing", shape.spacing, 0.0, "Distance of grid points, in angstrom");
  AddNumber(app, "--width", shape.width, 0.0,
            "Width of the cube about the centre of the density, in angstrom; 6 are added",
            "that of the density");
  app.get_option("--like")
      ->excludes(app.get_option("--spacing"))
      ->excludes(app.get_option("--width"));
}

std::optional<QXScalarGrid> MakeGrid(const GridShape& shape, const CubeSource& source,
                                     Console& console) {
  QXScalarGrid grid;
  if (!shape.like.empty()) {
    return QXCore::QXReadGrid(shape.like, grid) ? std::optional(grid) : std::nullopt;
  }
  const double width = shape.width > 0.0 ? shape.width : source.width;
  const double least = (width + kGridMargin) / (source.largestDim - 1.0);
  if (shape.spacing < least) {
    console.Say(fmt::format(
        "{}: a spacing of {:g} A needs more than {} elements along an axis: take at least {:g}",
        source.file, shape.spacing, source.largestDim, std::ceil(least * 1e4) / 1e4));
    return std::nullopt;
  }
  const unsigned int dim =
      std::min(QXHermiteMath::EvaluationGridDim(width, shape.spacing), source.largestDim);
  grid.SetDim(dim, dim, dim);
  grid.SetSpacing(static_cast<float>(shape.spacing));
  grid.SetMid(static_cast<float>(source.centre[0]), static_cast<float>(source.centre[1]),
              static_cast<float>(source.centre[2]));
  return grid;
}

}  // namespace QXTools
