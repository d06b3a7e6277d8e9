#pragma once

#include <Eigen/Core>

#include "hermite/charge/interaction.h"

namespace QXTools {

/// A rigid motion: p -> rotation p + translation, in angstrom.
struct Motion {
  Eigen::Matrix3d rotation = Eigen::Matrix3d::Identity();
  Eigen::Vector3d translation = Eigen::Vector3d::Zero();
};

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

 private:
  const QXHermiteMath::QXHermiteChargeDensity a_, b_;
  QXHermiteMath::QXHermiteInteraction interaction_;
};

}  // namespace QXTools
