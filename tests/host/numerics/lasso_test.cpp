#include "host/numerics/lasso.h"

#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>
#include <numbers>
#include <numeric>
#include <string>
#include <utility>

#include "host/numerics/dense_design.h"
#include "host/numerics/gram_columns.h"
#include "support/check.h"
#include "support/messages.h"
#include "support/numerics.h"

namespace QXNumerics {
namespace {

using Eigen::Index, Eigen::MatrixXd, Eigen::VectorXd;
using Actives = std::vector<unsigned int>;
using QXTest::Vector, QXTest::kEpsilon;

// What the conditions may be missed by: a column within this, in lengths, of the span of the active
// ones is taken to lie in it.
constexpr double kSpan = 3.2e-7;
// Or what gives an order to ties: penalties apart by up to 1e-13 sqrt(200), for 200 columns.
constexpr double kTie = 1.5e-12;

// x_j^T r is t for the active columns, with the sign of the coefficient, and no larger elsewhere.
void ExpectOptimal(const MatrixXd& X, const VectorXd& y, const QXLasso& lasso, double tolerance) {
  const Actives actives = lasso.GetActives();
  const double unit = tolerance * y.norm() * X.colwise().norm().maxCoeff();
  double last = std::numeric_limits<double>::infinity();
  for (const Vector& entry : lasso.GetCoefficients()) {
    VectorXd b = VectorXd::Zero(X.cols());
    for (size_t i = 0; i < entry.size(); ++i) b[actives[i]] = entry[i];
    const VectorXd c = X.transpose() * (y - X * b);
    const double bound = c.cwiseAbs().maxCoeff<Eigen::PropagateNaN>();
    EXPECT_LE(bound, last + unit);
    for (const unsigned int j : actives)
      ASSERT_NEAR(c[j], b[j] == 0 ? c[j] : std::copysign(bound, b[j]), unit) << j;
    last = bound;
  }
}

struct Golden {
  std::string name;
  MatrixXd X;
  VectorXd y;
  Actives actives;
  std::vector<Vector> entries;
};

std::vector<Golden> ReadGolden() {
  std::ifstream file(std::string(QX_TEST_DATA) + "/numerics/lasso_paths.txt");
  std::vector<Golden> all;
  std::string name;
  for (Index rows, columns, count, leavings;
       file >> name >> rows >> columns >> count >> leavings;) {
    Golden golden{name, MatrixXd(rows, columns), VectorXd(rows), Actives(count), {}};
    for (Index i = 0; i < rows; ++i) {
      for (double& x : golden.X.row(i)) file >> x;
      file >> golden.y[i];
    }
    for (unsigned int& active : golden.actives) file >> active;
    for (size_t k = 1; k <= golden.actives.size(); ++k)
      for (double& value : golden.entries.emplace_back(k)) file >> value;
    if (file) all.push_back(golden);
  }
  return all;
}

TEST(QXLasso, FollowsThePathOfScikitLearn) {
  const std::vector<Golden> all = ReadGolden();
  ASSERT_EQ(all.size(), 5u);
  for (const Golden& golden : all) {
    SCOPED_TRACE(golden.name);
    QXLasso lasso;
    lasso.Fit(golden.X, golden.y);
    ASSERT_EQ(lasso.GetActives(), golden.actives);
    // The Gram matrices have condition numbers below 1e4.
    for (size_t k = 0; k < golden.entries.size(); ++k)
      EXPECT_TRUE(QXTest::AllNear(lasso.GetCoefficients().at(k), golden.entries[k], 1e-9)) << k;
    ExpectOptimal(golden.X, golden.y, lasso, kTie);
    const std::vector<Vector> whole = lasso.GetCoefficients();
    EXPECT_EQ(whole.size(), golden.entries.size());
    for (unsigned int limit = 1; limit <= whole.size(); ++limit) {
      lasso.Fit(golden.X, golden.y, limit);
      EXPECT_EQ(lasso.GetActives(),
                Actives(golden.actives.begin(), golden.actives.begin() + limit));
      ASSERT_EQ(lasso.GetCoefficients().size(), limit);
      EXPECT_TRUE(QXTest::AllNear(lasso.GetCoefficients().back(), whole[limit - 1], 1e-9));
    }
  }
}

TEST(QXLasso, StaysOptimalOnNearlyDependentColumns) {
  // Gaussians of growing width on a line have condition numbers from 1e1 to beyond 1e16.
  for (const double width : {0.05, 0.15, 0.3, 1.0}) {
    SCOPED_TRACE(width);
    const VectorXd x = VectorXd::LinSpaced(200, 0, 1);
    MatrixXd X(x.size(), 50);
    for (Index j = 0; j < X.cols(); ++j)
      X.col(j) = (-((x.array() - double(j) / 49) / width).square() / 2).exp();
    X.rowwise() -= X.colwise().mean().eval();
    X.colwise().normalize();
    const VectorXd smooth = (9 * x.array()).sin() + x.array().square();
    const VectorXd rough = (std::numbers::pi * 199 * x.array()).cos();  // 1, -1, 1, -1
    for (const VectorXd& y : {smooth, rough, VectorXd(X.col(3) - 2 * X.col(30))}) {
      QXTest::Messages messages;
      QXLasso lasso;
      lasso.Fit(X, y);
      EXPECT_GT(lasso.GetActives().size(), 1u);
      ExpectOptimal(X, y, lasso, kSpan);
      EXPECT_TRUE(messages.all.empty());
    }
  }
}

TEST(QXLasso, StaysOptimalOnTies) {
  const struct {
    MatrixXd X;
    VectorXd y;
  } cases[] = {
      // Columns that reach the bound at one point, in an order that matters.
      {MatrixXd{{1, -3, -3, -3}, {2, 1, -3, -2}, {0, 3, -2, -1}}, VectorXd{{-2, 0, 0}}},
      {MatrixXd{{1, 1, 2}, {0, 1, 2}, {-1, 0, -1}}, VectorXd{{-1, -3, -2}}},
      {MatrixXd{{0, 1, 1, 0}, {-1, -1, -1, -1}, {0, 1, 0, 0}, {1, 1, 0, -1}},
       VectorXd{{1, 0, -3, -3}}},
      {MatrixXd{{-1, 2, -2, 1, -1}, {0, 1, -2, 2, 2}}, VectorXd{{0, -1}}},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.X);
    QXLasso lasso;
    lasso.Fit(one.X, one.y);
    EXPECT_GT(lasso.GetActives().size(), 1u);
    ExpectOptimal(one.X, one.y, lasso, kTie);
  }
}

TEST(QXLasso, HasNoMoreColumnsActiveThanTheRank) {
  std::srand(3);
  const MatrixXd X = MatrixXd::Random(60, 20) * MatrixXd::Random(20, 200);
  const VectorXd y = VectorXd::Random(60);
  QXLasso lasso;
  lasso.Fit(X, y);
  EXPECT_GT(lasso.GetActives().size(), 20u);  // so columns have changed places
  for (const Vector& entry : lasso.GetCoefficients())
    EXPECT_LE(std::ranges::count_if(entry, [](double b) { return b != 0; }), 20);
  ExpectOptimal(X, y, lasso, kTie);
}

TEST(QXLasso, TakesDegenerateProblems) {
  const double nan = std::numeric_limits<double>::quiet_NaN(), infinity = HUGE_VAL;
  const MatrixXd unit = MatrixXd::Identity(2, 2), all = MatrixXd::Identity(3, 3);
  const MatrixXd broken{{nan, 1, infinity, 0}, {0, 2, 0, 0}}, copies{{1, 1, -1, 0}, {0, 0, 0, 1}};
  const MatrixXd wide{{-1, 0, 1, 0, 1, -1, 1}, {0, 0, -1, -1, -1, -1, 0}};
  const std::string noTarget = "The target of a LASSO fit is not finite: nothing is fitted.";
  const std::string left =
      "2 of 4 columns of a LASSO fit are not finite or too large: they are left out.";
  const struct {
    const char* name;
    MatrixXd X;
    VectorXd y;
    Actives actives;
    Vector last;
    unsigned int limit = 9;
    std::string warning = {};
  } cases[] = {
      {"no rows", MatrixXd(0, 3), VectorXd(0), {}, {}},
      {"no columns", MatrixXd(3, 0), VectorXd::Ones(3), {}, {}},
      {"zero target", unit, VectorXd::Zero(2), {}, {}},
      {"no actives", unit, VectorXd::Ones(2), {}, {}, 0},
      {"target not finite", unit, VectorXd::Constant(2, nan), {}, {}, 9, noTarget},
      {"columns not finite", broken, VectorXd{{0, 3}}, {1}, {1.2}, 9, left},
      {"copies", copies, VectorXd{{3, 1}}, {0, 3}, {3, 1}},
      {"one row", MatrixXd{{1, 2, -4, 4}}, VectorXd{{8}}, {2}, {-2}},
      {"more columns than rows", wide, VectorXd{{-1, 2}}, {2, 3}, {-1, -1}},
      {"all at once", all, VectorXd::Ones(3), {0, 1, 2}, {1, 1, 1}},
      {"both at once, one wanted", unit, VectorXd::Ones(2), {0}, {0}, 1},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.name);
    QXTest::Messages messages;
    QXLasso lasso;
    lasso.Fit(MatrixXd::Ones(1, 1), VectorXd::Ones(1));  // which must leave nothing
    lasso.Fit(one.X, one.y, one.limit);
    EXPECT_EQ(lasso.GetActives(), one.actives);
    const std::vector<Vector> path = lasso.GetCoefficients();
    ASSERT_EQ(path.size(), one.actives.size());
    EXPECT_TRUE(QXTest::AllNear(path.empty() ? Vector() : path.back(), one.last, 1e-13));
    std::vector<QXTest::Messages::Message> expected;
    if (!one.warning.empty()) expected = {{QXCore::QXErrorLevel::Warning, one.warning}};
    EXPECT_EQ(messages.all, expected);
  }
}

