#pragma once

#include "host/molkit/molbase.h"

namespace QXMolKit {

/// Sets the partial charge of every atom to that of Gasteiger and Marsili (Tetrahedron 36 (1980)
/// 3219). The charge of an implied hydrogen goes to the atom that bears it, so that the sum is the
/// formal charge of the molecule. False, with an error, and no charge changed, when the structure
/// cannot be understood or an element has no parameters.
bool QXAssignGasteigerCharges(QXMolBase& mol);

}  // namespace QXMolKit
