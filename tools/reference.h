#pragma once

#include <optional>
#include <string>

#include "hermite/expansion/hermite.h"
#include "tools/console.h"
#include "tools/inertial_frame.h"
#include "tools/overlay_arguments.h"

namespace QXTools {

/// The reference of an overlay, ready for use.
struct Reference {
  Frame frame;                         ///< in which overlays take place
  QXHermiteMath::QXHermite expansion;  ///< in that frame, at the widths for all fits
  double frameLambda = 1.0;            ///< the width with which inertial frames are found
};

/// Reads the reference record, finds its frame and expands it. Nothing when that cannot be done,
/// which the console is told.
std::optional<Reference> MakeReference(const OverlayArguments& arguments, Console& console);

/// Why a molecule without hydrogens has no shape to compare; empty when it has one.
std::string WhyUnfit(const QXMolKit::QXMol& heavyAtoms);

/// True when all atoms lie in the plane z = 0, but not along one of its axes.
bool LooksLikeDrawing(const QXMolKit::QXMol& heavyAtoms);

inline constexpr const char* kDrawingWarning =
    "all z are zero, it looks like a drawing: make 3-D coordinates, unless the molecule is flat";
/// A pose does not lie in the plane any more, where the wedges told the stereochemistry.
inline constexpr const char* kFitDrawingWarning =
    "all z are zero, it looks like a drawing, whose wedge bonds mean nothing once it is turned in "
    "space: make 3-D coordinates, unless the molecule is flat";
inline constexpr const char* kNoMoleculeWarning = "holds no molecule: check the file";

}  // namespace QXTools
