#include "host/numerics/active_cholesky.h"

#include <Eigen/Jacobi>
#include <algorithm>
#include <cmath>

namespace QXNumerics {

double QXActiveCholesky::Prepare(const Eigen::VectorXd& products, double square) {
  row_ = products;
  factor_.topLeftCorner(size_, size_).triangularView<Eigen::Lower>().solveInPlace(row_);
  return pivot_ = square - row_.squaredNorm();
}

void QXActiveCholesky::Append() {
  if (size_ == factor_.rows()) {
    const Eigen::Index capacity = std::max<Eigen::Index>(16, 2 * size_);
    factor_.conservativeResize(capacity, capacity);
  }
  factor_.row(size_).head(size_) = row_.transpose();
  factor_(size_, size_) = std::sqrt(pivot_);
  ++size_;
}

// Without its row k, L has one element above the diagonal in each row from k on. Rotations of
// neighbouring columns, which leave L L^T alone, make them zero one by one. What is on the diagonal
// then may be negative, which is as good.
void QXActiveCholesky::Remove(Eigen::Index k) {
  for (Eigen::Index j = 0; j < size_; ++j)
    for (Eigen::Index i = k; i + 1 < size_; ++i) factor_(i, j) = factor_(i + 1, j);
  --size_;
  for (Eigen::Index j = k; j < size_; ++j) {
    Eigen::JacobiRotation<double> rotation;
    rotation.makeGivens(factor_(j, j), factor_(j, j + 1), &factor_(j, j));
    const Eigen::Index below = size_ - j - 1;
    factor_.block(j + 1, j, below, 2).applyOnTheRight(0, 1, rotation);
  }
}

Eigen::VectorXd QXActiveCholesky::Solve(const Eigen::VectorXd& b) const {
  const auto factor = factor_.topLeftCorner(size_, size_);
  Eigen::VectorXd x = b;
  factor.triangularView<Eigen::Lower>().solveInPlace(x);
  factor.triangularView<Eigen::Lower>().adjoint().solveInPlace(x);
  return x;
}

}  // namespace QXNumerics
