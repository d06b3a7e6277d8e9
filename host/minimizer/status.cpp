#include "host/minimizer/status.h"

namespace QXMinimizer {

const char* QXMinimizerStatusText(QXMinimizerStatus status) {
  switch (status) {
    case QXMinimizerStatus::NotRun:
      return "not run";
    case QXMinimizerStatus::SmallGradient:
      return "converged: small gradient";
    case QXMinimizerStatus::SmallDecrease:
      return "converged: small decrease";
    case QXMinimizerStatus::SmallStep:
      return "converged: small step";
    case QXMinimizerStatus::IterationLimit:
      return "iteration limit reached";
    case QXMinimizerStatus::NoDescent:
      return "no descent possible";
    case QXMinimizerStatus::NonFiniteStart:
      return "not finite at the start";
  }
  return "unknown";
}

}  // namespace QXMinimizer
