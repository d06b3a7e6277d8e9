// `qxhermite grid`: an expanded density on a grid, in a file that viewers open.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <functional>
#include <optional>

#include "hermite/expansion/grid_evaluation.h"
#include "host/grid/grid_file.h"
#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/density.h"
#include "tools/expansion_file.h"
#include "tools/grid_density.h"
#include "tools/interrupt.h"
#include "tools/model_file.h"
#include "tools/output_file.h"
#include "tools/site_cube.h"
#include "tools/stage.h"

namespace QXTools {
namespace {

using QXCore::QXScalarGrid;
using QXHermiteMath::kGridMargin;

constexpr const char* kExamples = R"(Examples:
  qxhermite grid ligand.sdf --out ligand.ccp4 --npolymax 10
  qxhermite grid map.ccp4 --out smooth.cube --spacing 0.25
  qxhermite grid map.json --out map.ccp4 --width 20
  qxhermite grid model.json --out model.ccp4 --like map.ccp4

Exit status: 0 all well; 1 wrong usage, or nothing could be done.)";

/// What can be put on a grid, in the coordinates of its file.
struct Source {
  std::string title;
  std::array<double, 3> centre{};
  double width = 0.0;           ///< of the cube about the centre that holds it
  unsigned int largestDim = 0;  ///< of a cube of it
  std::optional<QXMolKit::QXMol> mol;
  /// Fills a grid of given geometry.
  std::function<void(QXScalarGrid& grid)> fill;
};

Source FromDensity(const Density& density) {
  // The expansion stands at the origin: the grid goes there and back. Elements move, values stay.
  const auto fill = [density](QXScalarGrid& grid) {
    const QXHermiteMath::QXHermiteOptions& options = density.expansion.GetOptions();
    const double lambdas[] = {options.GetLambdaX(), options.GetLambdaY(), options.GetLambdaZ()};
    const float mid[] = {grid.GetXMid(), grid.GetYMid(), grid.GetZMid()};
    MoveToOrigin({.centre = density.centre}, grid);
    QXHermiteMath::EvaluateOnGrid(options.GetNPolyMax(), density.expansion.GetCoefficients().data(),
                                  lambdas, grid, QXCore::QXGetSimdLevel());
    grid.SetMid(mid[0], mid[1], mid[2]);
  };
  return {density.title, density.centre, density.width, QXHermiteMath::kLargestGridDim, density.mol,
          fill};
}

Source FromModel(const Model& model) {
  const SiteCube cube = CubeOfSites(model.expansion.GetParams());
  const auto fill = [expansion = model.expansion](QXScalarGrid& grid) mutable {
    expansion.EvaluateOnGrid(grid);
  };
  return {model.title, cube.centre, cube.width, QXHermiteMath::kLargestMultiGridDim, {}, fill};
}

class GridCommand : public Command {
 public:
  std::string Name() const override { return "grid"; }
  std::string Brief() const override {
    return "Writes the expansion of a molecule or a grid, or a model of a grid, as a density grid.";
  }
  void Declare(CLI::App& app) override {
    DeclareDensityArguments(app, density_);
    app.footer(kExamples);
    AddFile(app, "--out", output_, "Grid file: .ccp4, .map, .mrc, .cube or .cub")->required();
    AddFile(app, "--like", like_, "Grid file with the elements to take, instead of a cube");
    AddNumber(app, "--spacing", spacing_, 0.0, "Distance of grid points, in angstrom");
    AddNumber(app, "--width", width_, 0.0,
              "Width of the cube about the centre of the density, in angstrom; 6 are added",
              "that of the density");
    app.get_option("--like")
        ->excludes(app.get_option("--spacing"))
        ->excludes(app.get_option("--width"));
  }
  std::string Check() const override;
  ExitStatus Run() override;

 private:
  std::optional<Source> Load(Console& console) const;
  /// The grid with the elements that are asked for, filled. Nothing when that cannot be had.
  std::optional<QXScalarGrid> MakeGrid(const Source& source, Console& console) const;
  /// A cube of zeros that holds the source. Nothing, and a message, when it would be too large.
  std::optional<QXScalarGrid> MakeCube(const Source& source, Console& console) const;

  DensityArguments density_;
  std::string output_;
  std::string like_;
  double spacing_ = 0.5;
  double width_ = 0.0;
};

std::string GridCommand::Check() const {
  if (std::string problem = CheckGridName(output_); !problem.empty()) return problem;
  for (const std::string& input : {density_.file, like_}) {
    if (!SameFile(output_, input)) continue;
    return fmt::format("{}: is both read and written: give another name", output_);
  }
  return CheckDensityArguments(density_);
}

std::optional<Source> GridCommand::Load(Console& console) const {
  if (IsExpansionFile(density_.file) && IsModelFile(density_.file)) {
    const std::optional<Model> model = ReadModel(density_.file, console);
    return model ? std::optional(FromModel(*model)) : std::nullopt;
  }
  const std::optional<Density> density = LoadDensity(density_, console);
  return density ? std::optional(FromDensity(*density)) : std::nullopt;
}

std::optional<QXScalarGrid> GridCommand::MakeCube(const Source& source, Console& console) const {
  const double width = width_ > 0.0 ? width_ : source.width;
  const double least = (width + kGridMargin) / (source.largestDim - 1.0);
  if (spacing_ < least) {
    console.Say(fmt::format(
        "{}: a spacing of {:g} A needs more than {} elements along an axis: take at least {:g}",
        density_.file, spacing_, source.largestDim, std::ceil(least * 1e4) / 1e4));
    return std::nullopt;
  }
  const unsigned int dim =
      std::min(QXHermiteMath::EvaluationGridDim(width, spacing_), source.largestDim);
  QXScalarGrid grid;
  grid.SetDim(dim, dim, dim);
  grid.SetSpacing(static_cast<float>(spacing_));
  grid.SetMid(static_cast<float>(source.centre[0]), static_cast<float>(source.centre[1]),
              static_cast<float>(source.centre[2]));
  return grid;
}

std::optional<QXScalarGrid> GridCommand::MakeGrid(const Source& source, Console& console) const {
  std::optional<QXScalarGrid> grid;
  if (like_.empty()) {
    grid = MakeCube(source, console);
    if (!grid) return grid;
  } else if (!QXCore::QXReadGrid(like_, grid.emplace())) {
    return std::nullopt;
  }
  source.fill(*grid);
  if (QXCore::QXCountNonFinite(*grid) > 0) {
    console.Say(fmt::format("{}: its values are not finite: check the coefficients and the widths",
                            density_.file));
    return std::nullopt;
  }
  grid->SetTitle(source.title);
  if (source.mol) grid->SetData(QXCore::kQXGridMoleculeTag, *source.mol);
  return grid;
}

ExitStatus GridCommand::Run() {
  Console console;
  OutputFile out(output_, console);
  if (!out.IsOpen()) return kNothingDone;
  const std::optional<Source> source = Load(console);
  if (!source) return kNothingDone;
  std::optional<QXScalarGrid> grid;
  {
    const Stage stage(console, density_.file, "evaluating");
    grid = MakeGrid(*source, console);
  }
  const QXCore::QXGridFormat format = QXCore::QXGetGridFormat(output_);
  if (!grid || !QXCore::QXWriteGrid(out.TemporaryPath(), *grid, format)) return kNothingDone;
  if (WasInterrupted(console) || !out.Commit()) return kNothingDone;
  std::fputs(fmt::format("{}: {} x {} x {} elements, spacing {:.6g} A\n", output_, grid->GetXDim(),
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
