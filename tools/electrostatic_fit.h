#pragma once

#include <functional>
#include <vector>

#include "hermite/charge/lasso_charge_density.h"
#include "tools/electrostatic_data.h"

// Charge densities fitted to electrostatic data, and how good they are.

namespace QXTools {

/// Some of the points of electrostatic data.
struct ElectrostaticSample {
  std::vector<double> points;     ///< x, y, z of each
  std::vector<double> potential;  ///< at each point; or empty
  std::vector<double> field;      ///< x of all points, then y, then z; or empty
};

/// The points whose places in the data are given.
ElectrostaticSample TakePoints(const ElectrostaticData& data, const std::vector<size_t>& places);

/// Root mean square of the errors over that of the values. NaN where there are no values, or only
/// zeros.
struct RelativeErrors {
  double potential;
  double field;  ///< of its three components together
};

RelativeErrors ErrorsOf(const QXHermiteMath::QXHermiteChargeDensity& density,
                        const ElectrostaticSample& sample);

/// How the functions of a density are chosen and fitted.
enum class FitMethod {
  Lasso,    ///< both by the path of a LASSO
  Relaxed,  ///< the first functions of the path, fitted once more
  Pruned,   ///< those left of twice as many by backward elimination, fitted once more
};

/// The densities of growing numbers of functions that fit a sample.
struct ElectrostaticFit {
  /// The last step; 0 where there is nothing to fit.
  unsigned int maxFunctions;
  /// The density of a step, from 1 on: so many functions have entered. Those without weight, which
  /// have left again, are not active.
  std::function<QXHermiteMath::QXHermiteChargeDensity(unsigned int)> density;
};

/// With at most so many active functions.
ElectrostaticFit FitSample(const ElectrostaticSample& sample,
                           const QXHermiteMath::QXMultiHermiteParameters& layout,
                           const QXHermiteMath::QXLassoChargeDensityOptions& options,
                           FitMethod method, unsigned int mostFunctions);

}  // namespace QXTools
