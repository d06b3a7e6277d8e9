#pragma once

#include "python/src/checks.h"

namespace QXPython {

inline constexpr unsigned int kMostPoses = 1000000;

/// Of a minimiser.
inline unsigned int CheckLimit(long long limit) {
  return CheckCount(limit, 1000000, "iteration_limit");
}

inline unsigned int CheckPoses(long long count) {
  return CheckCount(count, kMostPoses, "n_poses");
}

}  // namespace QXPython
