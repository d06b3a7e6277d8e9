#include "hermite/gridatoms/thinning.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <utility>

#include "hermite/gridatoms/places.h"

namespace {

using QXCore::QXScalarGrid;
using Point = std::array<double, 3>;
using Candidate = std::pair<double, Point>;  // the value of the grid and the place

std::vector<double> Thin(std::vector<Candidate>& candidates, double minDistance, size_t most) {
  // A heap: mostly few of very many are taken.
  std::make_heap(candidates.begin(), candidates.end());
  std::vector<double> taken;
  while (!candidates.empty() && taken.size() / 3 < most) {
    std::pop_heap(candidates.begin(), candidates.end());
    const Point& point = candidates.back().second;
    if (!QXHermiteMath::IsNear(taken, point.data(), minDistance))
      taken.insert(taken.end(), point.begin(), point.end());
    candidates.pop_back();
  }
  return taken;
}

}  // namespace

void UniformlySampleGrid(QXScalarGrid const& grid, std::vector<double>& coordinates,
                         double minDistance, double valueThreshold, size_t most) {
  std::vector<Candidate> candidates;
  QXForEachElement(grid, [&](double value, double x, double y, double z) {
    if (value >= valueThreshold) candidates.push_back({value, {x, y, z}});
  });
  coordinates = Thin(candidates, minDistance, most);
}

namespace QXHermiteMath {

void CleanUpResults(QXMolKit::QXMolBase& mol, QXScalarGrid const& grid, double minDistance,
                    double valueThreshold) {
  std::vector<Candidate> candidates;
  const std::unique_ptr<QXMolKit::QXIterator<QXMolKit::QXAtom>> atoms(mol.GetAtoms());
  for (; atoms && atoms->IsValid(); atoms->Next()) {
    Point p;
    mol.GetCoords(atoms->Get(), p.data());
    unsigned int element = 0;
    if (!grid.SpatialCoordToElement(static_cast<float>(p[0]), static_cast<float>(p[1]),
                                    static_cast<float>(p[2]), element))
      continue;
    const double value = grid.GetValues()[element];
    if (std::isnan(value) || valueThreshold > value) continue;
    candidates.emplace_back(value, p);
  }
  SetCarbons(mol, Thin(candidates, minDistance, std::numeric_limits<size_t>::max()));
}

}  // namespace QXHermiteMath
