#pragma once

#include <Eigen/Core>
#include <limits>
#include <vector>

#include "host/numerics/lasso_design.h"

namespace QXNumerics {

/// The LASSO regularisation path: the minima over b of
///
///   |y - X b|^2/2 + t sum_j |b_j|
///
/// from the t at which the first column enters down to 0, which are piecewise linear in t. By
/// least-angle regression with the lasso modification (B. Efron, T. Hastie, I. Johnstone,
/// R. Tibshirani, Ann. Statist. 32 (2004) 407; S. Rosset, J. Zhu, Ann. Statist. 35 (2007) 1012).
/// There is no intercept, and columns are taken as they are: centre and scale them before.
///
///     QXLasso lasso;
///     lasso.Fit(X, y, 20);
///     lasso.GetCoefficients().back()[i];   // belongs to column lasso.GetActives()[i]
///
/// - Path and actives are empty where there is nothing to fit: no rows, no columns, maxActives 0,
///   or every product of a column with y is 0, as with a zero y. So they are, after a warning, for
///   a y that is not finite.
/// - Columns that are not finite, or whose product with y is not, never enter, with one warning
///   that counts them.
/// - Lengths of columns should be from 1e-150 to 1e150, and their products with y from 1e-290 to
///   1e290 or 0. Shorter columns, those of zeros among them, never enter; with longer ones, or
///   products beyond, the path may end early or be empty.
/// - Ties have an order: for t stands t (1 + 1e-13 sqrt(j + 1)) with column j.
/// - A column within 3e-7 of its length of the span of the active ones does not enter as long as
///   it is: of equal columns the first one does, but for rounding. At most as many columns as rows
///   are active at once.
/// - The path ends where t falls to the rounding of correlations: 1e-13 of the length of y times
///   that of the longest column that has entered.
/// - Takes the time of few products X^T V, with one vector for each one or two of the n columns
///   that enter. Keeps about 2n vectors of one number for each column of X, and for a while 64 or
///   fewer columns of X.
class QXLasso {
 public:
  static constexpr unsigned int kNoLimit = std::numeric_limits<unsigned int>::max();

  /// Computes the path of the columns of X against y, replacing any before: to its end, the least
  /// squares solution of the columns entered, or with maxActives to where one more than maxActives
  /// distinct columns would have entered.
  void Fit(const Eigen::MatrixXd& X, const Eigen::VectorXd& y, unsigned int maxActives = kNoLimit);
  void Fit(const QXLassoDesign& X, const Eigen::VectorXd& y, unsigned int maxActives = kNoLimit);

  /// Entry k holds k + 1 coefficients, of the first k + 1 columns of GetActives(): the solution at
  /// the last knot of the path at which exactly k + 1 distinct columns had entered, which is where
  /// the next one enters, or the end. A column that has left stands there with 0 until it enters
  /// again. The last entry is the least regularised solution reached.
  std::vector<std::vector<double>> GetCoefficients() const { return coefficients_; }
  /// The distinct columns in the order of their first entry.
  std::vector<unsigned int> GetActives() const { return actives_; }

 private:
  std::vector<std::vector<double>> coefficients_;
  std::vector<unsigned int> actives_;
};

}  // namespace QXNumerics
