#pragma once

#include <cmath>
#include <vector>

#include "hermite/expansion/hermite.h"

namespace QXPython {

/// The density turned by a rotation matrix, nine doubles, row-major, at any angle. The angles of
/// QXHermite::RotateHermites do not tell a turn where that of y is a right one: there the matrix is
/// taken in two turns, of which the first is a quarter turn about x, and the second is far from it.
inline QXHermiteMath::QXHermite Rotated(const QXHermiteMath::QXHermite& h,
                                        const std::vector<double>& m) {
  QXHermiteMath::QXHermite turned(h);
  constexpr double kSteep = 0.9;
  if (std::abs(m[2]) <= kSteep) {
    turned.RotateHermites(m);
    return turned;
  }
  // m = (m S^T) S, where S takes y to z and z to -y.
  turned.RotateHermites({1, 0, 0, 0, 0, -1, 0, 1, 0});
  turned.RotateHermites({m[0], -m[2], m[1], m[3], -m[5], m[4], m[6], -m[8], m[7]});
  return turned;
}

}  // namespace QXPython
