#pragma once

#include <array>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hermite/overlay/hermite_shape_overlay.h"
#include "hermite/overlay/shape_charge_overlay.h"
#include "hermite/overlay/shape_screen.h"
#include "tools/overlay_arguments.h"
#include "tools/reference.h"

// Overlays of molecules and grids at hand, by the ways of `qxhermite overlay`, with what moves each
// pose instead of moved copies.

namespace QXPython {

inline constexpr double kNoScore = std::numeric_limits<double>::quiet_NaN();

/// Where a conformer goes.
struct FoundPose {
  size_t fit = 0;
  size_t conformer = 0;
  std::array<double, 16> transform{};  ///< 4 x 4, row-major, onto the reference where it stands
  double score = kNoScore;             ///< by which poses are ranked
  double tanimoto = kNoScore;          ///< of the expansions
  double exactTanimoto = kNoScore;     ///< of the sums of Gaussians; NaN where a grid takes part
  double chargeTanimoto = kNoScore;    ///< where charge is weighed
};

struct SkippedConformer {
  size_t fit;
  size_t conformer;
  std::string reason;
};

struct FoundPoses {
  std::vector<FoundPose> poses;  ///< by fit, then best first
  std::vector<SkippedConformer> skipped;
  /// Of each fit, the least share of a density that its expansion holds.
  std::vector<double> held;
  std::vector<size_t> drawings;  ///< fits that look like drawings
  /// The first fit in which atoms lie too close, and what is odd about it; or none.
  std::vector<std::pair<size_t, std::string>> crowded;
};

/// One reference and all that is needed to lay fits over it; one thread at a time.
class ShapeSearch {
 public:
  /// Of the arguments those about the comparison are read. std::invalid_argument with the reason
  /// where the reference cannot be expanded.
  ShapeSearch(QXMolKit::QXMol reference, const QXTools::OverlayArguments& arguments);
  ShapeSearch(QXCore::QXScalarGrid reference, const QXTools::OverlayArguments& arguments);

  /// At most `arguments.poses` poses of each fit, all its conformers considered.
  FoundPoses Find(const std::vector<const QXMolKit::QXMol*>& fits);
  /// One pose of each.
  FoundPoses Find(const std::vector<const QXCore::QXScalarGrid*>& fits);

  /// The options under which the reference was expanded, with its widths.
  const QXHermiteMath::QXHermiteOptions& GetOptions() const {
    return reference_.expansion.GetOptions();
  }

 private:
  struct Conformer {
    size_t number;
    QXTools::Frame frame;
    QXMolKit::QXMol mol;  ///< in the frame, where charge is weighed
    QXHermiteMath::QXShapeFit fit;
  };

  void Prepare();
  std::string WhyUnfit(const QXMolKit::QXMol& all, const QXMolKit::QXMol& heavy) const;
  std::vector<Conformer> InFrame(const QXMolKit::QXMol& fit, size_t number, FoundPoses& found);
  std::vector<FoundPose> ByShape(std::vector<Conformer>& conformers);
  std::vector<FoundPose> ByShapeAndCharge(const std::vector<Conformer>& conformers);

  QXTools::OverlayArguments arguments_;
  QXTools::Reference reference_;
  std::optional<QXHermiteMath::QXShapeScreen> screen_;
  std::unique_ptr<QXHermiteMath::QXShapeChargeOverlay> charge_;
};

}  // namespace QXPython
