#include "host/minimizer/bfgs_core.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace QXMinimizer {
namespace {

// First step along the gradient, by length: half a radian or half an angstrom where variables are
// angles and shifts.
constexpr double kFirstStep = 0.5;
// A step may have brought this many times the tolerance and yet be the last: near the minimum each
// decrease is a small part of the one before, and the model predicts the next.
constexpr double kLastDecrease = 10;
// The smallest scale of a search, as a part of the value and the gradient at its start: what keeps
// a search for a minimum of 0 from going on for ever.
constexpr double kFloor = 1e-10;
// How far a variable's own curvature may part from that along the first step.
constexpr double kSpread = 4;
// How far a young model may be stretched in one update.
constexpr double kStretch = 10;

double Dot(size_t n, const double* a, const double* b) {
  double sum = 0;
  for (size_t i = 0; i < n; ++i) sum += a[i] * b[i];
  return sum;
}

bool AllFinite(size_t n, const double* a) {
  return std::all_of(a, a + n, [](double v) { return std::isfinite(v); });
}

// y = H x for the packed lower triangle H of a symmetric matrix.
void SymmetricProduct(size_t n, const double* h, const double* x, double* y) {
  for (size_t i = 0; i < n; ++i) {
    double sum = 0;
    for (size_t j = 0; j < i; ++j) {
      sum += h[j] * x[j];
      y[j] += h[j] * x[i];
    }
    y[i] = sum + h[i] * x[i];
    h += i + 1;
  }
}

// The first inverse Hessian: in each variable the ratio of step and gradient change, as far as it
// lies near that along the step as a whole. Variables of unlike units differ in it from the start.
void SetDiagonal(size_t n, const double* step, const double* change, double* h) {
  const double whole = Dot(n, step, step) / Dot(n, step, change);
  std::fill(h, h + n * (n + 1) / 2, 0.0);
  for (size_t i = 0; i < n; ++i) {
    const double ratio = step[i] / change[i];
    h[i * (i + 3) / 2] = ratio > 0 ? std::clamp(ratio, whole / kSpread, whole * kSpread) : whole;
  }
}

}  // namespace

void QXBFGSCore::Start(unsigned int n, const double* start, unsigned int iterLimit,
                       double tolerance, double longestStep) {
  n_ = n;
  iterLimit_ = iterLimit;
  tolerance_ = tolerance > 0 ? tolerance : 0;  // a NaN counts as 0
  longestStep_ = longestStep;
  const size_t size = n;
  heap_.assign(n > kInlineVariables ? kBlocks * size + size * (size + 1) / 2 : 0, 0.0);
  hasModel_ = false;
  status_ = QXMinimizerStatus::NotRun;
  iterations_ = evaluations_ = 0;
  std::copy(start, start + n, At(kX));
  std::copy(start, start + n, At(kTrial));
}

bool QXBFGSCore::Tell(double value) {
  ++evaluations_;
  const double* point = At(kTrial);
  const double* gradient = At(kTrialGradient);
  if (!AllFinite(n_, gradient)) value = std::numeric_limits<double>::quiet_NaN();
  if (evaluations_ == 1) return Begin(value);

  if (value < bestValue_ && std::isfinite(value)) {
    bestValue_ = value;
    std::copy(point, point + n_, At(kBest));
    std::copy(gradient, gradient + n_, At(kBestGradient));
  }
  switch (search_.Tell(value, Dot(n_, gradient, At(kDirection)))) {
    case QXLineSearch::Answer::Accept:
      return Advance(value, point, gradient);
    case QXLineSearch::Answer::Continue:
      return Propose();
    case QXLineSearch::Answer::Fail:
      break;
  }
  return GiveUpLine();
}

bool QXBFGSCore::Begin(double value) {
  value_ = value;
  if (!std::isfinite(value) || !AllFinite(n_, At(kX))) {
    return Finish(QXMinimizerStatus::NonFiniteStart);
  }
  std::copy(At(kTrialGradient), At(kTrialGradient) + n_, At(kG));
  SetDirection();
  floor_ = kFloor * std::max(std::abs(value), std::sqrt(-slope_));
  if (Converged(0)) return false;
  return Descend();
}

double QXBFGSCore::Scale() const {
  return std::max(std::abs(value_), floor_);
}

bool QXBFGSCore::GiveUpLine() {
  if (bestValue_ < value_) return Advance(bestValue_, At(kBest), At(kBestGradient));
  if (!hasModel_) return Finish(QXMinimizerStatus::NoDescent);
  hasModel_ = false;  // once more from here, along the gradient
  SetDirection();
  return Descend();
}

