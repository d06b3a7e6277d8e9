#pragma once

#include <Eigen/Core>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/core/simd.h"
#include "host/numerics/lasso_design.h"

namespace QXHermiteMath {

/// The normalised design matrix of QXLassoGaussians, not stored: element (p, j) is
///
///   (g_pj - m_j)/n_j,   g_pj = exp(-exponent |r_p - c_j|^2),
///
/// m_j the mean of column j of g, n_j the norm of the column less its mean. A constant column is
/// not finite. Memory grows with the points plus the candidates.
///
/// g is a product of one factor an axis, and the points of a grid share their coordinates: a column
/// takes as many exponentials as there are distinct ones, and a product with it one
/// multiply-and-add a point. Points are taken by rows: runs with equal y and z, one distinct x
/// after the other. Rows on which a column falls below 1e-18 of its largest element are left out,
/// which makes narrow Gaussians cheap. Points in no order give the same, at the speed of rows of
/// one.
class GaussianDesign final : public QXNumerics::QXLassoDesign {
 public:
  /// Coordinates are flat lists, x, y and z of each. level: of the instructions, for tests.
  GaussianDesign(std::vector<double> const& points, std::vector<double> const& newCenters,
                 double newExponent, QXCore::QXSimdLevel newLevel = QXCore::QXGetSimdLevel());

  Eigen::Index Rows() const override { return static_cast<Eigen::Index>(numPoints_); }
  Eigen::Index Cols() const override { return norms_.size(); }
  void Correlate(const Eigen::MatrixXd& vectors, Eigen::MatrixXd& products) const override;
  void CopyColumn(Eigen::Index j, double* column) const override;

  /// The n_j.
  const Eigen::VectorXd& GetNorms() const { return norms_; }
  /// Whether points share their coordinates so much that factors take less work than elements.
  static bool SharesCoordinates(std::vector<double> const& points);

  /// Points at x + i of the distinct x, i = 0 .. length - 1, one y and one z.
  struct Row {
    uint32_t x, y, length;
    size_t firstPoint;
    size_t firstBlock;  ///< of four points each, the last one padded
  };
  /// Rows with one z that follow each other.
  struct Plane {
    uint32_t z;
    size_t beginRow, endRow;
  };

 private:
  struct Column;

  void FindRows(std::vector<double> const& points);
  void Normalize();
  void FillFactors(Eigen::Index j, Column& column) const;
  double FindLargest(const Column& column) const;
  void LeaveOut(double negligible, Column& column) const;
  void FillColumn(Eigen::Index j, Column& column) const;
  template <typename Task>
  void Run(const Column& column, Task& task) const;
  template <int Count>
  void CorrelateGroup(const Eigen::MatrixXd& vectors, Eigen::Index first,
                      Eigen::MatrixXd& products) const;

  std::vector<double> centers_;
  double exponent_;
  QXCore::QXSimdLevel level_;
  size_t numPoints_;
  std::vector<double> distinct_[3];  ///< coordinates, rising
  std::vector<Row> rows_;
  std::vector<Plane> planes_;
  size_t numBlocks_ = 0;
  std::vector<double> largest_;  ///< of each column of g
  Eigen::VectorXd means_, norms_;
};

}  // namespace QXHermiteMath
