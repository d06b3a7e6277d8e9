#include "hermite/overlay/overlay_results.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "hermite/frame/rigid_motion.h"

namespace QXHermiteMath {

namespace {

QXMol MoveFirstConformer(QXMol pose, QXTrans const& trans) {
  const std::unique_ptr<QXMolKit::QXIterator<QXMolKit::QXConfBase>> confs(pose.GetConfs());
  if (confs && confs->IsValid()) trans.Transform(confs->Get());
  return pose;
}

}  // namespace

QXMol FindPose(QXMCMolBase const& mol, std::vector<double> const& p) {
  const std::vector<double> m = PoseRotation(p.data());
  const double t[3] = {p[3], p[4], p[5]};
  QXMol pose(mol);
  QXMolKit::QXTranslate(pose, t);
  QXMolKit::QXRotate(pose, m.data());
  return pose;
}

double PostProcessOverlayData(std::vector<std::pair<double, QXMol>>& poses, unsigned int nPoses,
                              QXTrans const& trans, QXMCMolBase& result) {
  if (poses.empty()) {
    result = static_cast<QXMCMolBase const&>(QXMol(1));
    return 0.0;
  }
  // A score that is no number has no place in an order: such poses come first, as the worst.
  const auto ordered = std::partition(poses.begin(), poses.end(),
                                      [](const auto& pose) { return std::isnan(pose.first); });
  std::sort(ordered, poses.end());
  const double best = poses.back().first;
  QXMol bestPoses(1);
  const unsigned int n = std::min(static_cast<unsigned int>(poses.size()), nPoses);
  for (unsigned int k = 0; k < n; ++k) {
    QXMol pose = MoveFirstConformer(poses[poses.size() - 1 - k].second, trans);
    if (k == 0)
      bestPoses = std::move(pose);
    else
      bestPoses.NewConf(pose.GetActive());
  }
  result = static_cast<QXMCMolBase const&>(bestPoses);
  return best;
}

}  // namespace QXHermiteMath
