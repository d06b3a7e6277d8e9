#pragma once

#include "host/molkit/mol.h"

namespace QXTools {

/// The molecule, with bonds for the eye between atoms about as far apart as covalent radii tell,
/// where it has none and is no larger than a small protein.
QXMolKit::QXMol WithBonds(QXMolKit::QXMol mol);

}  // namespace QXTools
