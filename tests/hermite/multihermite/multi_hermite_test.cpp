#include "hermite/multihermite/multi_hermite.h"

#include <random>

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

TEST(BuildHermites, LeavesTheFunctionOfDegreeOneWhenItIsTheLast) {
  for (unsigned int n : {0u, 1u}) {
    Vector out(2, 5.0);
    EXPECT_TRUE(BuildHermiteFunctions(0.5, n, out));
    EXPECT_EQ(out, (Vector{std::exp(-0.125), 5.0}));
  }
}

TEST(DesignMatrix, HasEveryFunctionAtEveryPoint) {
  const QXMultiHermiteParameters params(UInts{2, 0, 4}, Vector{0.9, 0.7, 1.1},
                                        RandomPoints(3, 2.5, 1));
  const Vector points = RandomPoints(150, 2.5, 2);
  const Eigen::MatrixXd X = QXMultiHermite(params).BuildDesignMatrix(points);
  ASSERT_EQ(X.rows(), 150);
  ASSERT_EQ(X.cols(), 10 + 1 + 35);
  QXMultiHermite one(params);
  for (unsigned int column = 0; column < params.NumBasis(); ++column) {
    one.SetCoefficients({1.0}, {column});
    // Functions of degree 4 or less are below 100, and products of three.
    const Vector found(X.col(column).begin(), X.col(column).end());
    ASSERT_TRUE(AllNear(found, one.Evaluate(points), 400 * kEpsilon)) << column;
  }
  EXPECT_EQ(QXMultiHermite(params).BuildDesignMatrix({}).cols(), 46);
}

// Columns of degree 1 in a basis of that degree are zeros, 0/0 when normalised, and never chosen.
TEST(DesignMatrix, HasNoFunctionsOfDegreeOneInABasisOfThatDegree) {
  const Vector points = RandomPoints(40, 2.5, 3);
  Vector values;
  for (size_t i = 0; i < points.size(); i += 3) values.push_back(points[i]);
  QXMultiHermite model(QXMultiHermiteParameters(1, 1.0, {0, 0, 0, 0.5, 0, 0}));
  Eigen::MatrixXd X = model.BuildDesignMatrix(points);
  EXPECT_TRUE((X.rightCols(3).array() == 0.0).all());
  NormalizeDesignMatrix(X);
  EXPECT_TRUE(X.rightCols(3).array().isNaN().all());
  EXPECT_TRUE(X.col(4).allFinite());
  const Messages messages;  // of the regression
  EXPECT_TRUE(model.Setup(points, values));
  EXPECT_EQ(model.GetActives(), (UInts{0, 4}));
}

TEST(NormalizeDesignMatrix, CentresAndScalesEachColumn) {
  Eigen::MatrixXd X(4, 3);
  X << 1, 3, 0.5,  //
      2, 5, 0.5,   //
      3, 3, 0.5,   //
      4, 5, 0.5;
  const Eigen::VectorXd norms = NormalizeDesignMatrix(X);
  EXPECT_TRUE(AllNear({norms[0], norms[1], norms[2]}, {std::sqrt(5.0), 2.0, 0.0}, 4 * kEpsilon));
  const double a = 0.5 / std::sqrt(5.0);
  EXPECT_TRUE(AllNear(Vector(X.data(), X.data() + 8), {-3 * a, -a, a, 3 * a, -0.5, 0.5, -0.5, 0.5},
                      4 * kEpsilon));
  EXPECT_TRUE(X.col(2).array().isNaN().all());

  Vector coefficients = {3.0, 4.0};
  EXPECT_TRUE(NormalizeFitCoefficients(coefficients, {1, 0}, Eigen::Vector2d(2.0, 5.0)));
  EXPECT_EQ(coefficients, (Vector{0.6, 2.0}));
  coefficients.clear();
  EXPECT_TRUE(NormalizeFitCoefficients(coefficients, {}, norms));
}

