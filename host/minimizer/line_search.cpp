#include "host/minimizer/line_search.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace QXMinimizer {
namespace {

constexpr double kDecrease = 1e-4;  // c1
constexpr double kCurvature = 0.9;  // c2
constexpr unsigned int kTrials = 30;

}  // namespace

void QXLineSearch::Start(double value, double slope, double step, double growth, double longest) {
  start_ = lo_ = {0, value, slope};
  hasHi_ = false;
  advance_ = 0;
  lowest_ = value;
  step_ = step;
  growth_ = growth;
  longest_ = longest;
  trials_ = 0;
}

QXLineSearch::Answer QXLineSearch::Tell(double value, double slope) {
  ++trials_;
  const Trial trial{step_, value, slope};
  const double flat = kCurvature * std::abs(start_.slope);
  if (!std::isfinite(value) || !std::isfinite(slope)) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    hi_ = {step_, nan, nan};
    hasHi_ = true;
  } else if (value > start_.value + kDecrease * step_ * start_.slope || value > lo_.value ||
             slope > flat || (value > lowest_ && slope > 0)) {
    hi_ = trial;
    hasHi_ = true;
  } else if (value > lowest_ || (slope < -flat && step_ < longest_)) {
    advance_ = trial.step - lo_.step;
    lastSlope_ = lo_.slope;
    lo_ = trial;
  } else {
    return Answer::Accept;
  }
  if (std::isfinite(value)) lowest_ = std::min(lowest_, value);
  step_ = hasHi_ ? Interpolate() : Extrapolate();
  const bool distinct = step_ > lo_.step && (!hasHi_ || step_ < hi_.step) && std::isfinite(step_);
  return distinct && trials_ < kTrials ? Answer::Continue : Answer::Fail;
}

// The zero of the line through the last two slopes, where they rise.
double QXLineSearch::Extrapolate() const {
  const double rise = lo_.slope - lastSlope_;
  const double secant = rise > 0 ? -lo_.slope * advance_ / rise : growth_ * advance_;
  const double advance = std::clamp(secant, 1.1 * advance_, growth_ * advance_);
  return std::min(lo_.step + advance, longest_);
}

double QXLineSearch::Interpolate() const {
  const double width = hi_.step - lo_.step;
  if (std::isnan(hi_.value)) return lo_.step + 0.25 * width;
  if (trials_ % 4 == 3) return lo_.step + 0.5 * width;  // where the cubic misleads
  // The minimiser of the cubic through values and slopes at both ends, as a fraction of the width;
  // Nocedal and Wright, Numerical Optimization, eq. (3.59).
  const double a = lo_.slope * width;
  const double b = hi_.slope * width;
  const double theta = a + b - 3 * (hi_.value - lo_.value);
  const double root = std::sqrt(std::max(0.0, theta * theta - a * b));
  const double fraction = 1 - (b + root - theta) / (b - a + 2 * root);
  if (!std::isfinite(fraction)) return lo_.step + 0.5 * width;
  return lo_.step + std::clamp(fraction, 0.05, 0.95) * width;
}

}  // namespace QXMinimizer
