#pragma once

#include <vector>

#include "hermite/expansion/hermite.h"
#include "tools/turns.h"

namespace QXPython {

/// The density turned by a rotation matrix, nine doubles, row-major, at any angle.
inline QXHermiteMath::QXHermite Rotated(const QXHermiteMath::QXHermite& h,
                                        const std::vector<double>& m) {
  QXHermiteMath::QXHermite turned(h);
  QXTools::InSafeTurns(m, [&](const std::vector<double>& turn) { turned.RotateHermites(turn); });
  return turned;
}

}  // namespace QXPython
