#include "hermite/gridatoms/multistart_grid_to_atoms.h"

#include <cmath>
#include <string>
#include <vector>

#include "hermite/gridatoms/places.h"
#include "host/core/throw.h"
#include "host/numerics/random.h"

namespace QXHermiteMath {

using QXCore::QXThrow;

namespace {

constexpr double kSmallestValue = 0.0001;
constexpr double kDistinct = 0.2;

/// A uniform point of the box in whose element the grid is not empty. One on an upper face, where
/// rounding may take it, is taken as it is.
std::vector<double> DrawStart(QXScalarGrid const& grid, QXCore::QXRandom& random) {
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
  std::vector<double> found;
  for (unsigned int i = 0; i < numStarts; ++i) {
    QXThrow.Debug("Working on start number i = %s", std::to_string(i).c_str());
    SetCarbons(mol, DrawStart(grid, random));
    QXMol hit(1);
    const double maxTani = overlay.FindBestOverlay(mol, 1, hit, true, true);
    QXThrow.Debug("maxTani =  %s", std::to_string(maxTani).c_str());
    double place[3];
    hit.GetCoords(place);
    if (!IsNear(found, place, kDistinct)) found.insert(found.end(), place, place + 3);
  }
  SetCarbons(mol, found);
  return true;
}

}  // namespace QXHermiteMath
