#pragma once

#include <random>

#include "hermite/foundations/options.h"
#include "host/core/gaussian.h"
#include "support/numerics.h"

// Plain twins of what the library computes: densities point by point, from the definitions.

namespace QXTest {

using QXCore::QXGaussian;
using QXHermiteMath::QXHermiteOptions;
using Gaussians = std::vector<QXGaussian>;

/// H_k(t) exp(-t^2/2) from the standard library's Hermite polynomials.
inline long double HermiteFunction(unsigned int k, long double t) {
  return std::hermitel(k, t) * std::exp(-t * t / 2);
}

/// The integral of the square of that: sqrt(pi) 2^k k!.
inline long double SquaredNorm(unsigned int k) {
  return std::sqrt(std::acos(-1.0L)) * std::exp2(static_cast<long double>(k)) *
         std::tgamma(k + 1.0L);
}

/// Calls visit(l, m, n) in shell order, by the definition: rising degree, then l, then m.
template <class Visit>
void ForShellOrder(unsigned int N, Visit&& visit) {
  for (unsigned int s = 0; s <= N; ++s)
    for (unsigned int l = 0; l <= s; ++l)
      for (unsigned int m = 0; m + l <= s; ++m) visit(l, m, s - l - m);
}

/// The value of an expansion at a point relative to its centre, of Gaussians at a point.
inline double Evaluate(const Vector& c, const QXHermiteOptions& options, double x, double y,
                       double z) {
  const unsigned int N = options.GetNPolyMax();
  const double t[3] = {options.GetLambdaX() * x, options.GetLambdaY() * y,
                       options.GetLambdaZ() * z};
  Vector h[3];
  for (int a = 0; a < 3; ++a) {
    h[a] = {std::exp(-t[a] * t[a] / 2)};
    for (unsigned int k = 0; k < N; ++k)
      h[a].push_back(2 * t[a] * h[a][k] - (k > 0 ? 2.0 * k * h[a][k - 1] : 0.0));
  }
  double sum = 0;
  size_t i = 0;
  ForShellOrder(N, [&](unsigned int l, unsigned int m, unsigned int n) {
    sum += c[i++] * h[0][l] * h[1][m] * h[2][n];
  });
  return sum;
}

inline double Evaluate(const Gaussians& gaussians, double x, double y, double z) {
  double sum = 0;
  for (const QXGaussian& g : gaussians) {
    const double dx = x - g.GetX(), dy = y - g.GetY(), dz = z - g.GetZ();
    sum += g.GetAmplitude() * std::exp(-g.GetWidth() * (dx * dx + dy * dy + dz * dz));
  }
  return sum;
}

/// The integral of the product of two expansions with the same options, from orthogonality.
inline double Overlap(const Vector& a, const Vector& b, const QXHermiteOptions& options) {
  long double sum = 0;
  size_t i = 0;
  ForShellOrder(options.GetNPolyMax(), [&](unsigned int l, unsigned int m, unsigned int n) {
    sum += a[i] * b[i] * SquaredNorm(l) * SquaredNorm(m) * SquaredNorm(n);
    ++i;
  });
  return static_cast<double>(sum) / GetLambdaProduct(options);
}

/// Options with these widths as they stand: no search, no common width.
inline QXHermiteOptions FixedWidths(unsigned int N, double x, double y, double z) {
  QXHermiteOptions options;
  options.SetNPolyMax(N);
  SetLambdas(options, x, y, z);
  options.SetUseSingleLambda(false);
  options.SetUseOptimalLambdas(false);
  return options;
}

/// Gaussians of both signs of amplitude when `charges`, with centres of a few angstrom that are
/// multiples of 1/64, so that small shifts in float are exact.
inline Gaussians RandomGaussians(unsigned int count, unsigned int seed, bool charges = false,
                                 double width = 1.0) {
  std::mt19937 random(seed);
  const auto uniform = [&](double from, double to) {
    return from + (to - from) * static_cast<double>(random()) / 4294967296.0;
  };
  Gaussians gaussians;
  for (unsigned int i = 0; i < count; ++i) {
    float center[3];
    for (int a = 0; a < 3; ++a) {
      const double reach = 2.0 - 0.6 * a;
      center[a] = static_cast<float>(std::round(64 * uniform(-reach, reach)) / 64);
    }
    const double amplitude = uniform(0.5, 2.0) * (charges && i % 2 == 1 ? -1.0 : 1.0);
    gaussians.emplace_back(static_cast<float>(amplitude),
                           static_cast<float>(width * uniform(0.6, 1.2)), center, 0u);
  }
  return gaussians;
}

/// The coordinates of points in a cube about the origin, with a fixed seed.
inline Vector RandomPoints(size_t count, double reach, unsigned int seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> uniform(-reach, reach);
  Vector points(3 * count);
  for (double& x : points) x = uniform(random);
  return points;
}

/// Coefficients of order 1 when multiplied with the norms: random, with a fixed seed.
inline Vector RandomCoefficients(unsigned int N, unsigned int seed) {
  std::mt19937 random(seed);
  Vector c;
  ForShellOrder(N, [&](unsigned int l, unsigned int m, unsigned int n) {
    const double norm = std::sqrt(std::exp2(l + m + n) * std::tgamma(l + 1.0) *
                                  std::tgamma(m + 1.0) * std::tgamma(n + 1.0));
    c.push_back((static_cast<double>(random()) / 2147483648.0 - 1.0) / norm);
  });
  return c;
}

}  // namespace QXTest