/// A sum of a few functions of three sites, sampled on a lattice with noise.
struct Sampled {
  explicit Sampled(double noise)
      : truth(QXMultiHermiteParameters(3, 0.9, {0, 0, 0, 4, 0, 0, 0, 4, 1})) {
    truth.SetCoefficients({1.0, -0.4, 0.3, 0.7, 0.2, -0.25}, {0, 5, 17, 20, 29, 43});
    for (double x = -4; x <= 8; x += 0.75)
      for (double y = -4; y <= 8; y += 0.75)
        for (double z = -4; z <= 5; z += 0.75) points.insert(points.end(), {x, y, z});
    values = truth.Evaluate(points);
    std::mt19937 random(6);
    for (double& value : values) {
      const double error = noise * (static_cast<double>(random()) / 2147483648.0 - 1.0);
      value += error;
      squaredNoise += error * error;
    }
  }
  QXMultiHermite truth;
  Vector points, values;
  double squaredNoise = 0.0;
};

// With unit columns X of the functions found, G = X'X, noise e: least squares is off by G^-1 X'e,
// and where another column enters by t G^-1 s more, with signs s and t = |x'e| of that column. No
// product with a unit column exceeds |e|.
TEST(MultiHermite, FindsTheFunctionsOfASparseSum) {
  for (double noise : {0.0, 1e-3}) {
    const Sampled sampled(noise);
    QXMultiHermite fit(sampled.truth.GetParams());
    ASSERT_TRUE(fit.Setup(sampled.points, sampled.values, 6));
    const UInts actives = sampled.truth.GetActives();
    ASSERT_EQ(fit.GetActives(), actives);
    Eigen::MatrixXd X = fit.BuildDesignMatrix(sampled.points);
    const Eigen::VectorXd norms = NormalizeDesignMatrix(X);
    X = X(Eigen::all, actives).eval();
    const Eigen::VectorXd spread = (X.transpose() * X).inverse().cwiseAbs().rowwise().sum();
    const double error = 2 * std::sqrt(sampled.squaredNoise) + 1e4 * kEpsilon;
    for (Eigen::Index i = 0; i < 6; ++i) {
      const unsigned int index = actives[static_cast<size_t>(i)];
      EXPECT_NEAR(fit.GetCoefficient(index), sampled.truth.GetCoefficient(index),
                  spread[i] * error / norms[index]);
    }
  }
}

TEST(MultiHermite, StopsAtTheLimitAndReplacesWhatWasThere) {
  const Sampled sampled(1e-3);
  QXMultiHermite fit(sampled.truth.GetParams());
  EXPECT_TRUE(fit.Setup(sampled.points, sampled.values));
  EXPECT_EQ(fit.NumActives(), 60u) << "with noise every function has its part";
  EXPECT_TRUE(fit.Setup(sampled.points, sampled.values, 1));
  EXPECT_EQ(fit.NumActives(), 1u);
  EXPECT_TRUE(fit.Setup(sampled.points, sampled.values, 0));
  EXPECT_EQ(fit.NumActives(), 0u);
}

// The z width is that of the defaults, and the centre of the site is dropped: on purpose.
TEST(MultiHermite, GivesASiteAsAnExpansionAboutTheOrigin) {
  QXMultiHermite model(QXMultiHermiteParameters({2, 1}, 0.8, {0, 0, 0, 1, 2, 3}));
  model.SetCoefficients({0.5, -2.0}, {7, 2});
  const QXHermite h = model.GetHermite(0);
  EXPECT_EQ(h.GetCoefficients(), (Vector{0, 0, -2, 0, 0, 0, 0, 0.5, 0, 0}));
  EXPECT_EQ(Widths(h), (Vector{0.8, 0.8, 1.0}));
  EXPECT_FALSE(h.GetOptions().GetUseOptimalLambdas());
  const QXHermite empty = model.GetHermite(1);
  EXPECT_EQ(empty.GetCoefficients(), Vector(4));
  EXPECT_EQ(empty.GetCenter(), Vector(3));
}

}  // namespace
}  // namespace QXHermiteMath
