#include "tools/site_cube.h"

#include <algorithm>
#include <vector>

namespace QXTools {

SiteCube CubeOfSites(const QXHermiteMath::QXMultiHermiteParameters& layout) {
  SiteCube cube;
  const std::vector<double> centers = layout.GetCenterValues();
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

}  // namespace QXTools
