#include "hermite/multihermite/design_matrix.h"

namespace QXHermiteMath {

Eigen::VectorXd NormalizeDesignMatrix(Eigen::MatrixXd& matrix) {
  Eigen::VectorXd norms(matrix.cols());
  // Column by column: all that is done to one is done while it is in the cache.
  for (Eigen::Index j = 0; j < matrix.cols(); ++j) {
    auto column = matrix.col(j).array();
    const double mean = column.sum() / static_cast<double>(matrix.rows());
    norms[j] = (column - mean).matrix().norm();
    column = (column - mean) / norms[j];
  }
  return norms;
}

bool NormalizeFitCoefficients(std::vector<double>& coefficients,
                              std::vector<unsigned int> const& actives,
                              Eigen::VectorXd const& norms) {
  for (size_t i = 0; i < coefficients.size(); ++i) coefficients[i] /= norms[actives[i]];
  return true;
}

}  // namespace QXHermiteMath
