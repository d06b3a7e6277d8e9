#pragma once

namespace QXNumerics {

/// The rotation matrix of a quaternion.
///
/// q: four numbers, the scalar part first. m: nine numbers, row-major, m[3 row + column], a point p
/// going to m p. The quaternion need not have unit length; that of length zero gives the zero
/// matrix.
template <typename A, typename B>
void QXGeom3DQuaternionToRotMatrix(A* m, const B* q) {
  const B s0 = q[0] * q[0], s1 = q[1] * q[1], s2 = q[2] * q[2], s3 = q[3] * q[3];
  m[0] = s0 + s1 - s2 - s3;
  m[1] = 2 * (q[1] * q[2] - q[0] * q[3]);
  m[2] = 2 * (q[0] * q[2] + q[1] * q[3]);
  m[3] = 2 * (q[1] * q[2] + q[0] * q[3]);
  m[4] = s0 - s1 + s2 - s3;
  m[5] = 2 * (q[2] * q[3] - q[0] * q[1]);
  m[6] = 2 * (q[1] * q[3] - q[0] * q[2]);
  m[7] = 2 * (q[2] * q[3] + q[0] * q[1]);
  m[8] = s0 - s1 - s2 + s3;
  const B n = s0 + s1 + s2 + s3;
  if (n == 1 || n == 0) return;
  for (int i = 0; i < 9; ++i) m[i] *= 1 / n;
}

}  // namespace QXNumerics
