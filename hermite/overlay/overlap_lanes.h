#pragma once

#include <cstddef>
#include <vector>

#include "hermite/foundations/options.h"
#include "hermite/frame/coefficient_rows.h"
#include "host/core/simd.h"

namespace QXHermiteMath {

/// Minus the overlaps of one reference with several fits, each moved by six variables of its own,
/// side by side in SIMD lanes: the objective of QXHermiteOverlap for expansions of one degree and
/// one set of widths. A lane does not see what the others hold; the lanes of machines that differ
/// in their instruction sets agree but for rounding.
class OverlapLanes {
 public:
  explicit OverlapLanes(QXCore::QXSimdLevel newLevel = QXCore::QXGetSimdLevel()) : most(newLevel) {}

  /// The reference, by coefficients in shell order under these options, of which the first shells
  /// up to `degree` take part; likewise those of the fits. The lanes are gone.
  void SetRef(const double* coefficients, unsigned int degree, QXHermiteOptions const& options);
  /// Makes 1, 2, 4 or 8 lanes: as many as the machine has, but no more than are of use for this
  /// many fits. Needs the reference; what lanes held is lost.
  void MakeLanes(size_t fits);
  unsigned int NumLanes() const { return lanes; }
  void SetFit(unsigned int lane, const double* coefficients);

  /// Sizes of angles in radians and of shifts times width up to which evaluations stand. As with
  /// the dense operators digits go with degree and shift; much farther away values may come out NaN
  /// that are 0.
  static constexpr double kLargestAngle = 1e5;
  static constexpr double kLargestShift = 60;
  /// x: the variables of all lanes, x[k NumLanes() + lane]. values: one a lane. gradients: laid out
  /// like x, or null.
  void Evaluate(const double* x, double* values, double* gradients);

 private:
  // Packs need the alignment, in copies too.
  struct alignas(64) CacheLine {
    double doubles[8];
  };
  double* Work() { return work.front().doubles; }

  QXCore::QXSimdLevel most;  ///< that may be used
  QXCore::QXSimdLevel level = QXCore::QXSimdLevel::Baseline;
  unsigned int lanes = 0;
  CoefficientRows rows;
  double lambda[3] = {};
  std::vector<double> weights;
  std::vector<double> reference;
  std::vector<CacheLine> work;  ///< fit, V and W
};

}  // namespace QXHermiteMath
