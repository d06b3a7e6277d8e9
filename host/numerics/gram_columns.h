#pragma once

#include <Eigen/Core>
#include <vector>

#include "host/numerics/lasso_design.h"

namespace QXNumerics {

/// Columns of the Gram matrix X^T X of a design, each made once and kept. Reading the design is
/// what costs, so columns that are likely to be asked for next are made in the same pass over it.
class QXGramColumns {
 public:
  explicit QXGramColumns(const QXLassoDesign& design)
      : design_(design), columns_(static_cast<size_t>(design.Cols()), nullptr) {}
  QXGramColumns(const QXGramColumns&) = delete;
  QXGramColumns& operator=(const QXGramColumns&) = delete;

  bool Has(Eigen::Index j) const { return columns_[static_cast<size_t>(j)]; }
  size_t Count() const { return count_; }
  /// Makes the columns `wanted`, which are not there yet, together.
  void Make(const std::vector<Eigen::Index>& wanted);
  /// Column j, which must be there: the products of all columns of X with column j of X.
  Eigen::Map<const Eigen::VectorXd> operator[](Eigen::Index j) const {
    return {columns_[static_cast<size_t>(j)], design_.Cols()};
  }

 private:
  const QXLassoDesign& design_;
  std::vector<Eigen::MatrixXd> batches_;  ///< what the passes gave
  std::vector<const double*> columns_;    ///< into batches_, null where there is none yet
  size_t count_ = 0;
};

}  // namespace QXNumerics
