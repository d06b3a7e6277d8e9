#pragma once

#include <cstddef>

namespace QXTest {

extern size_t allocations;        ///< how often operator new was called
extern size_t largestAllocation;  ///< the largest size operator new was asked for; may be set to 0

}  // namespace QXTest
