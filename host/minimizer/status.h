#pragma once

namespace QXMinimizer {

/// Why a minimiser stopped.
enum class QXMinimizerStatus {
  NotRun,          ///< it has not run yet, or still runs
  SmallGradient,   ///< converged: the gradient fell below the tolerance
  SmallDecrease,   ///< converged: no decrease above the tolerance is to be expected
  SmallStep,       ///< converged: the last step was within the tolerance
  IterationLimit,  ///< the limit was reached; the result is the best point so far
  NoDescent,       ///< no lower point could be found: rounding, or a gradient that is wrong
  NonFiniteStart,  ///< value or derivatives at the start are not finite, or the start is barred
};

/// The status in words, for reports.
const char* QXMinimizerStatusText(QXMinimizerStatus status);

}  // namespace QXMinimizer
