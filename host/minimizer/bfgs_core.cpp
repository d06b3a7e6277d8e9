#include "host/minimizer/bfgs_core.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

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

// Calls f with n, as a constant where it is that of rigid motions: its loops are then unrolled and
// run two numbers at a time.
template <typename F>
auto ForSize(size_t n, F&& f) {
  return n == 6 ? f(std::integral_constant<size_t, 6>()) : f(n);
}

// Two sums take turns, which halves the wait for additions.
template <typename N>
double Dot(N n, const double* a, const double* b) {
  double even = 0, odd = 0;
  size_t i = 0;
  for (; i + 1 < n; i += 2) {
    even += a[i] * b[i];
    odd += a[i + 1] * b[i + 1];
  }
  if (i < n) even += a[i] * b[i];
  return even + odd;
}

double Length(size_t n, const double* a) {
  return std::sqrt(ForSize(n, [&](auto size) { return Dot(size, a, a); }));
}

bool AllFinite(size_t n, const double* a) {
  return std::all_of(a, a + n, [](double v) { return std::isfinite(v); });
}

// y = H x for a symmetric matrix, by columns.
template <typename N>
void Product(N n, const double* __restrict h, const double* __restrict x, double* __restrict y) {
  for (size_t i = 0; i < n; ++i) y[i] = 0;
  for (size_t j = 0; j < n; ++j, h += n)
    for (size_t i = 0; i < n; ++i) y[i] += h[i] * x[j];
}

// H' = (1 - r s y^T) t H (1 - r y s^T) + r s s^T with r = 1/(s^T y): the BFGS formula for a step s
// that changes the gradient by y, after a stretch by t. With p = H y it is
// t H + a s^T - b p^T for b = r t s and a = r (1 + r t y^T p) s - r t p.
template <typename N>
void UpdateModel(N n, double t, const double* __restrict s, const double* __restrict p, double sy,
                 double yp, double* __restrict h) {
  const double r = 1 / sy;
  const double ss = r * (1 + r * t * yp);
  for (size_t i = 0; i < n; ++i, h += n) {
    const double a = ss * s[i] - r * t * p[i];
    const double b = r * t * s[i];
    for (size_t j = 0; j < n; ++j) h[j] = t * h[j] + a * s[j] - b * p[j];
  }
}

// The first inverse Hessian: in each variable the ratio of step and gradient change, as far as it
// lies near that along the step as a whole. Variables of unlike units differ in it from the start.
void SetDiagonal(size_t n, const double* step, const double* change, double whole, double* h) {
  std::fill(h, h + n * n, 0.0);
  for (size_t i = 0; i < n; ++i) {
    const double ratio = step[i] / change[i];
    h[i * (n + 1)] = ratio > 0 ? std::clamp(ratio, whole / kSpread, whole * kSpread) : whole;
  }
}

}  // namespace

void QXBFGSCore::Start(unsigned int n, const double* start, unsigned int iterLimit,
                       double tolerance, double longestStep, const double* model) {
  n_ = n;
  iterLimit_ = iterLimit;
  tolerance_ = tolerance > 0 ? tolerance : 0;  // a NaN counts as 0
  longestStep_ = longestStep;
  const size_t size = n;
  heap_.assign(n > kInlineVariables ? size * (kBlocks + size) : 0, 0.0);
  hasModel_ = model != nullptr;
  modelAge_ = n;  // a given model has no guesses that it would have to outgrow
  double* h = InverseHessian();
  for (size_t i = 0; model && i < size; ++i)
    for (size_t j = 0; j <= i; ++j) h[i * size + j] = h[j * size + i] = *model++;
  status_ = QXMinimizerStatus::NotRun;
  iterations_ = evaluations_ = 0;
  std::copy(start, start + n, At(kX));
  std::copy(start, start + n, At(kTrial));
}

bool QXBFGSCore::GetModel(double* model) const {
  const double* h = InverseHessian();
  for (size_t i = 0; hasModel_ && i < n_; ++i, h += n_)
    for (size_t j = 0; j <= i; ++j) *model++ = h[j] * Scale();
  return hasModel_;
}

bool QXBFGSCore::Tell(double value) {
  ++evaluations_;
  if (evaluations_ == 1) return Begin(value);

  const double* point = At(kTrial);
  const double* gradient = At(kTrialGradient);
  const double slope = ForSize(n_, [&](auto n) { return Dot(n, gradient, At(kDirection)); });
  if (!std::isfinite(slope)) value = std::numeric_limits<double>::quiet_NaN();
  const QXLineSearch::Answer answer = search_.Tell(value, slope);
  if (answer == QXLineSearch::Answer::Accept) return Advance(value, point, gradient);

  if (value < bestValue_ && std::isfinite(value)) {
    bestValue_ = value;
    std::copy(point, point + n_, At(kBest));
    std::copy(gradient, gradient + n_, At(kBestGradient));
  }
  return answer == QXLineSearch::Answer::Continue ? Propose() : GiveUpLine();
}

