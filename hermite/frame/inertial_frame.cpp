#include "hermite/frame/inertial_frame.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>

namespace QXHermiteMath {

namespace {

using Eigen::Matrix3d;
using Eigen::Vector3d;
using RowMajor = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>;

// Gaussians in a list are of no derived class, so that no call is virtual.
Vector3d PlaceOf(QXGaussian const& g) {
  return {g.QXGaussian::GetX(), g.QXGaussian::GetY(), g.QXGaussian::GetZ()};
}

Vector3d MeanPlace(std::span<const QXGaussian> gaussians) {
  Vector3d sum = Vector3d::Zero();
  for (QXGaussian const& g : gaussians) sum += PlaceOf(g);
  return sum / static_cast<double>(gaussians.size());
}

// The integral of A exp(-w |r - c|^2) p p^T over pi^(3/2) is A/w^(3/2) (c c^T + 1/(2w)): the second
// part is the same in all directions, so it turns no axis and is left out.
Matrix3d SecondMoments(std::span<const QXGaussian> gaussians, Vector3d const& centre) {
  double xx = 0.0, xy = 0.0, xz = 0.0, yy = 0.0, yz = 0.0, zz = 0.0;
  for (QXGaussian const& g : gaussians) {
    const double width = g.QXGaussian::GetWidth();
    const double weight = g.QXGaussian::GetAmplitude() / (width * std::sqrt(width));
    const Vector3d p = PlaceOf(g) - centre;
    const double x = weight * p[0], y = weight * p[1], z = weight * p[2];
    xx += x * p[0];
    xy += x * p[1];
    xz += x * p[2];
    yy += y * p[1];
    yz += y * p[2];
    zz += z * p[2];
  }
  Matrix3d moments;
  moments << xx, xy, xz, xy, yy, yz, xz, yz, zz;
  return moments;
}

Vector3d WithLargestPositive(Vector3d const& axis) {
  Eigen::Index largest;
  axis.cwiseAbs().maxCoeff(&largest);
  return axis[largest] < 0.0 ? Vector3d(-axis) : axis;
}

}  // namespace

std::optional<InertialFrame> FindInertialFrame(std::span<const QXGaussian> gaussians) {
  const Vector3d centre = MeanPlace(gaussians);
  const Matrix3d moments = SecondMoments(gaussians, centre);
  if (!centre.allFinite() || !moments.allFinite()) return std::nullopt;
  const Eigen::SelfAdjointEigenSolver<Matrix3d> solver(moments);
  if (solver.info() != Eigen::Success) return std::nullopt;

  // From high to low, equal ones in the order in which they stand.
  const Vector3d& values = solver.eigenvalues();
  std::array<int, 3> order = {0, 1, 2};
  std::sort(order.begin(), order.end(), [&](int a, int b) {
    return values[a] > values[b] || (values[a] == values[b] && a < b);
  });
  const Vector3d x = WithLargestPositive(solver.eigenvectors().col(order[0]));
  const Vector3d y = WithLargestPositive(solver.eigenvectors().col(order[1]));

  InertialFrame frame;
  Vector3d::Map(frame.centre.data()) = centre;
  Eigen::Map<RowMajor> rotation(frame.rotation.data());
  rotation << x.transpose(), y.transpose(), x.cross(y).transpose();
  return frame;
}

void MoveInto(InertialFrame const& frame, std::span<QXGaussian> gaussians) {
  const Eigen::Map<const RowMajor> rotation(frame.rotation.data());
  const Eigen::Map<const Vector3d> centre(frame.centre.data());
  for (QXGaussian& g : gaussians) {
    const Eigen::Vector3f moved = (rotation * (PlaceOf(g) - centre)).cast<float>();
    g.QXGaussian::SetX(moved[0]);
    g.QXGaussian::SetY(moved[1]);
    g.QXGaussian::SetZ(moved[2]);
  }
}

}  // namespace QXHermiteMath
