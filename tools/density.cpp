#include "tools/density.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>

#include "hermite/expansion/grid_projection.h"
#include "hermite/expansion/mol_to_gaussians.h"
#include "hermite/overlay/shape_overlay.h"
#include "host/grid/grid_file.h"
#include "host/molkit/molstream.h"
#include "tools/arguments.h"
#include "tools/coverage.h"
#include "tools/expansion_file.h"
#include "tools/grid_density.h"
#include "tools/record.h"

namespace QXTools {
namespace {

using QXCore::QXScalarGrid;
using QXHermiteMath::QXHermite;
using QXHermiteMath::QXHermiteOptions;
using QXMolKit::QXMol;

/// Takes over an expansion with its widths for given ones, as they are in a file of coefficients.
void Adopt(const QXHermite& expansion, Density& density) {
  density.expansion.Setup(expansion.GetCoefficients(), expansion.GetOptions());
  std::copy_n(expansion.GetCenter().begin(), 3, density.centre.begin());
}

std::optional<Density> FromMolecule(const DensityArguments& arguments, Listener& listener) {
  std::optional<QXMol> mol = ReadRecord(arguments.file, arguments.record, "--record", listener);
  if (!mol) return std::nullopt;
  const std::string place = fmt::format("{}:{}", arguments.file, arguments.record);
  const QXMol used = arguments.hydrogens ? *mol : HeavyAtoms(*mol);
  if (const std::string reason = WhyUnfit(used); !reason.empty()) {
    listener.Say(fmt::format("{}: {}", place, reason));
    return std::nullopt;
  }
  if (LooksLikeDrawing(used)) listener.Say(fmt::format("{}: {}", place, kDrawingWarning));
  const std::string crowded = WhyCrowded(HeavyAtoms(*mol));
  if (!crowded.empty()) listener.Say(fmt::format("{}: {}", place, crowded));
  const auto gaussians = QXHermiteMath::QXMolToGaussians(used, QXHermiteMath::kOverlayAtomRadius);
  QXHermite expansion;
  expansion.Setup(gaussians, arguments.expansion);

  Density density;
  density.title = mol->GetTitle();
  density.source =
      fmt::format("molecule, {} {}atom{}", used.NumAtoms(), arguments.hydrogens ? "" : "heavy ",
                  used.NumAtoms() == 1 ? "" : "s");
  density.width = expansion.GetExtent();
  density.exactSelfOverlap = ExactSelfOverlap(gaussians);
  density.mol = std::move(mol);
  Adopt(expansion, density);
  return density;
}

/// Twice the largest distance, along an axis, from the centre to a face of the box.
double WidthAbout(const std::array<double, 3>& centre, const QXScalarGrid& grid) {
  const double distances[] = {grid.GetXMax() - centre[0], centre[0] - grid.GetXMin(),
                              grid.GetYMax() - centre[1], centre[1] - grid.GetYMin(),
                              grid.GetZMax() - centre[2], centre[2] - grid.GetZMin()};
  return 2.0 * *std::max_element(std::begin(distances), std::end(distances));
}

std::optional<Density> FromGrid(const DensityArguments& arguments, Listener& listener) {
  const std::optional<QXScalarGrid> grid = ReadDensityGrid(arguments.file, listener);
  if (!grid) return std::nullopt;
  std::array<double, 3> centre{};
  if (arguments.expansion.GetUseCenterOfMass()) {
    const std::vector<double> mean = QXHermiteMath::ValueWeightedCenter(*grid);
    std::copy_n(mean.begin(), 3, centre.begin());
  }
  QXHermite expansion;
  expansion.Setup(*grid, WithWidths(arguments.expansion, *grid, centre));

  Density density;
  density.title = grid->GetTitle();
  density.source = fmt::format("grid, {} x {} x {} elements, spacing {} A", grid->GetXDim(),
                               grid->GetYDim(), grid->GetZDim(), grid->GetSpacing());
  density.exactSelfOverlap = SelfOverlap(*grid);
  if (grid->HasDataOfType<QXMol>(QXCore::kQXGridMoleculeTag)) {
    density.mol = grid->GetData<QXMol>(QXCore::kQXGridMoleculeTag);
  }
  Adopt(expansion, density);
  WarnOfCoarseGrid(arguments.file, expansion.GetSelfOverlap() / density.exactSelfOverlap, listener);
  density.width = WidthAbout(density.centre, *grid);
  return density;
}

}  // namespace

DensityArguments::DensityArguments() {
  // Files lie anywhere in space; about their origin most densities could not be expanded.
  expansion.SetUseCenterOfMass(true);
}

void DeclareDensityArguments(CLI::App& app, DensityArguments& arguments) {
  app.option_defaults()->ignore_case();
  AddFile(app, "FILE", arguments.file,
          "Molecule (.sdf, .mol, .mol2, .pdb, .qxb), grid (.ccp4, .map, .mrc, .cube, .cub) or "
          "expansion (.json)")
      ->required();
  AddCount(app, "--record", arguments.record, 1, "Which record of a molecule file to take");
  app.add_flag("--hydrogens", arguments.hydrogens, "Let the hydrogens of a molecule count");
  AddExpansionOptions(app, arguments.expansion);
}

std::string CheckDensityArguments(const DensityArguments& arguments) {
  const bool isMolecule = QXMolKit::QXGetMolFormat(arguments.file) != QXMolKit::QXMolFormat::Auto;
  if (!isMolecule && !IsGridFile(arguments.file) && !IsExpansionFile(arguments.file)) {
    return fmt::format(
        "{}: the extension names no format: use .sdf, .mol, .mol2, .pdb or .qxb for a molecule, "
        ".ccp4, .map, .mrc, .cube or .cub for a grid, .json for an expansion",
        arguments.file);
  }
  if (!isMolecule && (arguments.hydrogens || arguments.record != 1)) {
    return fmt::format("{}: is for molecules: leave it out",
                       arguments.hydrogens ? "--hydrogens" : "--record");
  }
  if (IsExpansionFile(arguments.file)) {
    const DensityArguments fresh;
    for (size_t place = 0; place < fresh.expansion.NumParameters(); ++place) {
      const auto* given = arguments.expansion.GetParameter(place);
      if (given->GetText() == fresh.expansion.GetParameter(place)->GetText()) continue;
      return fmt::format("-{}: an expansion out of a file keeps its own options: leave it out",
                         given->GetOption());
    }
  }
  return {};
}

std::optional<Density> LoadDensity(const DensityArguments& arguments, Listener& listener) {
  std::optional<Density> density = IsExpansionFile(arguments.file)
                                       ? ReadExpansion(arguments.file, listener)
                                   : IsGridFile(arguments.file) ? FromGrid(arguments, listener)
                                                                : FromMolecule(arguments, listener);
  if (!density) return density;
  const double norm = density->expansion.GetSelfOverlap();
  if (std::isfinite(norm) && norm > 0.0) return density;
  listener.Say(fmt::format("{}: its expansion has no finite norm: check the values and the widths",
                           arguments.file));
  return std::nullopt;
}

}  // namespace QXTools
