#include "hermite/gridatoms/places.h"

#include <algorithm>
#include <cmath>

#include "host/molkit/mol.h"

namespace QXHermiteMath {

void SetCarbons(QXMolKit::QXMolBase& mol, std::vector<double> const& places) {
  const QXMolKit::QXMol empty(1);
  mol = static_cast<const QXMolKit::QXMolBase&>(empty);
  for (size_t i = 0; i < places.size(); i += 3) mol.NewAtom(6);
  mol.SetCoords(places.data());
}

bool IsNear(std::vector<double> const& places, double const* point, double distance) {
  for (size_t i = 0; i < places.size(); i += 3) {
    const double dx = places[i] - point[0], dy = places[i + 1] - point[1];
    const double dz = places[i + 2] - point[2];
    if (std::sqrt(dx * dx + dy * dy + dz * dz) < distance) return true;
  }
  return false;
}

namespace {

// Cells are counted to 2^20 on either side of the origin; what lies beyond is in the last one.
constexpr double kLastCell = 1048575.0;

int64_t CellKey(int64_t i, int64_t j, int64_t k) {
  return (i * (int64_t{1} << 21) + j) * (int64_t{1} << 21) + k;
}

}  // namespace

PlaceCells::PlaceCells(double distance)
    : distance_(distance), cellsPerLength_(1.0 / (1.001 * distance)) {}

int64_t PlaceCells::CellAlong(double coordinate) const {
  const double cell = std::floor(coordinate * cellsPerLength_);
  // NaN, which is near to nothing, goes anywhere.
  return static_cast<int64_t>(std::min(std::max(-kLastCell, cell), kLastCell));
}

bool PlaceCells::IsNear(double const* point) const {
  if (!(distance_ > 0.0)) return false;
  const int64_t i = CellAlong(point[0]), j = CellAlong(point[1]), k = CellAlong(point[2]);
  for (int64_t n = 0; n < 27; ++n) {
    const auto cell = cells_.find(CellKey(i + n / 9 - 1, j + n / 3 % 3 - 1, k + n % 3 - 1));
    if (cell != cells_.end() && QXHermiteMath::IsNear(cell->second, point, distance_)) return true;
  }
  return false;
}

void PlaceCells::Add(double const* point) {
  places_.insert(places_.end(), point, point + 3);
  if (!(distance_ > 0.0)) return;
  std::vector<double>& cell =
      cells_[CellKey(CellAlong(point[0]), CellAlong(point[1]), CellAlong(point[2]))];
  cell.insert(cell.end(), point, point + 3);
}

}  // namespace QXHermiteMath
