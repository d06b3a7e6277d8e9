#pragma once

#include "host/molkit/mol.h"
#include "tools/json_file.h"

namespace QXTools {

/// The atoms of a molecule as a list of objects: "atomic_number", and "x", "y" and "z" in angstrom.
Json AtomsToJson(const QXMolKit::QXMol& mol);

/// A molecule, without bonds, of such a list; more fields may stand in its objects. Throws
/// std::runtime_error, which names the field, when the list is not like that.
QXMolKit::QXMol AtomsFromJson(const Json& list);

}  // namespace QXTools
