#include "host/minimizer/func.h"

#include <cmath>

#include "host/core/throw.h"

namespace QXMinimizer {

std::vector<float> QXFunc1::operator()(const float** /*x*/) {
  QXCore::QXThrow.Error(
      "This is a GPU-specific method and should only be called from the derived class.");
  return {};
}

bool QXFunc1::CheckVariablesValidity(const double* /*x*/) {
  return true;
}

bool QXFunc1::IsRedundant(const double* a, const double* b, double tolerance) const {
  for (unsigned int i = 0; i < NumVar(); ++i) {
    if (!(std::abs(a[i] - b[i]) <= tolerance)) return false;
  }
  return true;
}

}  // namespace QXMinimizer
