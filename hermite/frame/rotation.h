#pragma once

#include <array>
#include <vector>

#include "hermite/foundations/basis.h"

namespace QXHermiteMath {

/// Doubles in the blocks of degree 0 .. N: (2N + 3)(N + 2)(N + 1)/6, in 32-bit unsigned arithmetic.
constexpr unsigned int HermiteRotationMatrixSize(unsigned int N) {
  return (2 * N + 3) * (N + 2) * (N + 1) / 6;
}

/// Rotates coefficient vectors, exactly inside the truncated basis when the widths are equal: as
/// three planar rotations of small dense blocks, see rotation_kernel.h. It consults no width: with
/// unequal lambdas the same linear map is applied, and is then no rotation of the density.
///
/// Rotation by the angles (alpha, beta, gamma), in radians, yields the coefficients of f(Q^-1 r)
/// with Q = Rx(alpha) Ry(beta) Rz(gamma), right-handed: an active rotation, z first.
///
/// Built once for a degree and reused: an object is scratch, one thread at a time. Nothing is
/// checked: in holds the basis of degree N, which must not exceed that of the constructor, and out
/// is another vector than in.
class QXHermiteRotation {
 public:
  QXHermiteRotation() = default;
  /// N: the largest total degree to be served.
  explicit QXHermiteRotation(unsigned int N);

  /// Fills the blocks of degree 0 .. N for one angle in radians. Always true.
  bool BuildRotationMatrix(double angle, unsigned int N);
  /// The same, and their derivatives by the angle. Always true.
  bool BuildRotationMatrixWithDerivative(double angle, unsigned int N);

  /// out = in rotated by angles (three doubles). Builds its own blocks. index is not read: the
  /// places are listed at construction. Always true.
  bool Rotate(double const* angles, unsigned int N, std::vector<double> const& in,
              std::vector<double>& out, QXHermiteIndex const& index);

  /// out holds four blocks of the basis size: the rotated coefficients, then their derivatives by
  /// alpha, beta, gamma. Always true.
  bool RotateWithDerivatives(double const* angles, unsigned int N, std::vector<double> const& in,
                             std::vector<double>& out, QXHermiteIndex const& index);

  /// Blocks of the last angle: block d from d(d + 1)(2d + 1)/6, row-major.
  const std::vector<double>& GetRotationMatrix() const { return rotationMatrix; }
  /// Their derivatives, in the same layout.
  const std::vector<double>& GetRotationMatrixDerivative() const {
    return rotationMatrixDerivative;
  }

 private:
  // The coordinate axis that a stage turns about, in the order of the angles.
  enum Axis : size_t { kX, kY, kZ };

  void ListGroups(unsigned int N);
  template <bool Derivative, unsigned int Vectors>
  void Stage(Axis axis, unsigned int N, const double* const (&in)[Vectors],
             double* const (&out)[Vectors], double* derivative);

  std::vector<double> rotationMatrix;
  std::vector<double> rotationMatrixDerivative;
  std::vector<double> stageCoefficients;
  std::vector<double> stageResult;
  std::vector<double> stageDerivative;
  std::vector<double> work;     // one gathered group
  std::vector<double> inverse;  // 1/k
  // Places in shell order that each plane mixes, listed once: no index arithmetic in the stages.
  std::array<std::vector<unsigned int>, 3> groups;
  std::vector<unsigned int> groupStart;
};

}  // namespace QXHermiteMath
