// `qxhermite grid`: an expanded density on a grid, in a file that viewers open.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>

#include "hermite/expansion/grid_evaluation.h"
#include "host/grid/grid_file.h"
#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/density.h"
#include "tools/grid_density.h"
#include "tools/interrupt.h"
#include "tools/output_file.h"

namespace QXTools {
namespace {

using QXCore::QXScalarGrid;
using QXHermiteMath::kGridMargin;
using QXHermiteMath::kLargestGridDim;

constexpr const char* kExamples = R"(Examples:
  qxhermite grid ligand.sdf --out ligand.ccp4 --npolymax 10
  qxhermite grid map.ccp4 --out smooth.cube --spacing 0.25
  qxhermite grid map.json --out map.ccp4 --width 20

Exit status: 0 all well; 1 wrong usage, or nothing could be done.)";

class GridCommand : public Command {
 public:
  std::string Name() const override { return "grid"; }
  std::string Brief() const override {
    return "Writes the expansion of a molecule or a grid as a density grid.";
  }
  void Declare(CLI::App& app) override {
    DeclareDensityArguments(app, density_);
    app.footer(kExamples);
    AddFile(app, "--out", output_, "Grid file: .ccp4, .map, .mrc, .cube or .cub")->required();
    AddNumber(app, "--spacing", spacing_, 0.0, "Distance of grid points, in angstrom");
    AddNumber(app, "--width", width_, 0.0,
              "Width of the cube about the centre of the density, in angstrom; 6 are added",
              "that of the density");
  }
  std::string Check() const override {
    if (!IsGridFile(output_)) {
      return fmt::format("{}: not the name of a grid: name it .ccp4, .map, .mrc, .cube or .cub",
                         output_);
    }
    if (SameFile(output_, density_.file)) {
      return fmt::format("{}: is both read and written: give another name", output_);
    }
    return CheckDensityArguments(density_);
  }
  ExitStatus Run() override;

 private:
  /// The grid that holds the density, with its atoms. Nothing when the grid would be too large.
  std::optional<QXScalarGrid> MakeGrid(const Density& density, Console& console) const;

  DensityArguments density_;
  std::string output_;
  double spacing_ = 0.5;
  double width_ = 0.0;
};

std::optional<QXScalarGrid> GridCommand::MakeGrid(const Density& density, Console& console) const {
  const double width = width_ > 0.0 ? width_ : density.width;
  const double least = (width + kGridMargin) / (kLargestGridDim - 1.0);
  if (spacing_ < least) {
    console.Say(fmt::format(
        "{}: a spacing of {:g} A needs more than {} elements along an axis: take at least {:g}",
        density_.file, spacing_, kLargestGridDim, std::ceil(least * 1e4) / 1e4));
    return std::nullopt;
  }
  QXScalarGrid grid;
  density.expansion.CreateGrid(grid, spacing_, width);
  if (QXCore::QXCountNonFinite(grid) > 0) {
    console.Say(fmt::format("{}: its values are not finite: check the coefficients and the widths",
                            density_.file));
    return std::nullopt;
  }
  // The origin of the expansion goes to where it was taken: elements move, values stay.
  grid.SetMid(static_cast<float>(density.centre[0]), static_cast<float>(density.centre[1]),
              static_cast<float>(density.centre[2]));
  grid.SetTitle(density.title);
  if (density.mol) grid.SetData(QXCore::kQXGridMoleculeTag, *density.mol);
  return grid;
}

ExitStatus GridCommand::Run() {
  Console console;
  OutputFile out(output_, console);
  if (!out.IsOpen()) return kNothingDone;
  const std::optional<Density> density = LoadDensity(density_, console);
  if (!density) return kNothingDone;
  const std::optional<QXScalarGrid> grid = MakeGrid(*density, console);
  const QXCore::QXGridFormat format = QXCore::QXGetGridFormat(output_);
  if (!grid || !QXCore::QXWriteGrid(out.TemporaryPath(), *grid, format)) return kNothingDone;
  if (WasInterrupted(console) || !out.Commit()) return kNothingDone;
  std::fputs(fmt::format("{}: {} x {} x {} elements, spacing {} A\n", output_, grid->GetXDim(),
                         grid->GetYDim(), grid->GetZDim(), grid->GetSpacing())
                 .c_str(),
             stdout);
  return kAllWell;
}

}  // namespace

std::unique_ptr<Command> MakeGridCommand() {
  return std::make_unique<GridCommand>();
}

}  // namespace QXTools
