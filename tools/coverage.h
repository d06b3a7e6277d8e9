#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "hermite/expansion/hermite.h"

namespace QXTools {

/// The integral of the square of a sum of Gaussians, in closed form.
double ExactSelfOverlap(const std::vector<QXCore::QXGaussian>& gaussians);

/// How much of a density its expansion holds: the self overlap of the expansion over that of the
/// Gaussians it was made from, 0 to 1.
double HeldShare(const QXHermiteMath::QXHermite& expansion,
                 const std::vector<QXCore::QXGaussian>& gaussians);

/// Molecules of which the expansion holds less than half. What is missing of a shape hardly takes
/// part in the overlap with the reference but would count in the self overlap, so their scores are
/// too high. What is missing of a charge density may have either sign there, and so has the error.
class PoorlyHeld {
 public:
  void Note(const std::string& title, double share);
  bool IsEmpty() const { return count_ == 0; }
  /// One line about all of them, with the title of the worst. Not to be asked for when empty.
  /// remedy: what to do. ofCharge: the density was that of the charges.
  std::string Warning(const std::string& remedy, bool ofCharge = false) const;

 private:
  size_t count_ = 0;
  double smallest_ = 1.0;
  std::string title_;
};

}  // namespace QXTools
