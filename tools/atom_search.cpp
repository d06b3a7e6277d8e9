#include "tools/atom_search.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "hermite/expansion/mol_to_gaussians.h"
#include "hermite/gridatoms/grid_to_atoms.h"
#include "hermite/gridatoms/grid_to_mol.h"
#include "hermite/gridatoms/multistart_grid_to_atoms.h"
#include "hermite/gridatoms/places.h"
#include "hermite/gridatoms/thinning.h"
#include "hermite/overlay/cos_angle.h"
#include "tools/grid_density.h"
#include "tools/prepared_grid.h"

namespace QXTools {
namespace {

using QXCore::QXScalarGrid;
using QXHermiteMath::QXHermite;
using QXHermiteMath::QXHermiteOptions;
using QXMolKit::QXMol;

// Of the starting point: the least value under an atom, as a part of the largest, and the number.
constexpr double kStartShare = 0.05;
constexpr size_t kMostAtoms = 200;

/// Many atoms, on all but the faint parts of the density: where they are too many they crowd on one
/// another, and the clean-up leaves one of each crowd.
QXMol StartingPoint(const QXScalarGrid& grid, const AtomSearch& search) {
  const double largest = *std::max_element(grid.GetValues(), grid.GetValues() + grid.GetSize());
  std::vector<double> places;
  const float least = static_cast<float>(kStartShare * largest);
  const auto count = std::count_if(grid.GetValues(), grid.GetValues() + grid.GetSize(),
                                   [least](float value) { return value >= least; });
  // Points of greedy thinning at this distance fill the volume with more than kMostAtoms: a start
  // from below, for each trial sorts all elements.
  const double volumeOfOne = static_cast<double>(count) / kMostAtoms;
  double distance =
      std::max(search.startDistance, 0.7 * std::cbrt(volumeOfOne) * grid.GetSpacing());
  do {
    UniformlySampleGrid(grid, places, distance, kStartShare * largest, kMostAtoms + 1);
    distance *= 1.1;
  } while (places.size() > 3 * kMostAtoms);
  QXMol atoms;
  QXHermiteMath::SetCarbons(atoms, places);
  return atoms;
}

/// The grid in units in which its largest value is `wanted`.
QXScalarGrid WithLargest(QXScalarGrid grid, double wanted) {
  float* const values = grid.GetValues();
  const double scale = wanted / *std::max_element(values, values + grid.GetSize());
  std::transform(values, values + grid.GetSize(), values,
                 [scale](float value) { return static_cast<float>(value * scale); });
  return grid;
}

/// Random starts are drawn until one falls on a value of 0.0001, whatever the unit of the grid:
/// this makes it the threshold. The places of the atoms do not depend on the scale.
QXScalarGrid AtScaleOfStarts(const QXScalarGrid& grid, double threshold) {
  constexpr double kLeastValue = 0.0001;
  QXScalarGrid scaled = WithLargest(grid, kLeastValue / threshold);
  // Rounding must not leave the search without a place to start from.
  float& top = *std::max_element(scaled.GetValues(), scaled.GetValues() + scaled.GetSize());
  top = std::max(top, std::nextafter(static_cast<float>(kLeastValue), 1.0f));
  return scaled;
}

QXMol Refine(const QXScalarGrid& grid, const AtomSearch& search, const QXHermiteOptions& options) {
  QXHermiteMath::QXGridToAtoms finder(search.radius, search.minDistance, search.threshold, options,
                                      grid, {});
  QXMol atoms = StartingPoint(grid, search);
  // What the clean-up leaves is no minimum of its own: again, until nothing is dropped.
  for (unsigned int before = 0; atoms.NumAtoms() != before;) {
    before = atoms.NumAtoms();
    finder.FindLocalMinimum(atoms);
  }
  return atoms;
}

QXMol Multistart(const QXScalarGrid& grid, const AtomSearch& search,
                 const QXHermiteOptions& options) {
  QXHermiteMath::QXMultistartGridToAtoms sampler(options, AtScaleOfStarts(grid, search.threshold),
                                                 {});
  QXMol atoms;
  sampler.Sample(search.starts, atoms);
  return atoms;
}

double CosineOnGrid(const QXMol& atoms, double radius, const QXScalarGrid& grid) {
  return Cosine(grid, OnGrid(QXHermiteMath::QXMolToGaussians(atoms, radius), grid));
}

/// refine and multistart: with the expansion of the grid.
FoundAtoms FindByExpansion(const QXScalarGrid& grid, const AtomSearch& search,
                           const std::string& file, Listener& listener) {
  QXHermite expansion;
  expansion.Setup(grid, WithWidths(search.expansion, grid, {}));
  WarnOfPoorExpansion(file, expansion.GetSelfOverlap() / SelfOverlap(grid), listener);
  FoundAtoms found;
  found.expansion = expansion.GetOptions();
  const bool refine = search.method == "refine";
  found.mol =
      refine ? Refine(grid, search, found.expansion) : Multistart(grid, search, found.expansion);
  if (found.mol.NumAtoms() == 0) return found;
  // Single atoms are laid on the grid as overlays have them.
  const double radius = refine ? search.radius : QXHermiteMath::kOverlayAtomRadius;
  QXHermiteMath::QXHermiteCosAngleFunc objective(found.expansion);
  objective.SetupRef(expansion);
  objective.Setup(found.mol, radius);
  found.objective = objective(Coordinates(found.mol).data());
  found.cosine = CosineOnGrid(found.mol, radius, grid);
  found.radius = radius;
  return found;
}

FoundAtoms FindByLasso(const QXScalarGrid& grid, const AtomSearch& search) {
  constexpr unsigned int kCosine = 0, kTanimoto = 1;
  // The scale matters to the Tanimoto only, and single precision holds the products of few.
  const bool cosine = search.metric == "cosine";
  FoundAtoms found;
  found.score = QXHermiteMath::QXGridToMol(cosine ? WithLargest(grid, 1.0) : grid, found.mol,
                                           search.radius, search.minDistance, search.valueFraction,
                                           search.maxAtoms, cosine ? kCosine : kTanimoto);
  found.cosine = CosineOnGrid(found.mol, search.radius, grid);
  found.radius = search.radius;
  return found;
}

}  // namespace

std::optional<FoundAtoms> FindAtoms(QXScalarGrid grid, const AtomSearch& search,
                                    const std::string& file, Listener& listener) {
  constexpr double kPoorCosine = 0.5;
  // Expansions hold what lies near their origin.
  const Frame place{.centre = FindInertialFrame(grid).centre};
  MoveToOrigin(place, grid);
  FoundAtoms found = search.method == "lasso" ? FindByLasso(grid, search)
                                              : FindByExpansion(grid, search, file, listener);
  if (found.mol.NumAtoms() == 0) {
    listener.Say(fmt::format("{}: no atoms found: lower {}, choose another --radius, or give {}",
                             file, search.method == "lasso" ? "--value-fraction" : "--threshold",
                             kCorePeaksRemedy));
    return std::nullopt;
  }
  if (!std::isfinite(found.objective.value_or(0.0) + found.score.value_or(0.0) + found.cosine)) {
    listener.Say(
        fmt::format("{}: the atoms found do not overlap with it: choose another --radius", file));
    return std::nullopt;
  }
  if (found.cosine < kPoorCosine) {
    listener.Say(
        fmt::format("{}: the atoms stand for little of it: choose another --radius, or give {}",
                    file, kCorePeaksRemedy));
  }
  QXMolKit::QXTranslate(found.mol, place.centre.data());
  return found;
}

}  // namespace QXTools
