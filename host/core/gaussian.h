#pragma once

#include "host/core/base.h"

namespace QXCore {

/// One isotropic Gaussian g(r) = A exp(-w |r - c|^2), in single precision. The width w is the
/// exponent itself, in reciprocal squared length, not a standard deviation.
class QXGaussian : public QXBase {
 public:
  /// `center` points to x, y, z, which are copied. `index` is for the caller's use.
  QXGaussian(float amplitude, float width, const float* center, unsigned int index)
      : amplitude_(amplitude),
        width_(width),
        x_(center[0]),
        y_(center[1]),
        z_(center[2]),
        index_(index) {}

  /// A.
  virtual float GetAmplitude() const { return amplitude_; }
  /// w, 1/angstrom^2.
  virtual float GetWidth() const { return width_; }
  /// The centre c, angstrom.
  virtual float GetX() const { return x_; }
  virtual float GetY() const { return y_; }
  virtual float GetZ() const { return z_; }
  virtual void SetX(float x) { x_ = x; }
  virtual void SetY(float y) { y_ = y; }
  virtual void SetZ(float z) { z_ = z; }

  /// What the caller gave.
  unsigned int GetIndex() const { return index_; }

 private:
  float amplitude_;
  float width_;
  float x_;
  float y_;
  float z_;
  unsigned int index_;
};

}  // namespace QXCore
