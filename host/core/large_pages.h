#pragma once

#include <cstddef>

namespace QXCore {

/// Asks the system to back a new block of memory, not yet written, with large pages. They are had
/// in much less time than the same memory in small ones, which matters where a matrix of 100 MB is
/// written once. Only a hint: nothing happens for small blocks, or where there are no such pages.
void QXUseLargePages(void* block, size_t bytes);

}  // namespace QXCore
