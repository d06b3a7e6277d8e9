#pragma once

#include <Eigen/Core>

namespace QXNumerics {

/// The matrix X of a sparse regression, as far as the path needs it: products with it, and single
/// columns. Designs whose elements are cheap to work out need not be stored.
class QXLassoDesign {
 public:
  virtual ~QXLassoDesign() = default;

  /// The samples and the columns, of which each has a coefficient.
  virtual Eigen::Index Rows() const = 0;
  virtual Eigen::Index Cols() const = 0;

  /// products = X^T vectors: `vectors` has Rows() rows and any number of columns, `products` is
  /// resized to Cols() rows and as many columns. A column of X with an element that is not finite
  /// must give products that are not finite.
  virtual void Correlate(const Eigen::MatrixXd& vectors, Eigen::MatrixXd& products) const = 0;

  /// Writes column j of X, Rows() numbers.
  virtual void CopyColumn(Eigen::Index j, double* column) const = 0;
};

}  // namespace QXNumerics
