#pragma once

#include <Eigen/Core>

namespace QXNumerics {

/// The lower Cholesky factor L of the Gram matrix G = L L^T of a set of columns that come and go:
/// O(n^2) for each that enters or leaves, in place of the O(n^3) of a new factor.
class QXActiveCholesky {
 public:
  /// The number of columns n.
  Eigen::Index Size() const { return size_; }

  /// Prepares a column for Append. `products`: its n dot products with the columns of the set;
  /// `square`: that with itself. Returns the squared length of its part outside their span, as
  /// far as rounding lets it be seen.
  double Prepare(const Eigen::VectorXd& products, double square);
  /// Lets the column prepared last in, behind all others. Its pivot must have been above 0.
  void Append();
  /// Takes out column k of the set; those behind it move up.
  void Remove(Eigen::Index k);
  /// The solution x of G x = b, n numbers.
  Eigen::VectorXd Solve(const Eigen::VectorXd& b) const;

 private:
  Eigen::Index size_ = 0;
  Eigen::MatrixXd factor_;  ///< its lower left triangle of size_ rows is L
  Eigen::VectorXd row_;     ///< of L, that of the column prepared
  double pivot_ = 0;        ///< its squared diagonal element
};

}  // namespace QXNumerics
