#include "hermite/frame/inertial_orientation.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

using Rows = std::vector<Vector>;

struct Orientation {
  explicit Orientation(Gaussians& gaussians, double x = 0.8, double y = 0.8, double z = 0.8) {
    QXOrientByHermiteMomentsOfInertia(gaussians, 4, x, y, z, center, rotation, tensor, eigenvalues);
  }
  Vector center{9, 9}, rotation{9, 9}, eigenvalues{9};  // old contents do not survive
  Rows tensor{{9}};
};

Rows SecondMoments(const Gaussians& gaussians, double lambda) {
  const QXHermite h = Expanded(gaussians, FixedWidths(4, lambda, lambda, lambda));
  const auto moment = [&](unsigned int a, unsigned int b, unsigned int c) {
    return Hermite3DMoment(a, b, c, 4, lambda, lambda, lambda, h.GetCoefficients());
  };
  return {{moment(2, 0, 0), moment(1, 1, 0), moment(1, 0, 1)},
          {moment(1, 1, 0), moment(0, 2, 0), moment(0, 1, 1)},
          {moment(1, 0, 1), moment(0, 1, 1), moment(0, 0, 2)}};
}

TEST(HalfTurns, AreDensitiesTurnedAboutEachAxis) {
  const QXHermiteOptions options = FixedWidths(5, 0.8, 1.0, 1.2);
  const Vector c = RandomCoefficients(5, 90);
  Rows turned(7);
  EXPECT_TRUE(ComputeInertialHermiteVectors(c, options, turned));
  ASSERT_EQ(turned.size(), 3u);
  const double x = 0.7, y = -0.4, z = 1.1;
  EXPECT_EQ(Evaluate(turned[0], options, x, y, z), Evaluate(c, options, x, -y, -z));
  EXPECT_EQ(Evaluate(turned[1], options, x, y, z), Evaluate(c, options, -x, y, -z));
  EXPECT_EQ(Evaluate(turned[2], options, x, y, z), Evaluate(c, options, -x, -y, z));
}

TEST(Eigenvalues, AreSortedWithTheirVectorsAndTiesToTheLowerIndex) {
  const std::pair<Vector, std::array<size_t, 3>> cases[] = {
      {{3, 2, 1}, {0, 1, 2}}, {{3, 1, 2}, {0, 2, 1}}, {{2, 3, 1}, {1, 0, 2}},
      {{1, 3, 2}, {1, 2, 0}}, {{2, 1, 3}, {2, 0, 1}}, {{1, 2, 3}, {2, 1, 0}},
      {{2, 2, 2}, {0, 1, 2}}, {{1, 2, 2}, {1, 2, 0}}, {{2, 1, 2}, {0, 2, 1}}};
  for (const auto& [input, order] : cases) {
    Vector values = input, rotation = {7};
    Rows vectors = {{11, 12, 13}, {21, 22, 23}, {31, 32, 33}};  // eigenvectors are columns
    OrderEigenvaluesHighToLow(values, vectors);
    ComputeRotationMatrix(vectors, rotation);
    ASSERT_EQ(rotation.size(), 10u) << "appended";
    for (size_t k = 0; k < 3; ++k) {
      EXPECT_EQ(values[k], input[order[k]]);
      for (size_t r = 0; r < 3; ++r)
        EXPECT_EQ(rotation[1 + 3 * k + r],
                  10.0 * static_cast<double>(r + 1) + static_cast<double>(order[k] + 1));
    }
  }
  // A zero width gives a tensor that is not finite: reported, and nothing is indexed.
  const Messages messages;
  Gaussians gaussians = RandomGaussians(2, 90);
  const Orientation orientation(gaussians, 0.0, 0.0, 0.0);
  ASSERT_EQ(messages.all.size(), 1u);
  EXPECT_EQ(messages.all[0].first, QXCore::QXErrorLevel::Warning);
  EXPECT_EQ(messages.all[0].second, "Unexpected conditional logical error.");
}

TEST(Orientation, TurnsGaussiansIntoThePrincipalFrameAboutTheOrigin) {
  Gaussians gaussians = RandomGaussians(6, 91);
  for (QXGaussian& g : gaussians) g.SetY(g.GetY() + 1.0f);  // not about their own centre
  Gaussians before = gaussians;
  const Orientation o(gaussians);
  ASSERT_EQ(o.rotation.size(), 9u);
  const Matrix R = Eigen::Map<const Matrix>(o.rotation.data());
  EXPECT_LT((R * R.transpose() - Matrix::Identity()).norm(), 16 * kEpsilon);
  EXPECT_GT(R.determinant(), 0.0);
  for (size_t i = 0; i < gaussians.size(); ++i) {
    const Vector3d p = R * Vector3d(before[i].GetX(), before[i].GetY(), before[i].GetZ());
    EXPECT_EQ(gaussians[i].GetX(), static_cast<float>(p[0]));
    EXPECT_EQ(gaussians[i].GetY(), static_cast<float>(p[1]));
    EXPECT_EQ(gaussians[i].GetZ(), static_cast<float>(p[2]));
  }
  // In the new frame the tensor is diagonal and falls; centres are single precision.
  EXPECT_GE(o.eigenvalues.at(0), o.eigenvalues.at(1));
  EXPECT_GE(o.eigenvalues.at(1), o.eigenvalues.at(2));
  const Rows tensor = SecondMoments(before, 0.8), after = SecondMoments(gaussians, 0.8);
  for (size_t r = 0; r < 3; ++r) {
    EXPECT_TRUE(AllNear(o.tensor[r], tensor[r], 1e-10));
    for (size_t c = 0; c < 3; ++c)
      EXPECT_NEAR(after[r][c], r == c ? o.eigenvalues[r] : 0.0, 1e-5 * o.eigenvalues[0]);
  }
  // The centre is only reported, with the sign of the shift that would bring it to the origin.
  const Vector found = QXOptimizationSearchOfHermiteCOM(before, 4, 0.8);
  EXPECT_TRUE(AllNear(o.center, {-found[0], -found[1], -found[2]}, 4 * kEpsilon));
  EXPECT_LT(o.center[1], -0.3);
}

// Extents fall as x, z, y: the eigenvectors as rows form a left-handed frame.
TEST(Orientation, ALeftHandedFrameIsNegatedWhole) {
  Gaussians gaussians;
  for (float sign : {1.0f, -1.0f}) {
    for (int a = 0; a < 3; ++a) {
      float center[3] = {};
      center[a] = sign * (a == 0 ? 3.0f : a == 1 ? 1.0f : 2.0f);
      gaussians.emplace_back(1.0f, 1.0f, center, 0u);
    }
  }
  EXPECT_TRUE(
      AllNear(Orientation(gaussians).rotation, {-1, 0, 0, 0, 0, -1, 0, -1, 0}, 16 * kEpsilon));
}

TEST(Orientation, ExpandsWithTheSmallestWidthAndTakesMomentsWithTheThree) {
  Gaussians gaussians = RandomGaussians(6, 92);
  const Rows one = SecondMoments(gaussians, 0.7);
  const Orientation o(gaussians, 0.8, 0.7, 1.1);
  const double five = std::pow(0.7, 5);
  EXPECT_NEAR(o.tensor[0][0], one[0][0] * five / (std::pow(0.8, 3) * 0.7 * 1.1), 1e-10);
  EXPECT_NEAR(o.tensor[1][2], one[1][2] * five / (0.8 * std::pow(0.7 * 1.1, 2)), 1e-10);
}

}  // namespace
}  // namespace QXHermiteMath