bool QXBFGSCore::Begin(double value) {
  value_ = value;
  if (!std::isfinite(value) || !AllFinite(n_, At(kX)) || !AllFinite(n_, At(kTrialGradient))) {
    return Finish(QXMinimizerStatus::NonFiniteStart);
  }
  std::copy(At(kTrialGradient), At(kTrialGradient) + n_, At(kG));
  floor_ = kFloor * std::max(std::abs(value), Length(n_, At(kG)));
  double* h = InverseHessian();
  for (size_t i = 0; hasModel_ && i < size_t{n_} * n_; ++i) h[i] /= Scale();
  SetDirection();
  // A given model is no proof yet that nothing is left to gain.
  if (Converged(std::numeric_limits<double>::infinity())) return false;
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
  double *x = At(kX), *g = At(kG), *step = At(kStep), *change = At(kChange);
  ForSize(n_, [&](auto n) {
    for (size_t i = 0; i < n; ++i) {
      step[i] = point[i] - x[i];
      change[i] = gradient[i] - g[i];
      x[i] = point[i];
      g[i] = gradient[i];
    }
  });
  const double decrease = value_ - value;
  value_ = value;
  ++iterations_;
  Update();
  SetDirection();
  if (Converged(decrease)) return false;
  return Descend();
}

bool QXBFGSCore::Converged(double decrease) {
  const double allowed = tolerance_ * Scale();
  if (gradientLength_ <= allowed) {
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
    step = std::min(kFirstStep / gradientLength_, 1 / Scale());
    growth = 10;
  }
  bestValue_ = value_;
  const double length = Length(n_, At(kDirection));
  const double longest = longestStep_ / length;
  if (step * length > longestStep_) step = longest;
  search_.Start(value_, slope_, step, growth, longest);
  return Propose();
}

// Sets kTrial to a finite point on the line.
bool QXBFGSCore::Propose() {
  const double *x = At(kX), *direction = At(kDirection);
  double* trial = At(kTrial);
  for (;;) {
    const double step = search_.Step();
    const double sum = ForSize(n_, [&](auto n) {
      double zero = 0;  // or NaN
      for (size_t i = 0; i < n; ++i) {
        trial[i] = x[i] + step * direction[i];
        zero += trial[i] * 0;
      }
      return zero;
    });
    if (sum == 0) return true;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    if (search_.Tell(nan, nan) == QXLineSearch::Answer::Fail) return GiveUpLine();
  }
}

bool QXBFGSCore::Finish(QXMinimizerStatus status) {
  status_ = status;
  return false;
}

// Takes what the last step tells about curvature into the model.
void QXBFGSCore::Update() {
  const double *step = At(kStep), *change = At(kChange);
  double *h = InverseHessian(), *p = At(kProduct);
  ForSize(n_, [&](auto n) {
    const double curvature = Dot(n, step, change);
    const double whole = Dot(n, step, step) / curvature;
    if (!(curvature > 0) || !std::isnormal(whole) ||
        !std::isnormal(curvature / Dot(n, change, change))) {
      return;
    }
    if (!hasModel_) {
      SetDiagonal(n, step, change, whole, h);
      hasModel_ = true;
      modelAge_ = 0;
    }
    Product(n, h, change, p);
    const double yHy = Dot(n, change, p);
    // Directions not yet searched hold a guess made along a steep one: while some are left, H may
    // only grow. A form of the restricted self-scaling of Al-Baali, Comput. Optim. Appl. 9 (1998)
    // 191.
    const double t = modelAge_ < n ? std::clamp(curvature / yHy, 1.0, kStretch) : 1.0;
    UpdateModel(n, t, step, p, curvature, yHy, h);
    ++modelAge_;
  });
}

// The quasi-Newton direction, or the gradient's where there is no model that points downhill.
void QXBFGSCore::SetDirection() {
  const double* g = At(kG);
  double* direction = At(kDirection);
  ForSize(n_, [&](auto n) {
    const double gg = Dot(n, g, g);
    gradientLength_ = std::sqrt(gg);
    if (hasModel_) {
      Product(n, InverseHessian(), g, direction);
      for (size_t i = 0; i < n; ++i) direction[i] = -direction[i];
      slope_ = Dot(n, g, direction);
      if (slope_ < 0) return;
      hasModel_ = false;
    }
    for (size_t i = 0; i < n; ++i) direction[i] = -g[i];
    slope_ = -gg;
  });
}

}  // namespace QXMinimizer
