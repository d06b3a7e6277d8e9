#pragma once

#include <array>

#include "hermite/overlay/gaussian_overlap.h"

namespace QXHermiteMath {

/// Where a polish ended.
struct QXPolishedPose {
  double overlap;                   ///< exact, at `variables`
  std::array<double, 6> variables;  ///< see rigid_motion.h
  unsigned int evaluations;         ///< of overlap, gradient and Hessian together
};

/// Brings a pose to the exact optimum of the overlap near it: Newton's method, with steps of at
/// most half a radian or angstrom that never lower the overlap. Ends when another step would bring
/// less than `tolerance` times the overlap. `start`: six variables. A start where the overlap is
/// not finite is the result. Allocates nothing.
///
/// Example:
///   const QXPolishedPose pose = QXPolish(overlap, start);
///   const double tanimoto = pose.overlap / (overlap.GetRefSelfOverlap() +
///                                           overlap.GetFitSelfOverlap() - pose.overlap);
QXPolishedPose QXPolish(QXGaussianOverlap const& overlap, double const* start,
                        double tolerance = 1e-6);

}  // namespace QXHermiteMath
