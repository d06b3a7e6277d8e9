// `qxhermite grid`: an expanded density on a grid, in a file that viewers open.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <functional>
#include <optional>

#include "hermite/expansion/grid_evaluation.h"
#include "host/grid/grid_file.h"
#include "tools/arguments.h"
#include "tools/charge_density_file.h"
#include "tools/command.h"
#include "tools/density.h"
#include "tools/expansion_file.h"
#include "tools/grid_density.h"
#include "tools/grid_shape.h"
#include "tools/interrupt.h"
#include "tools/model_file.h"
#include "tools/output_file.h"
#include "tools/site_cube.h"
#include "tools/stage.h"

namespace QXTools {
namespace {

using QXCore::QXScalarGrid;

constexpr const char* kExamples = R"(Examples:
  qxhermite grid ligand.sdf --out ligand.ccp4 --npolymax 10
  qxhermite grid map.ccp4 --out smooth.cube --spacing 0.25
  qxhermite grid map.json --out map.ccp4 --width 20
  qxhermite grid model.json --out model.ccp4 --like map.ccp4

Exit status: 0 all well; 1 wrong usage, or nothing could be done.)";

/// What can be put on a grid, in the coordinates of its file.
struct Source {
  std::string title;
  CubeSource cube;
  std::optional<QXMolKit::QXMol> mol;
  /// Fills a grid of given geometry.
  std::function<void(QXScalarGrid& grid)> fill;
};

Source FromDensity(const std::string& file, const Density& density) {
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
  return {density.title,
          {file, density.centre, density.width, QXHermiteMath::kLargestGridDim},
          density.mol,
          fill};
}

template <typename Expansion>
Source FromSites(const std::string& file, const std::string& title, const Expansion& expansion) {
  const SiteCube cube = CubeOfSites(expansion.GetParams());
  const auto fill = [expansion = Expansion(expansion)](QXScalarGrid& grid) mutable {
    expansion.EvaluateOnGrid(grid);
  };
  return {title, {file, cube.centre, cube.width, QXHermiteMath::kLargestMultiGridDim}, {}, fill};
}

Source FromCharges(const std::string& file, const ChargeDensity& charges) {
  // With a degree to spare, as only then the functions of degree 1 are evaluated.
  Source source = FromSites(file, "charge density [e/angstrom^3]: " + charges.title,
                            charges.density.WithSpareDegree());
  if (charges.mol.NumAtoms() > 0) source.mol = charges.mol;
  return source;
}

class GridCommand : public Command {
 public:
  std::string Name() const override { return "grid"; }
  std::string Brief() const override {
    return "Writes the expansion of a molecule or a grid, or a model, as a density grid.";
  }
  void Declare(CLI::App& app) override {
    DeclareDensityArguments(app, density_);
    app.footer(kExamples);
    AddFile(app, "--out", output_, "Grid file: .ccp4, .map, .mrc, .cube or .cub")->required();
    DeclareGridShape(app, shape_);
  }
  std::string Check() const override;
  ExitStatus Run() override;

 private:
  std::optional<Source> Load(Console& console) const;
  /// The grid with the elements that are asked for, filled. Nothing when that cannot be had.
  std::optional<QXScalarGrid> FillGrid(const Source& source, Console& console) const;

  DensityArguments density_;
  std::string output_;
  GridShape shape_;
};

std::string GridCommand::Check() const {
  if (std::string problem = CheckGridName(output_); !problem.empty()) return problem;
  for (const std::string& input : {density_.file, shape_.like}) {
    if (!SameFile(output_, input)) continue;
    return fmt::format("{}: is both read and written: give another name", output_);
  }
  return CheckDensityArguments(density_);
}

std::optional<Source> GridCommand::Load(Console& console) const {
  if (IsExpansionFile(density_.file) && IsModelFile(density_.file)) {
    const std::optional<Model> model = ReadModel(density_.file, console);
    return model ? std::optional(FromSites(density_.file, model->title, model->expansion))
                 : std::nullopt;
  }
  if (IsExpansionFile(density_.file) && IsChargeDensityFile(density_.file)) {
    const std::optional<ChargeDensity> charges = ReadChargeDensity(density_.file, console);
    return charges ? std::optional(FromCharges(density_.file, *charges)) : std::nullopt;
  }
  const std::optional<Density> density = LoadDensity(density_, console);
  return density ? std::optional(FromDensity(density_.file, *density)) : std::nullopt;
}

std::optional<QXScalarGrid> GridCommand::FillGrid(const Source& source, Console& console) const {
  std::optional<QXScalarGrid> grid = MakeGrid(shape_, source.cube, console);
  if (!grid) return grid;
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
    grid = FillGrid(*source, console);
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
