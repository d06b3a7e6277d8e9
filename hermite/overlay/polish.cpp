#include "hermite/overlay/polish.h"

#include <algorithm>
#include <cmath>

#include "hermite/overlay/lane_search.h"

namespace QXHermiteMath {

namespace {

constexpr size_t kVariables = 6;
constexpr double kShortening = 0.25;
constexpr double kSmallestPivot = 0.1;  // of the diagonal element
constexpr unsigned int kMostEvaluations = 50;
constexpr double kRounding = 1e-13;  // of the overlap

using Vector = std::array<double, kVariables>;

double Dot(Vector const& a, Vector const& b) {
  double sum = 0.0;
  for (size_t i = 0; i < kVariables; ++i) sum += a[i] * b[i];
  return sum;
}

// Minus the overlap with its derivatives at a place.
struct Place {
  Place(QXGaussianOverlap const& overlap, Vector const& newX)
      : x(newX), value(overlap.Evaluate(x.data(), hessian, gradient.data())) {}
  Vector x;
  Vector gradient;
  double hessian[kVariables * (kVariables + 1) / 2];  // the lower triangle by rows
  double value;
};

// The Newton step -H^-1 g, H = L D L^T. Where H is not positive definite, which D shows, the
// magnitudes of D stand for it, so that the step is downhill all the same.
Vector NewtonStep(Place const& at) {
  double L[kVariables][kVariables], D[kVariables];
  Vector step;
  double const* h = at.hessian;
  for (size_t i = 0; i < kVariables; ++i) {
    double row[kVariables];  // of L D
    double pivot = h[i], rest = -at.gradient[i];
    for (size_t j = 0; j < i; ++j) {
      row[j] = h[j];
      for (size_t k = 0; k < j; ++k) row[j] -= row[k] * L[j][k];
      L[i][j] = row[j] / D[j];
      pivot -= row[j] * L[i][j];
      rest -= L[i][j] * step[j];
    }
    D[i] = std::max(std::abs(pivot), kSmallestPivot * std::abs(h[i]));
    step[i] = rest;
    h += i + 1;
  }
  for (size_t i = kVariables; i-- > 0;) {
    step[i] /= D[i];
    for (size_t k = i + 1; k < kVariables; ++k) step[i] -= L[k][i] * step[k];
  }
  return step;
}

}  // namespace

QXPolishedPose QXPolish(QXGaussianOverlap const& overlap, double const* start, double tolerance) {
  tolerance = std::max(tolerance, kRounding);
  Vector x;
  std::copy(start, start + kVariables, x.begin());
  Place best(overlap, x);
  unsigned int evaluations = 1;
  while (std::isfinite(best.value) && evaluations < kMostEvaluations) {
    const Vector step = NewtonStep(best);
    const double gain = -0.5 * Dot(best.gradient, step);  // by the model
    if (!(gain > tolerance * std::abs(best.value))) break;
    double length = std::min(1.0, kLongestStep / std::sqrt(Dot(step, step)));
    bool lower = false;
    while (!lower && evaluations < kMostEvaluations) {
      for (size_t i = 0; i < kVariables; ++i) x[i] = best.x[i] + length * step[i];
      const Place next(overlap, x);
      ++evaluations;
      length *= kShortening;
      lower = next.value < best.value;
      if (lower) best = next;
    }
  }
  return {-best.value, best.x, evaluations};
}

}  // namespace QXHermiteMath
