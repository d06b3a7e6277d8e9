#include "host/core/simd.h"

namespace QXCore {

QXSimdLevel QXGetSimdLevel() {
  // What the compiler's run-time library asks includes whether the system saves the registers.
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma")) {
    return QXSimdLevel::Baseline;
  }
  const bool avx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                      __builtin_cpu_supports("avx512vl");
  return avx512 ? QXSimdLevel::AVX512 : QXSimdLevel::AVX2;
}

}  // namespace QXCore
