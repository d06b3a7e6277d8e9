#include "hermite/overlay/gaussian_list.h"

#include <algorithm>

#include "host/core/simd.h"

namespace QXHermiteMath {

size_t GaussianList::Stride() const {
  constexpr size_t kMultiple = QXCore::kMostLanes / 2;
  return (Size() + kMultiple - 1) / kMultiple * kMultiple;
}

void GaussianList::Fill(std::vector<QXGaussian> const& gaussians) {
  widths.clear();
  runOf.clear();
  std::fill(middle, middle + 3, 0.0);
  for (QXGaussian const& g : gaussians) {
    const double width = g.GetWidth();
    const auto found = std::find(widths.begin(), widths.end(), width);
    runOf.push_back(static_cast<size_t>(found - widths.begin()));
    if (found == widths.end()) widths.push_back(width);
    const double share = 1.0 / static_cast<double>(gaussians.size());
    middle[0] += share * g.GetX();
    middle[1] += share * g.GetY();
    middle[2] += share * g.GetZ();
  }

  moments.resize(gaussians.size());
  places.assign(3 * Stride(), 0.0);
  runEnds.clear();
  size_t next = 0;
  for (size_t run = 0; run < widths.size(); ++run) {
    for (size_t i = 0; i < gaussians.size(); ++i) {
      if (runOf[i] != run) continue;
      const double place[3] = {gaussians[i].GetX(), gaussians[i].GetY(), gaussians[i].GetZ()};
      Moments& m = moments[next];
      m.square = 0.0;
      m.A = gaussians[i].GetAmplitude();
      for (size_t a = 0, ab = 0; a < 3; ++a) {
        places[Stride() * a + next] = place[a];
        m.u[a] = place[a] - middle[a];
        m.square += m.u[a] * m.u[a];
        m.Au[a] = m.A * m.u[a];
        for (size_t b = 0; b <= a; ++b) m.Auu[ab++] = m.Au[a] * m.u[b];
      }
      ++next;
    }
    runEnds.push_back(next);
  }
}

}  // namespace QXHermiteMath
