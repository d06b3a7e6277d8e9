#include "tools/prepared_grid.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "tools/arguments.h"
#include "tools/grid_density.h"

namespace QXTools {

using QXCore::QXScalarGrid;

void DeclareGridPreparation(CLI::App& app, GridPreparation& preparation) {
  AddFile(app, "GRID", preparation.file, "Density grid: .ccp4, .map, .mrc, .cube or .cub")
      ->required();
  AddNumber(app, "--cut", preparation.share, 0.0,
            "Cut off values above the one below which this share of the density lies, before "
            "anything else; 0.7 suits electron densities with core peaks");
  AddNumber(app, "--blur", preparation.blur, 0.0,
            "Convolve the grid first with a Gaussian of this standard deviation, in angstrom; 0.3 "
            "suits electron densities with core peaks",
            "none");
}

std::string CheckGridPreparation(const GridPreparation& preparation) {
  if (std::string problem = CheckGridName(preparation.file); !problem.empty()) return problem;
  if (preparation.share > 1.0) return "--cut: a share is at most 1";
  if (preparation.blur > 10.0) return "--blur: more than 10 A leaves nothing of a density";
  return {};
}

std::optional<QXScalarGrid> ReadPreparedGrid(const GridPreparation& preparation,
                                             Listener& listener) {
  std::optional<QXScalarGrid> grid = ReadDensityGrid(preparation.file, listener);
  if (!grid) return grid;
  CutPeaks(*grid, preparation.share);
  if (preparation.blur > 0.0) Blur(*grid, preparation.blur);
  return grid;
}

}  // namespace QXTools
