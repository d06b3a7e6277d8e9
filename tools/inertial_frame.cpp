#include "tools/inertial_frame.h"

#include "hermite/expansion/mol_to_gaussians.h"
#include "hermite/overlay/shape_overlay.h"

namespace QXTools {

std::vector<double> Coordinates(const QXMolKit::QXMolBase& mol) {
  std::vector<double> coordinates(size_t{3} * mol.NumAtoms());
  mol.GetCoords(coordinates.data());
  return coordinates;
}

QXMolKit::QXMol HeavyAtoms(const QXMolKit::QXMolBase& conformer) {
  QXMolKit::QXMol heavy(conformer, 1);
  QXMolKit::QXSuppressHydrogens(heavy, false, false, true);
  heavy.CompactAtoms();
  return heavy;
}

std::array<double, 3> CentreOf(const QXMolKit::QXMolBase& mol) {
  std::array<double, 3> sum{};
  const std::vector<double> coordinates = Coordinates(mol);
  for (size_t i = 0; i < coordinates.size(); ++i) sum[i % 3] += coordinates[i];
  for (double& value : sum) value /= static_cast<double>(mol.NumAtoms());
  return sum;
}

std::optional<Frame> FindInertialFrame(const QXMolKit::QXMolBase& conformer) {
  return QXHermiteMath::FindInertialFrame(
      QXHermiteMath::HeavyAtomsToGaussians(conformer, QXHermiteMath::kOverlayAtomRadius));
}

void MoveInto(const Frame& frame, QXMolKit::QXMolBase& conformer) {
  std::vector<double> coordinates = Coordinates(conformer);
  const auto& r = frame.rotation;
  for (size_t i = 0; i + 2 < coordinates.size(); i += 3) {
    const std::array<double, 3> p = {coordinates[i] - frame.centre[0],
                                     coordinates[i + 1] - frame.centre[1],
                                     coordinates[i + 2] - frame.centre[2]};
    for (size_t row = 0; row < 3; ++row) {
      coordinates[i + row] = r[3 * row] * p[0] + r[3 * row + 1] * p[1] + r[3 * row + 2] * p[2];
    }
  }
  conformer.SetCoords(coordinates.data());
}

QXMolKit::QXTrans WayIn(const Frame& frame) {
  const double shift[] = {-frame.centre[0], -frame.centre[1], -frame.centre[2]};
  QXMolKit::QXTrans in;
  in.Append(QXMolKit::QXTranslation(shift));
  in.Append(QXMolKit::QXRotMatrix(frame.rotation.data()));
  return in;
}

QXMolKit::QXTrans WayBack(const Frame& frame) {
  const auto& r = frame.rotation;
  const double transposed[] = {r[0], r[3], r[6], r[1], r[4], r[7], r[2], r[5], r[8]};
  QXMolKit::QXTrans back;
  back.Append(QXMolKit::QXRotMatrix(transposed));
  back.Append(QXMolKit::QXTranslation(frame.centre.data()));
  return back;
}

}  // namespace QXTools
