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

/// The same of a molecule at hand, which must have its charges where they are weighed; of the
/// arguments only those that tell how to compare are read. Nothing when that cannot be done, and
/// `problem` tells why.
std::optional<Reference> ReferenceOf(QXMolKit::QXMol mol, const OverlayArguments& arguments,
                                     std::string& problem);
/// The same of a grid of finite values, some of them positive. held: the share of the grid that its
/// expansion holds.
std::optional<Reference> ReferenceOf(QXCore::QXScalarGrid grid, const OverlayArguments& arguments,
                                     std::string& problem, double& held);

/// The coefficients of a fit, at the scale at which it is to be compared with the reference.
std::vector<double> AtScaleOf(const Reference& reference, const QXHermiteMath::QXHermite& fit);

}  // namespace QXTools