// Moves to a point where value and gradient are known.
bool QXBFGSCore::Advance(double value, const double* point, const double* gradient) {
  double* x = At(kX);
  double* g = At(kG);
  double* step = At(kStep);
  double* change = At(kChange);
  for (size_t i = 0; i < n_; ++i) {
    step[i] = point[i] - x[i];
    change[i] = gradient[i] - g[i];
    x[i] = point[i];
    g[i] = gradient[i];
  }
  const double decrease = value_ - value;
  value_ = value;
  ++iterations_;
  Update(step, change);
  SetDirection();
  if (Converged(decrease)) return false;
  return Descend();
}

bool QXBFGSCore::Converged(double decrease) {
  const double allowed = tolerance_ * Scale();
  if (std::sqrt(Dot(n_, At(kG), At(kG))) <= allowed) {
    Finish(QXMinimizerStatus::SmallGradient);
    return true;
  }
  const double predicted = -0.5 * slope_;
  const double rounding = std::numeric_limits<double>::epsilon() * std::abs(value_);
  if (hasModel_ &&
      (predicted <= rounding || (predicted <= allowed && decrease <= kLastDecrease * allowed))) {
    Finish(QXMinimizerStatus::SmallDecrease);
    return true;
  }
  return false;
}

// Starts a line search along kDirection.
bool QXBFGSCore::Descend() {
  if (iterations_ >= iterLimit_) return Finish(QXMinimizerStatus::IterationLimit);
  if (!std::isfinite(slope_)) return Finish(QXMinimizerStatus::NoDescent);  // overflow
  double step = 1;
  double growth = 4;
  if (!hasModel_) {
    // Curvatures of the order of the value are the first guess.
    step = std::min(kFirstStep / std::sqrt(-slope_), 1 / Scale());
    growth = 10;
  }
  bestValue_ = value_;
  const double length = std::sqrt(Dot(n_, At(kDirection), At(kDirection)));
  search_.Start(value_, slope_, step, growth, longestStep_ / length);
  return Propose();
}

// Sets kTrial to a finite point on the line.
bool QXBFGSCore::Propose() {
  double* trial = At(kTrial);
  for (;;) {
    for (size_t i = 0; i < n_; ++i) trial[i] = At(kX)[i] + search_.Step() * At(kDirection)[i];
    if (AllFinite(n_, trial)) return true;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    if (search_.Tell(nan, nan) == QXLineSearch::Answer::Fail) return GiveUpLine();
  }
}

bool QXBFGSCore::Finish(QXMinimizerStatus status) {
  status_ = status;
  return false;
}

// H' = (1 - r s y^T) t H (1 - r y s^T) + r s s^T with r = 1/(s^T y), s the step, y the change.
void QXBFGSCore::Update(const double* step, const double* change) {
  const double curvature = Dot(n_, step, change);
  if (!(curvature > 0) || !std::isnormal(curvature / Dot(n_, change, change)) ||
      !std::isnormal(Dot(n_, step, step) / curvature)) {
    return;
  }
  double* h = InverseHessian();
  if (!hasModel_) {
    SetDiagonal(n_, step, change, h);
    modelAge_ = 0;
  }
  double* product = At(kDirection);  // free until SetDirection
  SymmetricProduct(n_, h, change, product);
  const double yHy = Dot(n_, change, product);
  // Directions not yet searched hold a guess made along a steep one: while some are left, H may
  // only grow. A form of the restricted self-scaling of Al-Baali, Comput. Optim. Appl. 9 (1998)
  // 191.
  const double t = modelAge_ < n_ ? std::clamp(curvature / yHy, 1.0, kStretch) : 1.0;
  const double r = 1 / curvature;
  const double ss = r * (1 + r * t * yHy);
  for (size_t i = 0; i < n_; ++i) {
    const double a = ss * step[i] - r * t * product[i];
    const double b = r * t * step[i];
    for (size_t j = 0; j <= i; ++j, ++h) *h = t * *h + a * step[j] - b * product[j];
  }
  hasModel_ = true;
  ++modelAge_;
}

// The quasi-Newton direction, or the gradient's where there is no model that points downhill.
void QXBFGSCore::SetDirection() {
  const double* g = At(kG);
  double* direction = At(kDirection);
  if (hasModel_) {
    SymmetricProduct(n_, InverseHessian(), g, direction);
    for (size_t i = 0; i < n_; ++i) direction[i] = -direction[i];
    slope_ = Dot(n_, g, direction);
    if (slope_ < 0) return;
    hasModel_ = false;
  }
  for (size_t i = 0; i < n_; ++i) direction[i] = -g[i];
  slope_ = -Dot(n_, g, g);
}

}  // namespace QXMinimizer
