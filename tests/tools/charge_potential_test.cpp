#include "tools/charge_potential.h"

#include <gtest/gtest.h>

#include "support/hermite.h"

namespace QXTools {
namespace {

using namespace QXTest;
using QXHermiteMath::QXHermiteChargeDensity;

// Near a site both ways of computing meet, and the potential goes on smoothly: its difference
// across the place where they do is that of the field, but for third derivatives.
TEST(ChargePotential, GoesOnSmoothlyCloseToSites) {
  for (const unsigned int N : {0u, 2u, 6u, 10u}) {
    const double lambda = 1.3, least = LeastDistance(N + 1, lambda * lambda);
    const Vector centers = {0, 0, 0, 0.3 * least, 0.9 * least, 0};
    QXHermiteChargeDensity density(QXHermiteMath::QXMultiHermiteParameters(N, lambda, centers));
    Vector dense = RandomCoefficients(N, 3);
    for (const double q : RandomCoefficients(N, 4)) dense.push_back(q);
    density.SetCoefficients(dense);
    const ChargePotential potential(density);
    for (const Vector3d& way : {Vector3d(0.6, -0.8, 0), Vector3d(0, 0.6, 0.8)}) {
      for (const double distance : {1.0, 0.5, 0.0}) {
        const double h = 1e-3 * least;
        const Vector3d p = distance * least * way, before = p - h * way, after = p + h * way;
        Vector points(p.begin(), p.end());
        points.insert(points.end(), before.begin(), before.end());
        points.insert(points.end(), after.begin(), after.end());
        const Vector V = potential.Potential(points), E = potential.Field(points);
        const double slope = Vector3d(E.data()).dot(way);
        const double size = std::abs(V[0]) + Vector3d(E.data()).norm() * least;
        EXPECT_NEAR(V[2] - V[1], -2 * h * slope, 1e-6 * size) << N << " at " << distance;
        EXPECT_GT(size, 0.0);
      }
    }
  }
}

}  // namespace
}  // namespace QXTools
