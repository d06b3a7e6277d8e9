#include "host/minimizer/bfgs.h"

#include <algorithm>
#include <limits>

#include "host/minimizer/bfgs_core.h"

namespace QXMinimizer {

double QXBFGSOpt::operator()(QXFunc1& f, const double* start, double* result) {
  const unsigned int n = f.NumVar();
  QXBFGSCore core;
  core.Start(n, start, iterLimit_, tolerance_, longestStep_,
             model_.empty() ? nullptr : model_.data());
  double value = 0;
  do {
    value = f.CheckVariablesValidity(core.Point()) ? f(core.Point(), core.Gradient())
                                                   : std::numeric_limits<double>::quiet_NaN();
  } while (core.Tell(value));
  std::copy(core.BestPoint(), core.BestPoint() + n, result);
  status_ = core.Status();
  iterations_ = core.Iterations();
  evaluations_ = core.Evaluations();
  return core.BestValue();
}

}  // namespace QXMinimizer
