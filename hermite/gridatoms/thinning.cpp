#include "hermite/gridatoms/thinning.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "hermite/gridatoms/places.h"

namespace QXHermiteMath {

using QXCore::QXScalarGrid;

std::vector<double> ThinPlaces(std::vector<ValuedPlace> candidates, double minDistance,
                               size_t most) {
  // A heap: mostly few of very many are taken.
  std::make_heap(candidates.begin(), candidates.end());
  PlaceCells taken(minDistance);
  while (!candidates.empty() && taken.GetPlaces().size() / 3 < most) {
    std::pop_heap(candidates.begin(), candidates.end());
    double const* place = candidates.back().second.data();
    if (!taken.IsNear(place)) taken.Add(place);
    candidates.pop_back();
  }
  return taken.GetPlaces();
}

void CleanUpResults(QXMolKit::QXMolBase& mol, QXScalarGrid const& grid, double minDistance,
                    double valueThreshold) {
  std::vector<ValuedPlace> candidates;
  const std::unique_ptr<QXMolKit::QXIterator<QXMolKit::QXAtom>> atoms(mol.GetAtoms());
  for (; atoms && atoms->IsValid(); atoms->Next()) {
    std::array<double, 3> p;
    mol.GetCoords(atoms->Get(), p.data());
    unsigned int element = 0;
    if (!grid.SpatialCoordToElement(static_cast<float>(p[0]), static_cast<float>(p[1]),
                                    static_cast<float>(p[2]), element))
      continue;
    const double value = grid.GetValues()[element];
    if (std::isnan(value) || valueThreshold > value) continue;
    candidates.emplace_back(value, p);
  }
  SetCarbons(mol, ThinPlaces(std::move(candidates), minDistance));
}

}  // namespace QXHermiteMath

void UniformlySampleGrid(QXCore::QXScalarGrid const& grid, std::vector<double>& coordinates,
                         double minDistance, double valueThreshold, size_t most) {
  std::vector<QXHermiteMath::ValuedPlace> candidates;
  QXForEachElement(grid, [&](double value, double x, double y, double z) {
    if (value >= valueThreshold) candidates.push_back({value, {x, y, z}});
  });
  coordinates = QXHermiteMath::ThinPlaces(std::move(candidates), minDistance, most);
}
