#include "hermite/gridatoms/lasso_atoms.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "hermite/gridatoms/lasso_gaussians.h"
#include "hermite/gridatoms/places.h"
#include "hermite/gridatoms/thinning.h"
#include "host/grid/field_grid.h"
#include "host/numerics/random.h"

namespace QXHermiteMath {

namespace {

constexpr int kDraws = 100;
/// The spacing of the candidates, in distances of the atoms.
constexpr double kCandidateSpacing = 0.2;

std::vector<double> AllCoords(QXMolBase const& mol) {
  std::vector<double> coords(3 * static_cast<size_t>(mol.NumAtoms()));
  mol.GetCoords(coords.data());
  return coords;
}

unsigned int Twice(unsigned int count) {
  constexpr unsigned int kMost = std::numeric_limits<unsigned int>::max();
  return count > kMost / 2 ? kMost : 2 * count;
}

/// From the self overlap of a fit, that of the reference and the overlap of both.
float Score(std::array<float, 3> const& overlaps, unsigned int metric) {
  const auto [fit, ref, both] = overlaps;
  if (metric == 0) return both / std::sqrt(fit) / std::sqrt(ref);
  if (metric == 1) return both / (ref - both + fit);
  return 0.0f;
}

}  // namespace

bool QXLassoAtoms::SetupGrid(QXScalarGrid const& newGrid, double valueFraction) {
  spacing = newGrid.GetSpacing();
  maxValue = 0.0;
  gridCoordinates.clear();
  gridValues.clear();
  QXForEachElement(
      newGrid, [&](double value, double, double, double) { maxValue = std::max(maxValue, value); });
  const double threshold = valueFraction * maxValue;
  QXForEachElement(newGrid, [&](double value, double x, double y, double z) {
    if (!(value > threshold)) return;
    gridValues.push_back(value);
    gridCoordinates.insert(gridCoordinates.end(), {x, y, z});
  });
  grid = newGrid;
  return true;
}

std::vector<double> QXLassoAtoms::SampleAtoms(double minDistance, double valueFraction) {
  const double threshold = valueFraction * maxValue;
  std::vector<ValuedPlace> candidates;
  for (size_t i = 0; i < gridValues.size(); ++i) {
    if (!(gridValues[i] > threshold)) continue;
    const auto [value, place] = SampleGridLocalMaximum(static_cast<unsigned int>(i));
    candidates.push_back({value, {place[0], place[1], place[2]}});
  }
  return ThinPlaces(std::move(candidates), minDistance);
}

std::pair<double, std::vector<double>> QXLassoAtoms::SampleGridLocalMaximum(unsigned int index) {
  QXCore::QXRandom random(false);  // a new one each time, which starts over
  double const* start = &gridCoordinates[3 * static_cast<size_t>(index)];
  double best = gridValues[index];
  std::vector<double> place(start, start + 3);
  for (int draw = 0; draw < kDraws; ++draw) {
    const double x = start[0] + random.NextFloat() * spacing;
    const double y = start[1] + random.NextFloat() * spacing;
    const double z = start[2] + random.NextFloat() * spacing;
    const bool inside = grid.GetXMin() <= x && x < grid.GetXMax() && grid.GetYMin() <= y &&
                        y < grid.GetYMax() && grid.GetZMin() <= z && z < grid.GetZMax();
    if (!inside) continue;
    const double value = QXCore::QXLinearInterpolate<float>(
        grid, static_cast<float>(x), static_cast<float>(y), static_cast<float>(z), 0.0f);
    if (value > best) {
      best = value;
      place = {x, y, z};
    }
  }
  return {best, place};
}

bool QXLassoAtoms::IsDuplicate(std::vector<double> const& coordinates,
                               std::vector<double> const& point, double minDistance) {
  return IsNear(coordinates, point.data(), minDistance);
}

bool QXLassoAtoms::DeduplicateAtoms(QXMolBase& mol, std::vector<double> const& values,
                                    double minDistance, unsigned int maxAtoms) {
  const std::vector<double> coords = AllCoords(mol);
  std::vector<ValuedPlace> places;
  for (size_t i = 0; i < coords.size(); i += 3)
    places.push_back({values[i / 3], {coords[i], coords[i + 1], coords[i + 2]}});
  SetCarbons(mol, ThinPlaces(std::move(places), minDistance, maxAtoms));
  return true;
}

bool QXLassoAtoms::FindAtoms(QXMolBase& mol, double radius, double minDistance,
                             double valueFraction, unsigned int maxAtoms) {
  const std::vector<double> samples = SampleAtoms(kCandidateSpacing * minDistance, valueFraction);
  QXLassoGaussians lasso(samples, radius);
  lasso.Setup(gridCoordinates, gridValues, Twice(maxAtoms));
  std::vector<double> places, values;
  for (const unsigned int active : lasso.GetActives()) {
    double const* place = &samples[3 * static_cast<size_t>(active)];
    places.insert(places.end(), place, place + 3);
    values.push_back(lasso.GetValue(place[0], place[1], place[2]));
  }
  SetCarbons(mol, places);
  return DeduplicateAtoms(mol, values, minDistance, maxAtoms);
}

double QXLassoAtoms::OptimizeNumberOfAtoms(QXMolBase const& in, QXMolBase& out,
                                           unsigned int metric) {
  std::vector<double> coords = AllCoords(in);
  QXScalarGrid density = grid;
  std::fill_n(density.GetValues(), density.GetSize(), 0.0f);
  double best = 0.0;
  size_t bestSize = 0;
  // Atoms add up in their order, so that the density of one more is that of a molecule with it.
  for (size_t i = 0; i < coords.size(); i += 3) {
    QXFieldKit::QXAddAtomGaussian(density, 6, &coords[i]);
    const double score = Score(QXFieldKit::QXGridOverlap(density, grid), metric);
    if (score > best) {
      best = score;
      bestSize = i + 3;
    }
  }
  coords.resize(bestSize);
  SetCarbons(out, coords);
  return best;
}

}  // namespace QXHermiteMath
