#include "hermite/frame/inertial_orientation.h"

#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <limits>

#include "hermite/expansion/hermite.h"
#include "hermite/frame/center_of_mass.h"
#include "hermite/frame/moments.h"
#include "support/density.h"
#include "support/messages.h"
#include "support/numerics.h"

namespace QXHermiteMath {
namespace {

using QXTest::AllNear;
using QXTest::Gaussians;
using QXTest::kEpsilon;
using QXTest::Vector;
using Rows = std::vector<Vector>;

struct Orientation {
  explicit Orientation(Gaussians& gaussians, double x = 0.8, double y = 0.8, double z = 0.8) {
    EXPECT_EQ(QXOrientByHermiteMomentsOfInertia(gaussians, 4, x, y, z, center, rotation, tensor,
                                                eigenvalues),
              0);
  }
  // What stood there before does not survive.
  Vector center{9, 9}, rotation{9, 9}, eigenvalues{9};
  Rows tensor{{9}};
};

Rows SecondMoments(const Gaussians& gaussians, double lambda) {
  QXHermite h;
  h.Setup(gaussians, QXTest::FixedWidths(4, lambda, lambda, lambda));
  const auto moment = [&](unsigned int a, unsigned int b, unsigned int c) {
    return Hermite3DMoment(a, b, c, 4, lambda, lambda, lambda, h.GetCoefficients());
  };
  return {{moment(2, 0, 0), moment(1, 1, 0), moment(1, 0, 1)},
          {moment(1, 1, 0), moment(0, 2, 0), moment(0, 1, 1)},
          {moment(1, 0, 1), moment(0, 1, 1), moment(0, 0, 2)}};
}

TEST(HalfTurns, AreDensitiesTurnedAboutEachAxis) {
  const QXHermiteOptions options = QXTest::FixedWidths(5, 0.8, 1.0, 1.2);
  const Vector c = QXTest::RandomCoefficients(5, 90);
  Rows turned(7);
  EXPECT_TRUE(ComputeInertialHermiteVectors(c, options, turned));
  ASSERT_EQ(turned.size(), 3u);
  const double x = 0.7, y = -0.4, z = 1.1;
  const auto value = [&](const Vector& v, int sx, int sy, int sz) {
    return QXTest::Evaluate(v, options, sx * x, sy * y, sz * z);
  };
  EXPECT_EQ(value(turned[0], 1, 1, 1), value(c, 1, -1, -1));
  EXPECT_EQ(value(turned[1], 1, 1, 1), value(c, -1, 1, -1));
  EXPECT_EQ(value(turned[2], 1, 1, 1), value(c, -1, -1, 1));
}

TEST(Eigenvalues, AreSortedWithTheirVectorsAndTiesToTheLowerIndex) {
  const struct {
    Vector values;
    size_t order[3];
  } cases[] = {{{3, 2, 1}, {0, 1, 2}}, {{3, 1, 2}, {0, 2, 1}}, {{2, 3, 1}, {1, 0, 2}},
               {{1, 3, 2}, {1, 2, 0}}, {{2, 1, 3}, {2, 0, 1}}, {{1, 2, 3}, {2, 1, 0}},
               {{2, 2, 2}, {0, 1, 2}}, {{1, 2, 2}, {1, 2, 0}}, {{2, 1, 2}, {0, 2, 1}}};
  for (const auto& [input, order] : cases) {
    Vector values = input;
    Rows vectors = {{11, 12, 13}, {21, 22, 23}, {31, 32, 33}};  // eigenvectors are columns
    OrderEigenvaluesHighToLow(values, vectors);
    for (size_t k = 0; k < 3; ++k) {
      const double j = static_cast<double>(order[k]) + 1;
      EXPECT_EQ(values[k], input[order[k]]);
      EXPECT_EQ(vectors[k], (Vector{10 + j, 20 + j, 30 + j}));
    }
    Vector rotation = {7};
    ComputeRotationMatrix(vectors, rotation);
    ASSERT_EQ(rotation.size(), 10u) << "appended";
    EXPECT_EQ(rotation[4], vectors[1][0]);
  }
}

TEST(Eigenvalues, ANaNIsReportedAndNothingIndexed) {
  QXTest::Messages messages;
  Vector values = {1, std::numeric_limits<double>::quiet_NaN(), 2};
  Rows vectors = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
  const Rows before = vectors;
  OrderEigenvaluesHighToLow(values, vectors);
  EXPECT_EQ(vectors, before);
  ASSERT_EQ(messages.all.size(), 1u);
  EXPECT_EQ(messages.all[0].first, QXCore::QXErrorLevel::Warning);
  EXPECT_EQ(messages.all[0].second, "Unexpected conditional logical error.");
  // A zero width gives a tensor that is not finite, and the same warning.
  Gaussians gaussians = QXTest::RandomGaussians(2, 90);
  const Orientation orientation(gaussians, 0.0, 0.0, 0.0);
  EXPECT_EQ(messages.all.back().second, "Unexpected conditional logical error.");
}

TEST(Orientation, TurnsGaussiansIntoThePrincipalFrameAboutTheOrigin) {
  Gaussians gaussians = QXTest::RandomGaussians(6, 91);
  for (QXGaussian& g : gaussians) g.SetY(g.GetY() + 1.0f);  // not about their own centre
  const Gaussians before = gaussians;
  const Orientation o(gaussians);

  const Rows tensor = SecondMoments(before, 0.8);
  for (size_t r = 0; r < 3; ++r) EXPECT_TRUE(AllNear(o.tensor[r], tensor[r], 1e-10));
  ASSERT_EQ(o.rotation.size(), 9u);
  const Eigen::Map<const Eigen::Matrix<double, 3, 3, Eigen::RowMajor>> R(o.rotation.data());
  EXPECT_LT((R * R.transpose() - Eigen::Matrix3d::Identity()).norm(), 16 * kEpsilon);
  EXPECT_GT(R.determinant(), 0.0);
  EXPECT_GE(o.eigenvalues[0], o.eigenvalues[1]);
  EXPECT_GE(o.eigenvalues[1], o.eigenvalues[2]);
  for (size_t i = 0; i < gaussians.size(); ++i) {
    const Eigen::Vector3d p =
        R * Eigen::Vector3d(before[i].GetX(), before[i].GetY(), before[i].GetZ());
    EXPECT_EQ(gaussians[i].GetX(), static_cast<float>(p[0]));
    EXPECT_EQ(gaussians[i].GetY(), static_cast<float>(p[1]));
    EXPECT_EQ(gaussians[i].GetZ(), static_cast<float>(p[2]));
  }
  // In the new frame the tensor is diagonal, falling; centres are single precision.
  const Rows after = SecondMoments(gaussians, 0.8);
  for (size_t r = 0; r < 3; ++r)
    for (size_t c = 0; c < 3; ++c)
      EXPECT_NEAR(after[r][c], r == c ? o.eigenvalues[r] : 0.0, 1e-5 * o.eigenvalues[0]);

  // The centre is only reported, with the sign of the shift that would bring it to the origin.
  Gaussians copy = before;
  const Vector found = QXOptimizationSearchOfHermiteCOM(copy, 4, 0.8);
  EXPECT_TRUE(AllNear(o.center, {-found[0], -found[1], -found[2]}, 4 * kEpsilon));
  EXPECT_LT(o.center[1], -0.3);

  Gaussians again = before;
  Vector center, rotation, eigenvalues;
  Rows rows;
  EXPECT_EQ(QXOrientByHermiteMomentsOfInertia(again, 4, 0.8, center, rotation, rows, eigenvalues),
            0);
  EXPECT_EQ(rotation, o.rotation);
}

// Extents fall as x, z, y: the eigenvectors as rows form a left-handed frame.
TEST(Orientation, ALeftHandedFrameIsNegatedWhole) {
  Gaussians gaussians;
  for (const auto& [x, y, z] :
       {std::array{3.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 2.0f}}) {
    const float there[] = {x, y, z}, back[] = {-x, -y, -z};
    gaussians.emplace_back(1.0f, 1.0f, there, 0u);
    gaussians.emplace_back(1.0f, 1.0f, back, 0u);
  }
  const Orientation o(gaussians);
  EXPECT_TRUE(AllNear(o.rotation, {-1, 0, 0, 0, 0, -1, 0, -1, 0}, 16 * kEpsilon));
}

TEST(Orientation, ExpandsWithTheSmallestWidthAndTakesMomentsWithTheThree) {
  Gaussians gaussians = QXTest::RandomGaussians(6, 92);
  const Rows one = SecondMoments(gaussians, 0.7);
  const Orientation o(gaussians, 0.8, 0.7, 1.1);
  const double five = std::pow(0.7, 5);
  EXPECT_NEAR(o.tensor[0][0], one[0][0] * five / (std::pow(0.8, 3) * 0.7 * 1.1), 1e-10);
  EXPECT_NEAR(o.tensor[1][2], one[1][2] * five / (0.8 * std::pow(0.7, 2) * std::pow(1.1, 2)),
              1e-10);
}

}  // namespace
}  // namespace QXHermiteMath
