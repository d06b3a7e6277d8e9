#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "host/minimizer/bfgs_core.h"

namespace QXHermiteMath {

/// Objectives of the six variables of a rigid motion that are evaluated side by side, one a lane.
class LaneObjective {
 public:
  virtual ~LaneObjective() = default;
  virtual unsigned int NumLanes() const = 0;
  /// From now on the lane evaluates objective number `which` of those to be searched.
  virtual void Load(unsigned int lane, size_t which) = 0;
  /// x and gradients: variable k of a lane at [k NumLanes() + lane]; values: one a lane.
  virtual void Evaluate(const double* x, double* values, double* gradients) = 0;
};

/// How a search for the optimum of an overlay goes.
struct OverlaySearch {
  double tolerance = 1e-6;  ///< relative, of QXBFGSOpt
  unsigned int iterationLimit = 200;
  const double* model = nullptr;  ///< GetReferenceModel, 21 numbers; null: none
};

/// Radians and angstroms. Longer steps leap between optima, so that the last digits of the input
/// chose among them: in 5 of 2500 pairs of drugs, against none with it. It also saves evaluations.
inline constexpr double kLongestStep = 0.5;

/// Where a search starts or has ended.
struct OverlayPoint {
  std::array<double, 6> x{};
  double value = 0.0;  ///< of the objective there
  unsigned int evaluations = 0;
};

/// Moves every point, number i for objective i, to the optimum that a search from it finds, as
/// QXBFGSOpt does: each lane has a search of its own, and takes up the next objective when it is
/// done. An exhausted limit is a result like any other.
void FindOptima(LaneObjective& objective, OverlaySearch const& search,
                std::vector<OverlayPoint>& points);

}  // namespace QXHermiteMath
