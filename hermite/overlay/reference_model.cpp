#include "hermite/overlay/reference_model.h"

#include <Eigen/Eigenvalues>
#include <cmath>

namespace QXHermiteMath {

namespace {

using Matrix = Eigen::Matrix<double, 6, 6>;
using Vector = Eigen::Matrix<double, 6, 1>;

// Radians and angstroms: both errors of a difference, of its length squared and of rounding, are
// far below what a first guess needs.
constexpr double kDifference = 1e-4;
constexpr double kFlattest = 0.01;

}  // namespace

std::vector<double> GetReferenceModel(QXMinimizer::QXFunc1& self) {
  Matrix hessian;
  for (int k = 0; k < 6; ++k) {
    Vector up, down;
    self((kDifference * Vector::Unit(k)).eval().data(), up.data());
    self((-kDifference * Vector::Unit(k)).eval().data(), down.data());
    hessian.col(k) = (up - down) / (2 * kDifference);
  }
  const double value = std::abs(self(Vector::Zero().eval().data()));
  const Eigen::SelfAdjointEigenSolver<Matrix> solver(0.5 * (hessian + hessian.transpose()));
  const Vector& costs = solver.eigenvalues();
  const Vector inverse = costs.cwiseMax(kFlattest * costs.maxCoeff()).cwiseInverse();
  const Matrix model =
      value * solver.eigenvectors() * inverse.asDiagonal() * solver.eigenvectors().transpose();

  std::vector<double> packed;
  for (int i = 0; i < 6; ++i)
    for (int j = 0; j <= i; ++j) packed.push_back(model(i, j));
  return packed;
}

}  // namespace QXHermiteMath
