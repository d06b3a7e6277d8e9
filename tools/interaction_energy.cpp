#include "tools/interaction_energy.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "tools/charge_potential.h"
#include "tools/turns.h"

namespace QXTools {

using Eigen::Vector3d;
using QXHermiteMath::QXHermiteChargeDensity;

namespace {

Vector3d Center(const QXHermiteMath::QXMultiHermiteParameters& layout, unsigned int site) {
  return Vector3d::Map(layout.GetCenter(site).data());
}

}  // namespace

InteractionEnergy::InteractionEnergy(const QXHermiteChargeDensity& a,
                                     const QXHermiteChargeDensity& b)
    : a_(a), b_(b) {
  interaction_.SetupRef(a);
  interaction_.Setup(b);
}

double InteractionEnergy::At(const Motion& motion) {
  std::vector<double> rotation(9),
      translation(motion.translation.begin(), motion.translation.end());
  Eigen::Map<Eigen::Matrix<double, 3, 3, Eigen::RowMajor>>(rotation.data()) = motion.rotation;
  if (!IsSteep(rotation)) return interaction_.CoulombEnergy(rotation, translation);
  QXHermiteChargeDensity turned(b_);
  InSafeTurns(rotation, [&](const std::vector<double>& turn) { turned.Rotate(turn); });
  QXHermiteMath::QXHermiteInteraction steep;
  steep.SetupRef(a_);
  steep.Setup(turned);
  return steep.CoulombEnergy({1, 0, 0, 0, 1, 0, 0, 0, 1}, translation);
}

template <typename Visit>
void InteractionEnergy::ForPairs(const Motion& motion, Visit&& visit) const {
  const auto a = a_.GetParams(), b = b_.GetParams();
  for (unsigned int s = 0; s < a.NumSites(); ++s) {
    for (unsigned int t = 0; t < b.NumSites(); ++t) {
      if (a_.GetActives(s).empty() || b_.GetActives(t).empty()) continue;
      const double alpha = std::pow(a.GetLambda(s), 2), beta = std::pow(b.GetLambda(t), 2);
      const double least =
          LeastDistance(a.GetNPolyMax(s) + b.GetNPolyMax(t), alpha * beta / (alpha + beta));
      const Vector3d moved = motion.rotation * Center(b, t) + motion.translation;
      visit((moved - Center(a, s)).norm(), least);
    }
  }
}

bool InteractionEnergy::TooClose(const Motion& motion) const {
  bool tooClose = false;
  ForPairs(motion, [&](double distance, double least) { tooClose |= distance < least; });
  return tooClose;
}

double InteractionEnergy::Distance(const Motion& motion) const {
  double shortest = std::numeric_limits<double>::infinity();
  ForPairs(motion, [&](double distance, double) { shortest = std::min(shortest, distance); });
  return shortest;
}

}  // namespace QXTools
