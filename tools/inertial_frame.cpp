#include "tools/inertial_frame.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "hermite/expansion/hermite.h"
#include "hermite/expansion/mol_to_gaussians.h"
#include "hermite/frame/inertial_orientation.h"
#include "hermite/overlay/shape_overlay.h"

namespace QXTools {
namespace {

using Vector = std::array<double, 3>;

Vector Cross(const Vector& a, const Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Vector Normalised(const Vector& a) {
  const double length = std::hypot(a[0], a[1], a[2]);
  return {a[0] / length, a[1] / length, a[2] / length};
}

/// The unit vector along the axis with which a, a unit vector, makes the largest angle.
Vector MostPerpendicularAxis(const Vector& a) {
  Vector axis{};
  const auto smallest = std::min_element(
      a.begin(), a.end(), [](double x, double y) { return std::abs(x) < std::abs(y); });
  axis[static_cast<size_t>(smallest - a.begin())] = 1.0;
  return axis;
}

/// The rows made orthonormal and right-handed. Eigenvectors of moments that (nearly) coincide need
/// not be orthogonal, and applied as they are they would shear the molecule.
std::array<double, 9> Orthonormalised(const std::vector<double>& m) {
  const Vector x = Normalised({m[0], m[1], m[2]});
  Vector z = Cross(x, {m[3], m[4], m[5]});
  if (std::hypot(z[0], z[1], z[2]) < 1e-6) z = Cross(x, MostPerpendicularAxis(x));
  z = Normalised(z);
  const Vector y = Cross(z, x);
  return {x[0], x[1], x[2], y[0], y[1], y[2], z[0], z[1], z[2]};
}

}  // namespace

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

std::optional<Frame> FindInertialFrame(const QXMolKit::QXMol& heavyAtoms, unsigned int N,
                                       double lambda) {
  Frame frame;
  frame.centre = CentreOf(heavyAtoms);
  QXMolKit::QXMol centred(heavyAtoms);
  MoveInto(frame, centred);
  auto gaussians = QXHermiteMath::QXMolToGaussians(centred, QXHermiteMath::kOverlayAtomRadius);

  std::vector<double> center, rotation, eigenvalues;
  std::vector<std::vector<double>> tensor;
  QXHermiteMath::QXOrientByHermiteMomentsOfInertia(gaussians, std::max(N, 2u), lambda, center,
                                                   rotation, tensor, eigenvalues);
  const auto finite = [](double value) { return std::isfinite(value); };
  if (!std::all_of(eigenvalues.begin(), eigenvalues.end(), finite) ||
      !std::all_of(rotation.begin(), rotation.end(), finite)) {
    return std::nullopt;
  }
  frame.rotation = Orthonormalised(rotation);
  return frame;
}

void MoveInto(const Frame& frame, QXMolKit::QXMolBase& conformer) {
  std::vector<double> coordinates = Coordinates(conformer);
  const auto& r = frame.rotation;
  for (size_t i = 0; i + 2 < coordinates.size(); i += 3) {
    const Vector p = {coordinates[i] - frame.centre[0], coordinates[i + 1] - frame.centre[1],
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
