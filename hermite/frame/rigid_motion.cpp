#include "hermite/frame/rigid_motion.h"

#include <cmath>

#include "hermite/foundations/basis.h"
#include "hermite/frame/rotation.h"
#include "hermite/frame/translation.h"
#include "host/numerics/quaternion.h"

namespace QXHermiteMath {

namespace {

// The operators list their places themselves and read no index.
const QXHermiteIndex kNoIndex;

struct FloatQuaternion {
  float x, y, z, w;
};

// Hamilton product.
FloatQuaternion operator*(const FloatQuaternion& a, const FloatQuaternion& b) {
  return {
      a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y, a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,
      a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w, a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z};
}

}  // namespace

std::vector<double> generateRotationMatrix(double alpha, double beta, double gamma) {
  const float a = static_cast<float>(alpha) * 0.5f;
  const float b = static_cast<float>(beta) * 0.5f;
  const float c = static_cast<float>(gamma) * 0.5f;
  const FloatQuaternion qa = {std::sin(a), 0.0f, 0.0f, std::cos(a)};
  const FloatQuaternion qb = {0.0f, std::sin(b), 0.0f, std::cos(b)};
  const FloatQuaternion qc = {0.0f, 0.0f, std::sin(c), std::cos(c)};
  const auto [x, y, z, w] = (qa * qb) * qc;
  const float tx = 2 * x, ty = 2 * y, tz = 2 * z;
  return {1 - ty * y - tz * z, tx * y - tz * w,     tx * z + ty * w,
          tx * y + tz * w,     1 - tx * x - tz * z, ty * z - tx * w,
          tx * z - ty * w,     ty * z + tx * w,     1 - tx * x - ty * y};
}

std::vector<double> PoseRotation(double const* p) {
  const std::vector<double> Q = generateRotationMatrix(p[0], p[1], p[2]);
  return {Q[0], Q[3], Q[6], Q[1], Q[4], Q[7], Q[2], Q[5], Q[8]};
}

std::vector<double> RotFromEulerXYZ(double alpha, double beta, double gamma) {
  const double sa = std::sin(alpha), ca = std::cos(alpha);
  const double sb = std::sin(beta), cb = std::cos(beta);
  const double sc = std::sin(gamma), cc = std::cos(gamma);
  return {cc * cb,
          -sc * cb,
          sb,
          cc * sa * sb + sc * ca,
          cc * ca - sc * sa * sb,
          -sa * cb,
          sc * sa - sb * ca * cc,
          cc * sa + sc * ca * sb,
          cb * ca};
}

std::vector<double> EulerXYZ(std::vector<double> const& m) {
  return {std::atan2(-m[5], m[8]), std::atan2(m[2], std::sqrt(1 - m[2] * m[2])),
          std::atan2(-m[1], m[0])};
}

void QXAdaptHermiteVar(unsigned int count, double const* in, double* out) {
  for (unsigned int k = 0; k < count; ++k, in += 7, out += 6) {
    double m[9];
    QXNumerics::QXGeom3DQuaternionToRotMatrix<double, double>(m, in);
    const double x = in[4], y = in[5], z = in[6];
    // The angles of the transposed matrix, and the shift turned back by it.
    out[0] = std::atan2(-m[7], m[8]);
    out[1] = std::atan2(m[6], std::sqrt(1 - m[6] * m[6]));
    out[2] = std::atan2(-m[3], m[0]);
    out[3] = x * m[0] + y * m[3] + z * m[6];
    out[4] = x * m[1] + y * m[4] + z * m[7];
    out[5] = x * m[2] + y * m[5] + z * m[8];
  }
}

QXMolKit::QXTrans QXGetTransformFromHermiteParams(double const* p) {
  QXMolKit::QXTrans trans;
  trans.Append(QXMolKit::QXTranslation(p + 3));
  std::vector<double> m = PoseRotation(p);
  for (double& element : m) element = static_cast<float>(element);
  trans.Append(QXMolKit::QXRotMatrix(m.data()));
  return trans;
}

bool QXHermiteRigidTransform(QXHermite& hermite, std::vector<double> const& p) {
  const std::vector<double> m = PoseRotation(p.data());
  hermite.TranslateHermites(p[3], p[4], p[5]);
  hermite.RotateHermites(m);
  return true;
}

bool QXHermite::RotateHermites(double m0, double m1, double m2, double m3, double m4, double m5,
                               double m6, double m7, double m8) {
  return RotateHermites(std::vector<double>{m0, m1, m2, m3, m4, m5, m6, m7, m8});
}

bool QXHermite::RotateHermites(std::vector<double> const& m) {
  const unsigned int N = options.GetNPolyMax();
  const std::vector<double> angles = EulerXYZ(m);
  std::vector<double> rotated(coefficients.size(), 0.0);
  QXHermiteRotation rotation(N);
  rotation.Rotate(angles.data(), N, coefficients, rotated, kNoIndex);
  coefficients = std::move(rotated);
  return true;
}

bool QXHermite::TranslateHermites(double tx, double ty, double tz) {
  return TranslateHermites(std::vector<double>{tx, ty, tz});
}

bool QXHermite::TranslateHermites(std::vector<double> const& t) {
  const unsigned int N = options.GetNPolyMax();
  std::vector<double> moved(coefficients.size(), 0.0);
  QXHermiteTranslation translation(N);
  translation.Translate(t.data(), options, options, coefficients, moved, kNoIndex, false);
  coefficients = std::move(moved);
  return true;
}

}  // namespace QXHermiteMath
