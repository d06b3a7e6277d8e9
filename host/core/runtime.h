#pragma once

#include <cstddef>

namespace QXRuntime {

/// Largest scratch block, in bytes, that may live on the stack: 64 KiB, small against the 8 MiB
/// stack of a main thread and safe on the 256 KiB that some thread pools give. A larger block goes
/// on the heap.
inline std::size_t QXGetAllocaThreshold() {
  return 64 * 1024;
}

}  // namespace QXRuntime
