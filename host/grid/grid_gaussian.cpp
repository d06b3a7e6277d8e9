#include "host/grid/grid_gaussian.h"

#include <cmath>
#include <vector>

namespace QXCore {
namespace {

/// The part of exp(-width (x - centre)^2) along one axis that is not negligible.
struct AxisFactors {
  AxisFactors(const QXScalarGrid& grid, int axis, double width, double centre) {
    // exp(-40) = 4e-18, beneath the rounding of any sum that matters.
    constexpr double kNegligible = 40.0;
    const std::vector<float> coords = QXElementCoords(grid, axis);
    for (size_t i = 0; i < coords.size(); ++i) {
      const double d = coords[i] - centre;
      if (!(width * d * d < kNegligible)) continue;
      if (values.empty()) begin = i;
      values.push_back(std::exp(-width * d * d));
    }
  }

  size_t begin = 0;
  std::vector<double> values;
};

}  // namespace

// The Gaussian is a product of one factor an axis.
void QXAddGaussian(QXScalarGrid& grid, double amplitude, double width, const double* centre) {
  const AxisFactors x(grid, 0, width, centre[0]);
  const AxisFactors y(grid, 1, width, centre[1]);
  const AxisFactors z(grid, 2, width, centre[2]);
  const size_t xdim = grid.GetXDim(), ydim = grid.GetYDim();
  for (size_t k = 0; k < z.values.size(); ++k) {
    for (size_t j = 0; j < y.values.size(); ++j) {
      const double scale = amplitude * z.values[k] * y.values[j];
      const size_t row = y.begin + j + ydim * (z.begin + k);
      float* value = grid.GetValues() + x.begin + xdim * row;
      for (const double factor : x.values) *value++ += static_cast<float>(scale * factor);
    }
  }
}

}  // namespace QXCore
