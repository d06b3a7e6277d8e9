#pragma once

#include <optional>
#include <string>

#include "host/molkit/mol.h"
#include "tools/listener.h"

namespace QXTools {

/// Reads record `wanted`, counted from 1, of a molecule file. Nothing when there is no such
/// molecule, which the listener is told, together with the `option` that chooses the record.
std::optional<QXMolKit::QXMol> ReadRecord(const std::string& path, unsigned int wanted,
                                          const std::string& option, Listener& listener);

/// Why a molecule without hydrogens has no shape to expand; empty when it has one.
std::string WhyUnfit(const QXMolKit::QXMol& heavyAtoms);

/// True when all atoms lie in the plane z = 0, but not along one of its axes.
bool LooksLikeDrawing(const QXMolKit::QXMol& heavyAtoms);

/// What is odd about two atoms that lie closer than any bond is long, as they do where lengths are
/// in other units; empty when there are none among the first atoms.
std::string WhyCrowded(const QXMolKit::QXMol& heavyAtoms);

inline constexpr const char* kDrawingWarning =
    "all z are zero, it looks like a drawing: make 3-D coordinates, unless the molecule is flat";
inline constexpr const char* kNoMoleculeWarning = "holds no molecule: check the file";

}  // namespace QXTools
