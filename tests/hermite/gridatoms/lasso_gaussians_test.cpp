#include "hermite/gridatoms/lasso_gaussians.h"

#include "host/numerics/lasso.h"
#include "support/grids.h"
#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

using Eigen::Index;
using Eigen::MatrixXd;
using Eigen::VectorXd;

constexpr double kWidth = 2.34422871067;

// The elements of a grid in a ball with holes: rows of all lengths, some with gaps.
Vector Samples() {
  QXScalarGrid grid = MakeGrid(13, 12, 11, 0.4f, {0.1f, 0, 0});
  Vector points;
  unsigned int i = 0;
  ForElements(grid, [&](float, const Vector3d& p) {
    if (p.norm() < 2.4 && ++i % 13 != 0) points.insert(points.end(), p.begin(), p.end());
  });
  return points;
}

// A bound for the elements of a column of norm n: those of g have the rounding of their exponents,
// g e <= g_max (e_min + 1), and with the mean that of a sum; with the norm it comes in once more.
double ColumnBound(const Vector& points, double const* center, double exponent, double norm) {
  double nearest = HUGE_VAL;
  for (size_t p = 0; p < points.size(); p += 3)
    nearest = std::min(nearest, (Vector3d::Map(&points[p]) - Vector3d::Map(center)).squaredNorm());
  const double root = std::sqrt(double(points.size() / 3)), e = exponent * nearest;
  return 4 * kEpsilon * (8 + e + root) * std::exp(-e) / norm * (2 + root);
}

TEST(GaussianDesign, AgreesWithTheMatrixOnAnyPoints) {
  Vector centers = RandomPoints(9, 2.5, 1);
  const Vector rows = Samples(), single = {0.5, 0.25, 0.125};
  centers.insert(centers.end(), rows.begin() + 30, rows.begin() + 33);
  centers.insert(centers.end(), {9.0, 0.0, 0.0, 0.0, -90.0, 0.0});  // far, and too far
  Vector diagonal;
  for (double i = 0; i < 20; ++i) diagonal.insert(diagonal.end(), {0.2 * i - 2, 0.1 * i, 0.5});
  struct Case {
    const char* what;
    Vector points;
    double radius;
  };
  for (const Case& c :
       {Case{"rows", rows, 1.0}, Case{"local", rows, 0.3}, Case{"wide", rows, 20.0},
        Case{"scattered", RandomPoints(57, 2.0, 2), 1.4}, Case{"diagonal", diagonal, 2.0},
        Case{"one", single, 1.0}, Case{"none", {}, 1.0}}) {
    VectorXd norms;
    const MatrixXd X =
        QXLassoGaussians(centers, c.radius).BuildNormalizedDesignMatrix(c.points, norms);
    const double exponent = kWidth / (c.radius * c.radius);
    const MatrixXd vectors = MatrixXd::Random(X.rows(), 15), expected = X.transpose() * vectors;
    for (const auto level : SimdLevels()) {
      const GaussianDesign design(c.points, centers, exponent, level);
      ASSERT_EQ(design.Rows(), X.rows());
      ASSERT_EQ(design.Cols(), X.cols());
      for (const Index count : {15, 3, 2, 1}) {  // groups of 8, 4, 2 and 1
        MatrixXd products;
        design.Correlate(vectors.leftCols(count), products);
        ASSERT_EQ(products.cols(), count);
        for (Index j = 0; j < X.cols(); ++j) {
          if (!X.col(j).allFinite() || X.rows() == 0) {
            EXPECT_FALSE(products.row(j).array().isFinite().any()) << c.what << j;
            continue;
          }
          const double bound = ColumnBound(c.points, &centers[3 * j], exponent, norms[j]);
          const double sum = std::sqrt(double(X.rows())) * bound;
          EXPECT_NEAR((products.row(j) - expected.row(j).head(count)).norm(), 0.0, 4 * sum) << j;
          EXPECT_NEAR(design.GetNorms()[j] / norms[j], 1.0, bound) << c.what << j;
          VectorXd column(X.rows());
          design.CopyColumn(j, column.data());
          EXPECT_NEAR((column - X.col(j)).lpNorm<Eigen::Infinity>(), 0.0, bound) << c.what << j;
        }
      }
    }
  }
}

TEST(LassoGaussians, HaveTheExponentOfTheirRadius) {
  VectorXd norms;
  for (const double radius : {1.0, 2.0}) {
    QXLassoGaussians({0, 0, 0}, radius).BuildNormalizedDesignMatrix({0, 0, 0, 0, 0.5, 0}, norms);
    const double g = std::exp(-kWidth / (radius * radius) * 0.25);
    EXPECT_NEAR(norms[0], (1.0 - g) / std::sqrt(2.0), 4 * kEpsilon);
  }
}

// The fit step by step on the stored matrix.
TEST(LassoGaussians, AreTheEndOfThePathScaledBack) {
  const Vector centers = RandomPoints(40, 1.6, 3);
  for (const Vector& points : {Samples(), RandomPoints(300, 2.0, 4)}) {
    Vector values;
    for (size_t p = 0; p < points.size(); p += 3)
      values.push_back(std::sin(points[p]) + points[p + 1] * points[p + 2]);
    QXLassoGaussians fit(centers, 1.1);
    EXPECT_EQ(fit.GetValue(0, 0, 0), 0.0);
    EXPECT_TRUE(fit.Setup(points, values, 12));

    VectorXd norms;
    const MatrixXd X = fit.BuildNormalizedDesignMatrix(points, norms);
    QXNumerics::QXLasso lasso;
    lasso.Fit(X, VectorXd::Map(values.data(), Index(values.size())), 12);
    const Vector last = lasso.GetCoefficients().back();
    ASSERT_EQ(last.size(), 12u);
    EXPECT_EQ(fit.GetActives(), lasso.GetActives());
    double sum = 0, largest = 0;
    for (size_t i = 0; i < 12; ++i) {
      const unsigned int j = fit.GetActives()[i];
      // Twelve overlapping columns multiply rounding by their condition, which is below 1e5.
      EXPECT_NEAR(fit.GetCoefficients()[i], last[i] / norms[j], 1e-9 * std::fabs(last[i]));
      const Vector3d d = Vector3d(0.1, 0.2, 0.3) - Vector3d::Map(&centers[3 * j]);
      sum += last[i] / norms[j] * std::exp(-kWidth / 1.21 * d.squaredNorm());
      largest = std::max(largest, std::fabs(last[i] / norms[j]));
    }
    EXPECT_NEAR(fit.GetValue(0.1, 0.2, 0.3), sum, 12e-9 * largest);
  }
}

TEST(LassoGaussians, AreNoneWhereThereIsNothingToFit) {
  QXLassoGaussians fit({0, 0, 0, 1, 0, 0}, 1.0);
  for (const unsigned int maxActives : {1u, 0u}) {
    fit.Setup({0, 0, 0, 1, 0, 0}, {1, 2}, maxActives);
    EXPECT_EQ(fit.GetActives().size(), maxActives);
    EXPECT_EQ(fit.GetCoefficients().size(), maxActives);
    EXPECT_EQ(fit.GetValue(0, 0, 0) == 0.0, maxActives == 0);
  }
}

}  // namespace
}  // namespace QXHermiteMath
