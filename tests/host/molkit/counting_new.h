#pragma once

#include <cstddef>

namespace QXTest {

extern size_t numAllocations;     ///< calls of operator new since the start
extern size_t largestAllocation;  ///< the largest size asked for; may be set back to 0

}  // namespace QXTest
