#pragma once

#include <optional>
#include <string>

#include "tools/density.h"
#include "tools/listener.h"

// Expansions in files, as JSON.

namespace QXTools {

/// True when the name ends in ".json".
bool IsExpansionFile(const std::string& path);

/// Writes degree, widths, centre and coefficients of the density, such that ReadExpansion gives the
/// same expansion again, to the last bit. False when the file cannot be written.
bool WriteExpansion(const Density& density, const std::string& path);

/// Reads what WriteExpansion wrote. Nothing when that cannot be done, which the listener is told.
std::optional<Density> ReadExpansion(const std::string& path, Listener& listener);

}  // namespace QXTools
