#pragma once

#include <array>
#include <optional>
#include <vector>

#include "hermite/frame/inertial_frame.h"
#include "host/molkit/mol.h"
#include "host/molkit/trans.h"

namespace QXTools {

using Frame = QXHermiteMath::InertialFrame;

/// A copy of one conformer without its hydrogens, as overlays see it.
QXMolKit::QXMol HeavyAtoms(const QXMolKit::QXMolBase& conformer);

/// The coordinates of all atoms, x, y, z of each.
std::vector<double> Coordinates(const QXMolKit::QXMolBase& mol);

/// The mean of the atom positions. At least one atom.
std::array<double, 3> CentreOf(const QXMolKit::QXMolBase& mol);

/// The inertial frame of the heavy atoms' shape density. Nothing when there are none or their
/// places are not finite.
std::optional<Frame> FindInertialFrame(const QXMolKit::QXMolBase& conformer);

/// Takes the conformer into the frame, all atoms.
void MoveInto(const Frame& frame, QXMolKit::QXMolBase& conformer);

/// The same as a transform, and the way back, out of the frame.
QXMolKit::QXTrans WayIn(const Frame& frame);
QXMolKit::QXTrans WayBack(const Frame& frame);

}  // namespace QXTools
