#include "host/minimizer/newton.h"

#include <Eigen/Cholesky>
#include <Eigen/Eigenvalues>
#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace QXMinimizer {
namespace {

constexpr double kDecrease = 1e-4;  // the share of the predicted decrease that a step must bring
constexpr double kRounding = std::numeric_limits<double>::epsilon();
constexpr double kLongest = 1e8;  // longest step along an eigenvector
constexpr int kDoublings = 30;
constexpr double kShortest = 1e-30;   // shortest part of a step worth trying
constexpr double kNegligible = 1e-3;  // the share of the tolerance below which a change is none

/// A point with its derivatives and the Newton step from it.
class Model {
 public:
  explicit Model(unsigned int n)
      : gradient_(n), packed_(size_t{n} * (n + 1) / 2), hessian_(n, n), step_(n) {}

  /// False when the derivatives at x cannot be had or are not finite.
  bool Build(QXFunc2& f, const double* x) {
    if (!f(x, packed_.data(), gradient_.data())) return false;
    const double* h = packed_.data();
    for (Eigen::Index i = 0; i < hessian_.rows(); ++i) {
      for (Eigen::Index j = 0; j <= i; ++j) hessian_(i, j) = *h++;
    }
    const bool finite =
        gradient_.allFinite() &&
        std::all_of(packed_.begin(), packed_.end(), [](double v) { return std::isfinite(v); });
    if (!finite) return false;
    SetStep();
    return true;
  }

  bool Stationary() const { return (gradient_.array() == 0).all(); }
  bool PositiveCurvature() const { return positive_; }
  const Eigen::VectorXd& Step() const { return step_; }
  /// The slope along the step, negative.
  double Slope() const { return gradient_.dot(step_); }

 private:
  // -H^-1 g where H is positive definite, which the Cholesky factorisation tells and, unlike
  // eigenvalues, does not lose in badly scaled variables; else -|H|^-1 g, with |H| made of the
  // magnitudes of the eigenvalues (Nocedal and Wright, Numerical Optimization, section 3.4).
  void SetStep() {
    factors_.compute(hessian_);  // both read the lower triangle only
    positive_ = factors_.info() == Eigen::Success;
    if (positive_) {
      step_ = -factors_.solve(gradient_);
      positive_ = step_.allFinite() && Slope() < 0;
    }
    if (positive_) return;
    const Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> solver(hessian_);
    const Eigen::VectorXd sizes = solver.eigenvalues().cwiseAbs();
    const double least = std::max(kRounding * sizes.maxCoeff(), gradient_.stableNorm() / kLongest);
    const Eigen::VectorXd along = solver.eigenvectors().transpose() * gradient_;
    step_ = -solver.eigenvectors() * along.cwiseQuotient(sizes.cwiseMax(least));
  }

  Eigen::VectorXd gradient_;
  std::vector<double> packed_;
  Eigen::MatrixXd hessian_;
  Eigen::VectorXd step_;
  Eigen::LLT<Eigen::MatrixXd> factors_;
  bool positive_ = false;
};

double Rounding(double value) {
  return kRounding * std::abs(value);
}

/// The longest of the lengths tried, from 1 down, that brings a share of the decrease predicted;
/// `value` becomes the value there. 0 when rounding would hide the decrease, or when only lengths
/// up to `shortest` are left.
template <typename F>
double Backtrack(const F& at, double slope, double shortest, double& value) {
  double length = 1;
  while (-length * slope > Rounding(value) && length > shortest) {
    const double next = at(length);
    if (std::isfinite(next) && next <= value + kDecrease * length * slope) {
      value = next;
      return length;
    }
    // The minimiser of the parabola through what is known, or well back from a wall.
    const double parabola = -0.5 * slope * length / ((next - value) / length - slope);
    length *= std::isfinite(next) ? std::clamp(parabola / length, 0.1, 0.5) : 0.1;
  }
  return 0;
}

/// Doubles the length 1 while the value falls, for directions of negative curvature: the step's
/// length means little there.
template <typename F>
double Lengthen(const F& at, double& value) {
  double length = 1;
  for (int i = 0; i < kDoublings; ++i) {
    const double next = at(2 * length);
    if (!std::isfinite(next) || next >= value) break;
    value = next;
    length *= 2;
  }
  return length;
}

}  // namespace

double QXNewtonOpt::Value(QXFunc2& f, const double* x) {
  ++evaluations_;
  return f.CheckVariablesValidity(x) ? f(x) : std::numeric_limits<double>::quiet_NaN();
}

double QXNewtonOpt::operator()(QXFunc2& f, const void* /*unused*/, const double* start,
                               double* result) {
  const unsigned int n = f.NumVar();
  if (result != start) std::copy(start, start + n, result);
  iterations_ = evaluations_ = 0;
  double value = Value(f, result);
  status_ = Search(f, result, value);
  return value;
}

QXMinimizerStatus QXNewtonOpt::Search(QXFunc2& f, double* result, double& value) {
  const unsigned int n = f.NumVar();
  Eigen::Map<Eigen::VectorXd> x(result, n);
  if (!std::isfinite(value) || !x.allFinite()) return QXMinimizerStatus::NonFiniteStart;
  Model model(n);
  for (;;) {
    if (!model.Build(f, result)) {
      return iterations_ == 0 ? QXMinimizerStatus::NonFiniteStart : QXMinimizerStatus::NoDescent;
    }
    if (model.Stationary()) return QXMinimizerStatus::SmallGradient;
    if (-0.5 * model.Slope() <= Rounding(value)) return QXMinimizerStatus::SmallDecrease;
    if (iterations_ >= iterLimit_) return QXMinimizerStatus::IterationLimit;

    const auto at = [&](double length) {
      const Eigen::VectorXd trial = x + length * model.Step();
      return trial.allFinite() ? Value(f, trial.data()) : std::nan("");
    };
    const bool convex = model.PositiveCurvature();
    const double size = model.Step().lpNorm<Eigen::Infinity>();
    if (convex && size <= tolerance_) {
      // Converged: the step is taken if it helps. Not asking for more keeps noise in the value,
      // such as that of single-precision coordinates, from going on for ever.
      const double next = at(1);
      if (std::isfinite(next) && next <= value) {
        x = x + 1.0 * model.Step();
        value = next;
        ++iterations_;
      }
      return QXMinimizerStatus::SmallStep;
    }
    const double shortest = std::max(kShortest, kNegligible * tolerance_ / size);
    double length = Backtrack(at, model.Slope(), shortest, value);
    if (length == 0) return QXMinimizerStatus::NoDescent;
    if (length == 1 && !convex) length = Lengthen(at, value);
    x = x + length * model.Step();  // the sum that was evaluated, to the bit
    ++iterations_;
  }
}

}  // namespace QXMinimizer
