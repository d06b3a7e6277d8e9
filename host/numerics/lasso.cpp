#include "host/numerics/lasso.h"

#include <utility>

#include "host/numerics/dense_design.h"
#include "host/numerics/lasso_path.h"

namespace QXNumerics {

void QXLasso::Fit(const Eigen::MatrixXd& X, const Eigen::VectorXd& y, unsigned int maxActives) {
  Fit(QXDenseDesign(X), y, maxActives);
}

void QXLasso::Fit(const QXLassoDesign& X, const Eigen::VectorXd& y, unsigned int maxActives) {
  QXLassoPath path(X, y);
  path.Walk(maxActives);
  coefficients_ = std::move(path.coefficients);
  actives_ = std::move(path.actives);
}

}  // namespace QXNumerics