TEST(QXLasso, TakesLargeAndSmallNumbers) {
  const MatrixXd X{{1, -2, 2}, {2, 1, 0}, {0, 1, 3}};
  const VectorXd y{{3, 1, 2}};
  QXLasso lasso;
  lasso.Fit(X, y);
  const Actives actives = lasso.GetActives();
  const Vector last = lasso.GetCoefficients().at(2);
  for (const auto& [unitOfX, unitOfY] : {std::pair(1., 1e160), {1e140, 1.}, {1e-140, 1e-140}}) {
    lasso.Fit(unitOfX * X, unitOfY * y);
    ASSERT_EQ(lasso.GetActives(), actives) << unitOfX;
    Vector scaled = lasso.GetCoefficients().back();
    for (double& b : scaled) b *= unitOfX / unitOfY;
    EXPECT_TRUE(QXTest::AllNear(scaled, last, 1e-13)) << unitOfX;
  }
}

TEST(QXDenseDesign, CorrelatesAnyNumberOfRowsColumnsAndVectors) {
  for (const Index rows : {1, 7, 515, 4099})
    for (const Index columns : {1, 5})
      for (const Index count : {1, 4, 6, 65}) {
        const MatrixXd X = MatrixXd::Random(rows, columns), V = MatrixXd::Random(rows, count);
        MatrixXd products;
        QXDenseDesign(X).Correlate(V, products);
        const double error = (products - X.transpose() * V).cwiseAbs().sum();
        EXPECT_LE(error, kEpsilon * double(rows * columns * count))
            << rows << ' ' << columns << ' ' << count;
      }
}

TEST(QXGramColumns, MakesMoreThanItCopiesAtATime) {
  const MatrixXd X = MatrixXd::Random(2, 66), G = X.transpose() * X;
  const QXDenseDesign design(X);
  QXGramColumns gram(design);
  std::vector<Index> all(66);
  std::iota(all.begin(), all.end(), 0);
  gram.Make(all);
  for (const Index j : all) {
    ASSERT_TRUE(gram.Has(j)) << j;
    EXPECT_LE((gram[j] - G.col(j)).cwiseAbs().maxCoeff(), 4 * kEpsilon) << j;
  }
}

}  // namespace
}  // namespace QXNumerics
