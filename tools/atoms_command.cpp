// `qxhermite atoms`: pseudo-atoms whose density stands for a grid.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "hermite/expansion/mol_to_gaussians.h"
#include "hermite/gridatoms/grid_to_atoms.h"
#include "hermite/gridatoms/multistart_grid_to_atoms.h"
#include "hermite/gridatoms/places.h"
#include "hermite/gridatoms/thinning.h"
#include "hermite/overlay/cos_angle.h"
#include "host/molkit/molstream.h"
#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/console.h"
#include "tools/grid_density.h"
#include "tools/interrupt.h"
#include "tools/output_file.h"

namespace QXTools {
namespace {

using QXCore::QXScalarGrid;
using QXHermiteMath::QXHermite;
using QXHermiteMath::QXHermiteOptions;
using QXMolKit::QXMol;

constexpr const char* kExamples = R"(Examples:
  qxhermite atoms map.ccp4 --out atoms.sdf
  qxhermite atoms map.ccp4 --out atoms.sdf --radius 1.2 --threshold 0.1
  qxhermite atoms map.cube --out atoms.sdf --method multistart --starts 500

Exit status: 0 all well; 1 wrong usage, or nothing could be done.)";

// Of the starting point: the least value under an atom, as a part of the largest, and the number.
constexpr double kStartShare = 0.05;
constexpr size_t kMostAtoms = 200;

struct AtomsArguments {
  std::string file;
  std::string output;
  std::string method = "refine";
  double radius = 1.3;
  double share = 1.0;  ///< see CutPeaks
  double blur = 0.0;   ///< 0: none
  double startDistance = 0.8;
  double minDistance = 0.8;
  double threshold = 0.15;
  unsigned int starts = 200;
  QXHermiteOptions expansion;
};

/// How well atoms stand for the grid.
struct Fit {
  double objective;  ///< 1 - cosine of the two expansions
  double cosine;     ///< of the densities at the elements of the grid
};

class AtomsCommand : public Command {
 public:
  AtomsCommand() { arguments_.expansion.SetNPolyMax(10); }
  std::string Name() const override { return "atoms"; }
  std::string Brief() const override { return "Turns a density grid into pseudo-atoms."; }
  void Declare(CLI::App& app) override;
  std::string Check() const override;
  ExitStatus Run() override;

 private:
  QXMol StartingPoint(const QXScalarGrid& grid) const;
  QXScalarGrid AtScaleOfStarts(QXScalarGrid grid) const;
  QXMol FindAtoms(const QXScalarGrid& grid, const QXHermiteOptions& options) const;
  Fit Judge(const QXMol& atoms, const QXScalarGrid& grid, const QXHermite& expansion) const;
  /// Single atoms are laid on the grid as overlays have them.
  double Radius() const {
    return arguments_.method == "refine" ? arguments_.radius : QXHermiteMath::kOverlayAtomRadius;
  }
  bool Write(QXMol atoms, const Fit& fit, const std::string& path) const;

