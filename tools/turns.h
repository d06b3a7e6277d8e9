#pragma once

#include <cmath>
#include <vector>

namespace QXTools {

/// True where the Euler angles of a rotation matrix, nine doubles, row-major, do not tell it well:
/// that of y is nearly a right one. The rotations of expansions go through these angles.
inline bool IsSteep(const std::vector<double>& m) {
  constexpr double kSteep = 0.9;
  return !(std::abs(m[2]) <= kSteep);
}

/// Calls turn(matrix) for the rotation m, or for two that make it up, the first one first, so that
/// none of them is steep.
template <typename Turn>
void InSafeTurns(const std::vector<double>& m, Turn&& turn) {
  if (!IsSteep(m)) {
    turn(m);
    return;
  }
  // m = (m S^T) S, where S takes y to z and z to -y.
  turn(std::vector<double>{1, 0, 0, 0, 0, -1, 0, 1, 0});
  turn(std::vector<double>{m[0], -m[2], m[1], m[3], -m[5], m[4], m[6], -m[8], m[7]});
}

}  // namespace QXTools
