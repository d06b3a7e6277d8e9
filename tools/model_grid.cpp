#include "tools/model_grid.h"

#include <algorithm>
#include <vector>

namespace QXTools {

SiteCube CubeOfSites(const QXHermiteMath::QXMultiHermiteParameters& layout) {
  SiteCube cube;
  const std::vector<double> centers = layout.GetCenterValues();
  if (centers.empty()) return cube;
  for (size_t axis = 0; axis < 3; ++axis) {
    double low = centers[axis], high = centers[axis];
    for (size_t i = axis; i < centers.size(); i += 3) {
      low = std::min(low, centers[i]);
      high = std::max(high, centers[i]);
    }
    cube.centre[axis] = 0.5 * (low + high);
    cube.width = std::max(cube.width, high - low);
  }
  return cube;
}

void EvaluateModel(QXHermiteMath::QXMultiHermite expansion, QXCore::QXScalarGrid& grid) {
  // Plane by plane: the places of a whole grid take six times the memory of its values.
  const size_t plane = static_cast<size_t>(grid.GetXDim()) * grid.GetYDim();
  std::vector<double> points;
  float* value = grid.GetValues();
  QXCore::QXForEachElement(grid, [&](float, double x, double y, double z) {
    points.insert(points.end(), {x, y, z});
    if (points.size() < 3 * plane) return;
    for (const double sum : expansion.Evaluate(points)) *value++ = static_cast<float>(sum);
    points.clear();
  });
}

}  // namespace QXTools
