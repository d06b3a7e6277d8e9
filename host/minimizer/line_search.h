#pragma once

namespace QXMinimizer {

/// A search along a half line t > 0 for a point that satisfies the strong Wolfe conditions
///
///     phi(t) <= phi(0) + c1 t phi'(0)   and   |phi'(t)| <= c2 |phi'(0)|
///
/// told values and slopes one at a time. It keeps an interval (lo, hi) that holds such points:
/// phi(t) - c1 t phi'(0) falls at lo and is higher, or rises, at hi (J. J. Moré and D. J. Thuente,
/// ACM Trans. Math. Softw. 20 (1994) 286, section 2). Trials inside it are minimisers of the cubic
/// through both ends. c2 is loose, as suits a quasi-Newton method: nearly every first trial passes.
class QXLineSearch {
 public:
  enum class Answer { Accept, Continue, Fail };

  /// value and slope: phi(0) and phi'(0) < 0. step: the first trial. growth: how many times its
  /// last advance the search may go beyond a trial that was too short. longest: the longest step,
  /// at least the first, which is accepted while the value still falls there.
  void Start(double value, double slope, double step, double growth, double longest);
  /// The step to try next.
  double Step() const { return step_; }
  /// Takes phi and phi' at Step(); a value or slope that is not finite bars all longer steps.
  /// Accept: the step satisfies the conditions, and no trial was lower. Continue: try Step().
  /// Fail: no such step was found in the number of trials allowed, or to the last bit.
  Answer Tell(double value, double slope);

 private:
  struct Trial {
    double step;
    double value;
    double slope;
  };
  double Extrapolate() const;
  double Interpolate() const;

  Trial start_{};
  Trial lo_{};
  Trial hi_{};  ///< value and slope are NaN where the objective is not finite
  bool hasHi_ = false;
  double advance_ = 0;    ///< the distance between the last two ends lo
  double lastSlope_ = 0;  ///< the slope at the end lo before this one
  double lowest_ = 0;     ///< lowest value of this search
  double step_ = 0;
  double growth_ = 0;
  double longest_ = 0;
  unsigned int trials_ = 0;
};

}  // namespace QXMinimizer
