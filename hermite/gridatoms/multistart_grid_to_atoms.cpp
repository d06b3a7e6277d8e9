#include "hermite/gridatoms/multistart_grid_to_atoms.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "host/core/throw.h"
#include "host/numerics/random.h"

namespace QXHermiteMath {

using QXCore::QXThrow;

namespace {

using Point = std::array<double, 3>;

constexpr double kSmallestValue = 0.0001;
constexpr double kDistinct = 0.2;

/// A uniform point of the box in whose element the grid is not empty. One on an upper face, where
/// rounding may take it, is taken as it is.
Point DrawStart(QXScalarGrid const& grid, QXCore::QXRandom& random) {
  for (;;) {
    const float r1 = random.NextFloat();
    const float r2 = random.NextFloat();
    const float r3 = random.NextFloat();
    const float x = (grid.GetXMax() - grid.GetXMin()) * r1 + grid.GetXMin();
    const float y = (grid.GetYMax() - grid.GetYMin()) * r2 + grid.GetYMin();
    const float z = (grid.GetZMax() - grid.GetZMin()) * r3 + grid.GetZMin();
    unsigned int element = 0;
    if (grid.SpatialCoordToElement(x, y, z, element) &&
        std::fabs(static_cast<double>(grid.GetValues()[element])) < kSmallestValue)
      continue;
    return {x, y, z};
  }
}

double Distance(Point const& a, Point const& b) {
  return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

/// Carbons at these places.
QXMol MakeAtoms(std::vector<Point> const& places) {
  QXMol mol(1);
  for (size_t i = 0; i < places.size(); ++i) mol.NewAtom(6);
  if (!places.empty()) mol.SetCoords(places[0].data());
  return mol;
}

}  // namespace

QXMultistartGridToAtoms::QXMultistartGridToAtoms(QXHermiteOptions const& newOptions,
                                                 QXScalarGrid const& newGrid,
                                                 QXTrans const& newTrans)
    : options(newOptions),
      overlay(1e-10, 100, options.GetLambdaX(), options.GetNPolyMax(), false, 0.5, 20.0),
      trans(newTrans),
      grid(newGrid) {
  overlay.SetupRef(grid, trans);
}

bool QXMultistartGridToAtoms::Sample(unsigned int numStarts, QXMol& mol) {
  QXCore::QXRandom random(false);
  std::vector<Point> found;
  for (unsigned int i = 0; i < numStarts; ++i) {
    QXThrow.Debug("Working on start number i = %s", std::to_string(i).c_str());
    mol = MakeAtoms({DrawStart(grid, random)});
    QXMol hit(1);
    const double maxTani = overlay.FindBestOverlay(mol, 1, hit, true, true);
    QXThrow.Debug("maxTani =  %s", std::to_string(maxTani).c_str());
    Point place;
    hit.GetCoords(place.data());
    if (std::none_of(found.begin(), found.end(),
                     [&](Point const& other) { return Distance(place, other) < kDistinct; }))
      found.push_back(place);
  }
  mol = MakeAtoms(found);
  return true;
}

}  // namespace QXHermiteMath
