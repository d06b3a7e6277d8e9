#include "support/counting_new.h"

#include <algorithm>
#include <cstdlib>
#include <new>

size_t QXTest::allocations = 0;
size_t QXTest::largestAllocation = 0;

void* operator new(size_t size) {
  ++QXTest::allocations;
  QXTest::largestAllocation = std::max(QXTest::largestAllocation, size);
  if (void* block = std::malloc(size ? size : 1)) return block;
  throw std::bad_alloc();
}

// That of the library's sorts, which give it back to the operators below.
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  ++QXTest::allocations;
  QXTest::largestAllocation = std::max(QXTest::largestAllocation, size);
  return std::malloc(size ? size : 1);
}

void operator delete(void* block) noexcept {
  std::free(block);
}

void operator delete(void* block, size_t) noexcept {
  std::free(block);
}
