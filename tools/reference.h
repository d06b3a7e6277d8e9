#pragma once

#include <optional>
#include <string>
#include <vector>

#include "hermite/expansion/hermite.h"
#include "tools/console.h"
#include "tools/inertial_frame.h"
#include "tools/overlay_arguments.h"

namespace QXTools {

/// The reference of an overlay, ready for use.
struct Reference {
  Frame frame;                         ///< in which overlays take place
  QXHermiteMath::QXHermite expansion;  ///< in that frame, at the widths for all fits
  /// Where charge is weighed, the charge density of all atoms: in that frame, about the same
  /// origin, at widths of its own for all fits.
  std::optional<QXHermiteMath::QXHermite> charge;
  /// The heavy atoms of a molecule in that frame; of a grid, none.
  std::vector<QXHermiteMath::QXGaussian> gaussians;
  /// Grids come in all units: where one takes part, scores are for equal self overlaps.
  bool matchScale = false;
};

/// Reads the reference, a record of a molecule file or a grid, finds its frame and expands it.
/// Nothing when that cannot be done, which the console is told.
std::optional<Reference> MakeReference(const OverlayArguments& arguments, Console& console);

/// The coefficients of a fit, at the scale at which it is to be compared with the reference.
std::vector<double> AtScaleOf(const Reference& reference, const QXHermiteMath::QXHermite& fit);

}  // namespace QXTools
