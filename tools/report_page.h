#pragma once

#include <string_view>

namespace QXTools {

/// The page of reports, with its style sheet and its scripts, in which {{data}} stands for the
/// contents. Empty when reports are left out of the build.
std::string_view ReportPage();

}  // namespace QXTools
