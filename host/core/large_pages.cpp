#include "host/core/large_pages.h"

#include <sys/mman.h>

#include <cstdint>

namespace QXCore {

void QXUseLargePages([[maybe_unused]] void* block, [[maybe_unused]] size_t bytes) {
#ifdef MADV_HUGEPAGE
  constexpr uintptr_t kLargePage = uintptr_t{1} << 21;
  const uintptr_t address = reinterpret_cast<uintptr_t>(block);
  const uintptr_t first = (address + kLargePage - 1) / kLargePage * kLargePage;
  const uintptr_t last = (address + bytes) / kLargePage * kLargePage;
  // What it returns is of no interest: without large pages the block is as it was.
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  if (first < last) madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
#endif
}

}  // namespace QXCore
