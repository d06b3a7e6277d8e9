#pragma once

#include <random>
#include <vector>

#include "hermite/foundations/options.h"
#include "host/core/gaussian.h"

namespace QXBench {

/// A drug-sized cloud of shape Gaussians: an elongated ball of atoms, about 1.4 angstrom apart.
inline std::vector<QXCore::QXGaussian> DrugLikeGaussians(unsigned int atoms, unsigned int seed) {
  std::mt19937 random(seed);
  std::normal_distribution<float> normal;
  std::vector<QXCore::QXGaussian> gaussians;
  for (unsigned int i = 0; i < atoms; ++i) {
    float center[3] = {3.5f * normal(random), 1.8f * normal(random), 0.9f * normal(random)};
    gaussians.emplace_back(2.7f, 0.81115f, center, 0u);
  }
  return gaussians;
}

/// A basis of one given width, 1/angstrom.
inline QXHermiteMath::QXHermiteOptions FixedOptions(unsigned int degree, double width) {
  QXHermiteMath::QXHermiteOptions options;
  options.SetNPolyMax(degree);
  options.SetUseOptimalLambdas(false);
  SetLambdas(options, width, width, width);
  return options;
}

}  // namespace QXBench
