#pragma once

#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "hermite/foundations/options.h"
#include "host/core/gaussian.h"

// Plain twins of what the library computes: densities point by point, from the definitions.

namespace QXTest {

using QXCore::QXGaussian;
using QXHermiteMath::QXHermiteOptions;
using Gaussians = std::vector<QXGaussian>;
using Vector = std::vector<double>;

/// H_k(t) exp(-t^2/2) from the standard library's Hermite polynomials.
inline long double HermiteFunction(unsigned int k, long double t) {
  return std::hermitel(k, t) * std::exp(-t * t / 2);
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
  std::vector<double> h[3];
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

/// The integral of the squared density of Gaussians, pair by pair.
inline double PairwiseSelfOverlap(const Gaussians& gaussians) {
  long double sum = 0;
  for (const QXGaussian& a : gaussians) {
    for (const QXGaussian& b : gaussians) {
      const long double u = a.GetWidth(), v = b.GetWidth(), w = u + v;
      const long double x = a.GetX() - b.GetX(), y = a.GetY() - b.GetY(), z = a.GetZ() - b.GetZ();
      sum += a.GetAmplitude() * b.GetAmplitude() * std::pow(std::acos(-1.0L) / w, 1.5L) *
             std::exp(-u * v / w * (x * x + y * y + z * z));
    }
  }
  return static_cast<double>(sum);
}

/// The coefficients of a density under the options: its projection on h_k/K_k, by the trapezoidal
/// rule on the cube of half edge `reach`. The definition of a coefficient, and slow. Its rounding
/// error is that of a naive sum of 3e5 terms of either sign, about the root of their number in
/// units of eps times the density.
inline Vector Project(const std::function<double(double, double, double)>& density,
                      const QXHermiteOptions& options, double reach, double step) {
  const unsigned int N = options.GetNPolyMax();
  const auto count = static_cast<size_t>(2 * reach / step) + 1;
  const auto at = [&](size_t i) { return static_cast<double>(i) * step - reach; };
  std::vector<std::vector<Vector>> table;
  for (double lambda : {options.GetLambdaX(), options.GetLambdaY(), options.GetLambdaZ()}) {
    table.emplace_back(count, Vector(N + 1));
    for (size_t i = 0; i < count; ++i) {
      long double K = std::sqrt(std::acos(-1.0L));
      for (unsigned int k = 0; k <= N; K *= 2 * ++k)
        table.back()[i][k] =
            static_cast<double>(HermiteFunction(k, lambda * at(i)) / K * lambda * step);
    }
  }
  Vector c((N + 1) * (N + 2) * (N + 3) / 6);
  for (size_t x = 0; x < count; ++x)
    for (size_t y = 0; y < count; ++y)
      for (size_t z = 0; z < count; ++z) {
        const double value = density(at(x), at(y), at(z));
        size_t i = 0;
        ForShellOrder(N, [&](unsigned int l, unsigned int m, unsigned int n) {
          c[i++] += value * table[0][x][l] * table[1][y][m] * table[2][z][n];
        });
      }
  return c;
}
constexpr double kProjectionError = 600 * 2.3e-16;

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
inline Gaussians RandomGaussians(unsigned int count, unsigned int seed, bool charges = false) {
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
    const double amplitude = uniform(0.5, 2.0);
    const double sign = charges && i % 2 == 1 ? -1.0 : 1.0;
    gaussians.emplace_back(static_cast<float>(sign * amplitude),
                           static_cast<float>(uniform(0.6, 1.2)), center, 0u);
  }
  return gaussians;
}

/// Coefficients of order 1 when multiplied with the norms: random, with a fixed seed.
inline Vector RandomCoefficients(unsigned int N, unsigned int seed) {
  std::mt19937 random(seed);
  Vector c;
  ForShellOrder(N, [&](unsigned int l, unsigned int m, unsigned int n) {
    const double norm =
        std::exp2(0.5 * (l + m + n)) *
        std::sqrt(std::tgamma(l + 1.0) * std::tgamma(m + 1.0) * std::tgamma(n + 1.0));
    c.push_back((static_cast<double>(random()) / 2147483648.0 - 1.0) / norm);
  });
  return c;
}

}  // namespace QXTest
