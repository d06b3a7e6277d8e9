#pragma once

#include "tools/overlay_arguments.h"

namespace QXTools {

enum ExitStatus : int {
  kAllWell = 0,
  kNothingDone = 1,  ///< wrong usage, or no result at all
  kSomeSkipped = 2,  ///< results, but some records or files were skipped
};

/// `qxhermite overlay`: lays every molecule of the fit files over the reference and writes the best
/// poses, in the coordinates of the reference and in order of falling score.
/// Problems go to stderr as `file:record: what is wrong: what to do`.
ExitStatus RunOverlay(const OverlayArguments& arguments);

}  // namespace QXTools
