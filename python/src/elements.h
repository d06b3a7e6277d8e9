#pragma once

#include <string>
#include <string_view>

namespace QXPython {

/// The atomic number of a symbol, "Cl" or "CL"; 0 for "*" and "X"; -1 for what is none.
int AtomicNumber(std::string_view symbol);

inline constexpr int kLargestAtomicNumber = 118;

}  // namespace QXPython
