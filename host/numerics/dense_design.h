#pragma once

#include "host/numerics/lasso_design.h"

namespace QXNumerics {

/// A stored matrix as a design. The matrix is not copied and must outlive the design.
class QXDenseDesign : public QXLassoDesign {
 public:
  explicit QXDenseDesign(const Eigen::MatrixXd& matrix) : matrix_(matrix) {}

  Eigen::Index Rows() const override { return matrix_.rows(); }
  Eigen::Index Cols() const override { return matrix_.cols(); }
  void Correlate(const Eigen::MatrixXd& vectors, Eigen::MatrixXd& products) const override;
  void CopyColumn(Eigen::Index j, double* column) const override;

 private:
  const Eigen::MatrixXd& matrix_;
};

}  // namespace QXNumerics
