#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/listener.h"

namespace QXTools {

/// Reads points, a line each: x, y, z in angstrom, separated by commas, semicolons or blanks; what
/// else stands in a line is left. A first line with text is a header; empty lines and lines after
/// '#' are skipped. x, y, z of each; nothing when there is none or a line is not like that, which
/// the listener is told.
std::optional<std::vector<double>> ReadPoints(const std::string& path, Listener& listener);

}  // namespace QXTools
