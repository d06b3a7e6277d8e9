#include "hermite/gridatoms/places.h"

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

}  // namespace QXHermiteMath
