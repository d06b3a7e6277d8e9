#pragma once

#include <Eigen/Core>

#include "hermite/charge/interaction.h"

namespace QXTools {

/// A rigid motion: p -> rotation p + translation, in angstrom.
struct Motion {
  Eigen::Matrix3d rotation = Eigen::Matrix3d::Identity();
  Eigen::Vector3d translation = Eigen::Vector3d::Zero();
};

/// Sites that are closer, in angstrom, belong to molecules that run into each other: the Coulomb
/// energy of what they were alone says little about them.
inline constexpr double kContact = 1.5;
inline constexpr const char* kContactWarning =
    "the molecules run into each other, with sites closer than 1.5 A: the Coulomb energy is not "
    "that "
    "of their interaction there";

/// The Coulomb energy of two charge densities, the second of which may be moved, and whether it can
/// be computed.
class InteractionEnergy {
 public:
  /// Copies both.
  InteractionEnergy(const QXHermiteMath::QXHermiteChargeDensity& a,
                    const QXHermiteMath::QXHermiteChargeDensity& b);

  /// kcal/mol. One thread at a time.
  double At(const Motion& motion);
  /// True when sites are too close for the closed form, see LeastDistance.
  bool TooClose(const Motion& motion) const;
  /// The least distance of a site of one to a site of the other, in angstrom.
  double Distance(const Motion& motion) const;

 private:
  /// visit(distance, least distance for the closed form) of each pair of sites with functions.
  template <typename Visit>
  void ForPairs(const Motion& motion, Visit&& visit) const;

  const QXHermiteMath::QXHermiteChargeDensity a_, b_;
  QXHermiteMath::QXHermiteInteraction interaction_;
};

}  // namespace QXTools
