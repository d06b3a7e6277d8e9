#pragma once

#include <array>
#include <optional>
#include <vector>

#include "host/molkit/mol.h"
#include "host/molkit/trans.h"

namespace QXTools {

/// A rigid change of coordinates, p to rotation (p - centre). rotation: row-major, orthonormal,
/// determinant +1.
struct Frame {
  std::array<double, 3> centre{};
  std::array<double, 9> rotation{1, 0, 0, 0, 1, 0, 0, 0, 1};
};

/// A copy of one conformer without its hydrogens, as overlays see it.
QXMolKit::QXMol HeavyAtoms(const QXMolKit::QXMolBase& conformer);

/// The coordinates of all atoms, x, y, z of each.
std::vector<double> Coordinates(const QXMolKit::QXMolBase& mol);

/// The mean of the atom positions. At least one atom.
std::array<double, 3> CentreOf(const QXMolKit::QXMolBase& mol);

/// The frame with the origin in the mean of the atoms and the long, middle and short axis of their
/// shape density along x, y and z, from the moments of its expansion of degree N, at least 2, with
/// one width. It is unique up to half turns about the axes where the three moments differ, and one
/// of many where they do not. Nothing when the expansion gives no finite moments.
std::optional<Frame> FindInertialFrame(const QXMolKit::QXMol& heavyAtoms, unsigned int N,
                                       double lambda);

/// Takes the conformer into the frame, all atoms.
void MoveInto(const Frame& frame, QXMolKit::QXMolBase& conformer);

/// The same as a transform, and the way back, out of the frame.
QXMolKit::QXTrans WayIn(const Frame& frame);
QXMolKit::QXTrans WayBack(const Frame& frame);

}  // namespace QXTools