  AtomsArguments arguments_;
};

void AtomsCommand::Declare(CLI::App& app) {
  app.option_defaults()->ignore_case();
  app.footer(kExamples);
  AddFile(app, "GRID", arguments_.file, "Density grid: .ccp4, .map, .mrc, .cube or .cub")
      ->required();
  AddFile(app, "--out", arguments_.output, "File for the atoms: .sdf, .pdb or .qxb")->required();
  app.add_option("--method", arguments_.method,
                 "refine: all atoms at once, from many places on the density; multistart: one "
                 "atom at a time, from random places")
      ->transform(CLI::IsMember({"refine", "multistart"}, CLI::ignore_case))  // to small letters
      ->type_name("METHOD");
  AddNumber(app, "--radius", arguments_.radius, 0.0, "Radius of the atoms, in angstrom (refine)");
  AddNumber(app, "--start-distance", arguments_.startDistance, 0.0,
            "Least distance of the atoms to start from, in angstrom; larger where they would be "
            "more than 200 (refine)");
  AddNumber(app, "--min-distance", arguments_.minDistance, 0.0,
            "Least distance of two atoms, in angstrom (refine)");
  AddNumber(
      app, "--threshold", arguments_.threshold, 1e-6,
      "Least value under an atom, or under a random place to start from, as a fraction of the "
      "largest");
  AddNumber(app, "--cut", arguments_.share, 0.0,
            "Cut off values above the one below which this share of the density lies, before "
            "anything else; 0.7 suits electron densities with core peaks");
  AddNumber(app, "--blur", arguments_.blur, 0.0,
            "Convolve the grid first with a Gaussian of this standard deviation, in angstrom; 0.3 "
            "suits electron densities with core peaks",
            "none");
  AddCount(app, "--starts", arguments_.starts, 1, "Number of random places (multistart)");
  AddExpansionOptions(app, arguments_.expansion);
}

std::string AtomsCommand::Check() const {
  if (!IsGridFile(arguments_.file)) {
    return fmt::format("{}: not the name of a grid: give .ccp4, .map, .mrc, .cube or .cub",
                       arguments_.file);
  }
  using QXMolKit::QXMolFormat;
  const QXMolFormat format = QXMolKit::QXGetMolFormat(arguments_.output);
  if (format != QXMolFormat::SDF && format != QXMolFormat::PDB && format != QXMolFormat::QXB) {
    return fmt::format("{}: atoms cannot be written in this format: name it .sdf, .pdb or .qxb",
                       arguments_.output);
  }
  if (arguments_.share > 1.0) return "--cut: a share is at most 1";
  if (arguments_.blur > 10.0) return "--blur: more than 10 A leaves nothing of a density";
  if (arguments_.threshold > 1.0) return "--threshold: a fraction is at most 1";
  if (arguments_.expansion.GetUseCenterOfMass()) {
    return "--UseCenterOfMass true: the grid is centred anyway: leave it out";
  }
  return {};
}

/// Many atoms, on all but the faint parts of the density: where they are too many they crowd on one
/// another, and the clean-up leaves one of each crowd.
QXMol AtomsCommand::StartingPoint(const QXScalarGrid& grid) const {
  const double largest = *std::max_element(grid.GetValues(), grid.GetValues() + grid.GetSize());
  std::vector<double> places;
  const float least = static_cast<float>(kStartShare * largest);
  const auto count = std::count_if(grid.GetValues(), grid.GetValues() + grid.GetSize(),
                                   [least](float value) { return value >= least; });
  // Points of greedy thinning at this distance fill the volume with more than kMostAtoms: a start
  // from below, for each trial sorts all elements.
  const double volumeOfOne = static_cast<double>(count) / kMostAtoms;
  double distance =
      std::max(arguments_.startDistance, 0.7 * std::cbrt(volumeOfOne) * grid.GetSpacing());
  do {
    UniformlySampleGrid(grid, places, distance, kStartShare * largest, kMostAtoms + 1);
    distance *= 1.1;
  } while (places.size() > 3 * kMostAtoms);
  QXMol atoms;
  QXHermiteMath::SetCarbons(atoms, places);
  return atoms;
}

/// Random starts are drawn until one falls on a value of 0.0001, whatever the unit of the grid:
/// this makes it the threshold. The places of the atoms do not depend on the scale.
QXScalarGrid AtomsCommand::AtScaleOfStarts(QXScalarGrid grid) const {
  constexpr double kLeastValue = 0.0001;
  float* const values = grid.GetValues();
  const double largest = *std::max_element(values, values + grid.GetSize());
  const double scale = kLeastValue / (arguments_.threshold * largest);
  std::transform(values, values + grid.GetSize(), values,
                 [scale](float value) { return static_cast<float>(value * scale); });
  // Rounding must not leave the search without a place to start from.
  float& top = *std::max_element(values, values + grid.GetSize());
  top = std::max(top, std::nextafter(static_cast<float>(kLeastValue), 1.0f));
  return grid;
}

QXMol AtomsCommand::FindAtoms(const QXScalarGrid& grid, const QXHermiteOptions& options) const {
  QXMol atoms;
  if (arguments_.method == "refine") {
    QXHermiteMath::QXGridToAtoms finder(arguments_.radius, arguments_.minDistance,
                                        arguments_.threshold, options, grid, {});
    atoms = StartingPoint(grid);
    // What the clean-up leaves is no minimum of its own: again, until nothing is dropped.
    for (unsigned int before = 0; atoms.NumAtoms() != before && !Interrupted();) {
      before = atoms.NumAtoms();
      finder.FindLocalMinimum(atoms);
    }
  } else {
    QXHermiteMath::QXMultistartGridToAtoms search(options, AtScaleOfStarts(grid), {});
    search.Sample(arguments_.starts, atoms);
  }
  return atoms;
}

Fit AtomsCommand::Judge(const QXMol& atoms, const QXScalarGrid& grid,
                        const QXHermite& expansion) const {
  QXHermiteMath::QXHermiteCosAngleFunc objective(expansion.GetOptions());
  objective.SetupRef(expansion);
  const double radius = Radius();
  objective.Setup(atoms, radius);
  const auto gaussians = QXHermiteMath::QXMolToGaussians(atoms, radius);
  return {objective(Coordinates(atoms).data()), Cosine(grid, OnGrid(gaussians, grid))};
}

bool AtomsCommand::Write(QXMol atoms, const Fit& fit, const std::string& path) const {
  atoms.SetTitle(std::filesystem::path(arguments_.file).stem().string());
  QXMolKit::QXSetSDData(*atoms.GetActive(), "Objective", fmt::format("{:.6f}", fit.objective));
  QXMolKit::QXSetSDData(*atoms.GetActive(), "Cosine", fmt::format("{:.6f}", fit.cosine));
  QXMolKit::qxmolostream out(path, QXMolKit::QXGetMolFormat(arguments_.output));
  return QXMolKit::QXWriteMolecule(out, atoms) && out.close();
}

ExitStatus AtomsCommand::Run() {
  Console console;
  OutputFile out(arguments_.output, console);
  if (!out.IsOpen()) return kNothingDone;
  std::optional<QXScalarGrid> grid = ReadDensityGrid(arguments_.file, console);
  if (!grid) return kNothingDone;
  CutPeaks(*grid, arguments_.share);
  if (arguments_.blur > 0.0) Blur(*grid, arguments_.blur);
  // Expansions hold what lies near their origin.
  const Frame place{.centre = FindInertialFrame(*grid).centre};
  MoveToOrigin(place, *grid);
  QXHermite expansion;
  expansion.Setup(*grid, WithWidths(arguments_.expansion, *grid, {}));
  const QXHermiteOptions& options = expansion.GetOptions();
  WarnOfPoorExpansion(arguments_.file, expansion.GetSelfOverlap() / SelfOverlap(*grid), console);
  QXMol atoms = FindAtoms(*grid, options);
  if (atoms.NumAtoms() == 0) {
    console.Say(fmt::format(
        "{}: no atoms found: lower --threshold, or give --cut 0.7 --blur 0.3 if it has core peaks",
        arguments_.file));
    return kNothingDone;
  }
  const Fit fit = Judge(atoms, *grid, expansion);
  if (!std::isfinite(fit.objective) || !std::isfinite(fit.cosine)) {
    console.Say(fmt::format("{}: the atoms found do not overlap with it: choose another --radius",
                            arguments_.file));
    return kNothingDone;
  }
  QXMolKit::QXTranslate(atoms, place.centre.data());
  if (!Write(atoms, fit, out.TemporaryPath())) return kNothingDone;
  if (WasInterrupted(console) || !out.Commit()) return kNothingDone;
  std::fputs(
      fmt::format("Atoms      {}\nObjective  {:.6f}, 1 - cosine of the expansions, degree {}, "
                  "width {:.4f} 1/A\nCosine     {:.6f}, of the densities on the grid\n",
                  atoms.NumAtoms(), fit.objective, options.GetNPolyMax(), options.GetLambdaX(),
                  fit.cosine)
          .c_str(),
      stdout);
  return kAllWell;
}

}  // namespace

std::unique_ptr<Command> MakeAtomsCommand() {
  return std::make_unique<AtomsCommand>();
}

}  // namespace QXTools
