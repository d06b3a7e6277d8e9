#pragma once

#include <array>
#include <cstddef>
#include <limits>
#include <vector>

#include "host/minimizer/line_search.h"
#include "host/minimizer/status.h"

namespace QXMinimizer {

/// Dense BFGS turned inside out: it names a point, is told value and gradient there, and names the
/// next, so that the caller decides how points are evaluated, for instance those of several
/// searches side by side.
///
///     core.Start(n, start, iterLimit, tolerance);
///     do { value = f(core.Point(), core.Gradient()); } while (core.Tell(value));
///     // core.BestPoint(), core.BestValue(), core.Status()
///
/// The model is the inverse Hessian, updated by the BFGS formula (Nocedal and Wright, Numerical
/// Optimization, eq. (6.17)); steps along it come from QXLineSearch. Up to kInlineVariables
/// variables live in the object; for more, Start allocates, and nothing else ever does. Nothing
/// throws. What the tolerance measures: see QXBFGSOpt.
class QXBFGSCore {
 public:
  static constexpr unsigned int kInlineVariables = 6;

  /// Begins a search from `start`, n doubles, which are copied. No step is longer than
  /// `longestStep`, by the root of the sum of squares. `model`, where it can be guessed, takes the
  /// place of the gradient's direction: the inverse Hessian of f/|f(start)|, positive definite, the
  /// lower triangle by rows in n(n + 1)/2 doubles, which are copied.
  void Start(unsigned int n, const double* start, unsigned int iterLimit, double tolerance,
             double longestStep = std::numeric_limits<double>::infinity(),
             const double* model = nullptr);

  /// The point to evaluate now, n finite doubles.
  const double* Point() const { return At(kTrial); }
  /// Where to write the gradient at Point() before Tell.
  double* Gradient() { return At(kTrialGradient); }
  /// Takes the value at Point(); NaN or infinity, in the gradient too, bars the point. True: go on
  /// with Point(); false: finished.
  bool Tell(double value);

  /// The lowest point told, after Tell returned false; the start if that was not finite.
  const double* BestPoint() const { return At(kX); }
  double BestValue() const { return value_; }
  /// Writes the model after the last step, for f/|BestValue()| and in the form that Start takes.
  /// False where there is none.
  bool GetModel(double* model) const;
  QXMinimizerStatus Status() const { return status_; }
  /// The number of steps taken, and of values told.
  unsigned int Iterations() const { return iterations_; }
  unsigned int Evaluations() const { return evaluations_; }

 private:
  // Blocks of n doubles in the work space; the inverse Hessian, n rows of n, stands behind them.
  enum Block {
    kX,
    kG,
    kDirection,
    kTrial,
    kTrialGradient,
    kBest,
    kBestGradient,
    kStep,
    kChange,
    kProduct,
    kBlocks
  };

  static constexpr size_t kInlineWork = kInlineVariables * (kBlocks + kInlineVariables);

  double* Work() { return heap_.empty() ? inline_.data() : heap_.data(); }
  const double* Work() const { return heap_.empty() ? inline_.data() : heap_.data(); }
  double* At(Block block) { return Work() + block * static_cast<size_t>(n_); }
  const double* At(Block block) const { return Work() + block * static_cast<size_t>(n_); }
  double* InverseHessian() { return At(kBlocks); }
  const double* InverseHessian() const { return At(kBlocks); }

  bool Begin(double value);
  bool Advance(double value, const double* point, const double* gradient);
  bool Converged(double decrease);
  double Scale() const;
  bool GiveUpLine();
  bool Descend();
  bool Propose();
  bool Finish(QXMinimizerStatus status);
  void Update();
  void SetDirection();

  unsigned int n_ = 0;
  unsigned int iterLimit_ = 0;
  double tolerance_ = 0;
  double longestStep_ = 0;

  std::array<double, kInlineWork> inline_{};
  std::vector<double> heap_;

  QXLineSearch search_;
  double value_ = 0;           ///< at kX
  double floor_ = 0;           ///< the scale of values close to 0
  double slope_ = 0;           ///< along kDirection at kX
  double gradientLength_ = 0;  ///< at kX
  bool hasModel_ = false;      ///< the inverse Hessian was given or holds at least one update
  unsigned int modelAge_ = 0;  ///< updates since the model was begun
  double bestValue_ = 0;       ///< the lowest of this line search, at kBest with kBestGradient
  QXMinimizerStatus status_ = QXMinimizerStatus::NotRun;
  unsigned int iterations_ = 0;
  unsigned int evaluations_ = 0;
};

}  // namespace QXMinimizer
