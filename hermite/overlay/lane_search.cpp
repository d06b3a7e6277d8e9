#include "hermite/overlay/lane_search.h"

#include <algorithm>

namespace QXHermiteMath {

namespace {

constexpr unsigned int kVariables = 6;

}  // namespace

void FindOptima(LaneObjective& objective, OverlaySearch const& search,
                std::vector<OverlayPoint>& points) {
  struct Lane {
    QXMinimizer::QXBFGSCore core;
    OverlayPoint* point = nullptr;  ///< null: idle
  };
  const unsigned int lanes = objective.NumLanes();
  std::vector<Lane> all(lanes);
  std::vector<double> x(kVariables * lanes), values(lanes), gradients(kVariables * lanes);
  size_t next = 0;
  size_t busy = 0;
  const auto load = [&](unsigned int i) {
    all[i].point = nullptr;
    if (next == points.size()) return;
    objective.Load(i, next);
    all[i].point = &points[next++];
    all[i].core.Start(kVariables, all[i].point->x.data(), search.iterationLimit, search.tolerance,
                      kLongestStep, search.model);
    ++busy;
  };
  for (unsigned int i = 0; i < lanes; ++i) load(i);

  while (busy > 0) {
    for (unsigned int i = 0; i < lanes; ++i) {
      if (!all[i].point) continue;  // goes on where it was
      for (unsigned int k = 0; k < kVariables; ++k) x[k * lanes + i] = all[i].core.Point()[k];
    }
    objective.Evaluate(x.data(), values.data(), gradients.data());
    for (unsigned int i = 0; i < lanes; ++i) {
      Lane& lane = all[i];
      if (!lane.point) continue;
      for (unsigned int k = 0; k < kVariables; ++k)
        lane.core.Gradient()[k] = gradients[k * lanes + i];
      if (lane.core.Tell(values[i])) continue;
      std::copy_n(lane.core.BestPoint(), kVariables, lane.point->x.begin());
      lane.point->value = lane.core.BestValue();
      lane.point->evaluations = lane.core.Evaluations();
      --busy;
      load(i);
    }
  }
}

}  // namespace QXHermiteMath
