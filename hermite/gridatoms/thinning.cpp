#include "hermite/gridatoms/thinning.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <utility>

#include "host/molkit/mol.h"

namespace {

using QXCore::QXScalarGrid;
using Point = std::array<double, 3>;
using Candidate = std::pair<double, Point>;  // the value of the grid and the place

double Distance(Point const& a, double const* b) {
  const double dx = a[0] - b[0], dy = a[1] - b[1], dz = a[2] - b[2];
  return std::sqrt(dx * dx + dy * dy + dz * dz);
}

std::vector<double> Thin(std::vector<Candidate>& candidates, double minDistance, size_t most) {
  // A heap: mostly few of very many are taken.
  std::make_heap(candidates.begin(), candidates.end());
  std::vector<double> taken;
  const auto isClose = [&](Point const& point) {
    for (size_t i = 0; i < taken.size(); i += 3)
      if (Distance(point, &taken[i]) < minDistance) return true;
    return false;
  };
  while (!candidates.empty() && taken.size() / 3 < most) {
    std::pop_heap(candidates.begin(), candidates.end());
    const Point& point = candidates.back().second;
    if (!isClose(point)) taken.insert(taken.end(), point.begin(), point.end());
    candidates.pop_back();
  }
  return taken;
}

// The coordinates of all elements along one axis.
std::vector<double> ElementCoords(unsigned int dim, float spacing, float mid) {
  std::vector<double> coords(dim);
  for (unsigned int i = 0; i < dim; ++i) coords[i] = QXCore::QXElementCoord(i, dim, spacing, mid);
  return coords;
}

}  // namespace

void UniformlySampleGrid(QXScalarGrid const& grid, std::vector<double>& coordinates,
                         double minDistance, double valueThreshold, size_t most) {
  const float spacing = grid.GetSpacing();
  const std::vector<double> xs = ElementCoords(grid.GetXDim(), spacing, grid.GetXMid());
  const std::vector<double> ys = ElementCoords(grid.GetYDim(), spacing, grid.GetYMid());
  const std::vector<double> zs = ElementCoords(grid.GetZDim(), spacing, grid.GetZMid());
  std::vector<Candidate> candidates;
  float const* value = grid.GetValues();
  for (double z : zs)
    for (double y : ys)
      for (double x : xs) {
        const double v = *value++;
        if (v >= valueThreshold) candidates.push_back({v, {x, y, z}});
      }
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
  const std::vector<double> kept =
      Thin(candidates, minDistance, std::numeric_limits<size_t>::max());

  const QXMolKit::QXMol empty(1);
  mol = static_cast<const QXMolKit::QXMolBase&>(empty);
  for (size_t i = 0; i < kept.size(); i += 3) mol.NewAtom(6);
  mol.SetCoords(kept.data());
}

}  // namespace QXHermiteMath
