#include "hermite/frame/inertial_orientation.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

using Rows = std::vector<Vector>;

struct Orientation {
  explicit Orientation(Gaussians& gaussians, double x = 0.8, double y = 0.8, double z = 0.8,
                       unsigned int N = 4) {
    QXOrientByHermiteMomentsOfInertia(gaussians, N, x, y, z, center, rotation, tensor, eigenvalues);
  }
  Vector center{9, 9}, rotation{9, 9}, eigenvalues{9};  // old contents do not survive
  Rows tensor{{9}};
};

// Of the expansion at one width, the moments taken with three.
Rows SecondMoments(const Gaussians& gaussians, double width, double x, double y, double z) {
  const QXHermite h = Expanded(gaussians, FixedWidths(4, width, width, width));
  const auto moment = [&](unsigned int a, unsigned int b, unsigned int c) {
    return Hermite3DMoment(a, b, c, 4, x, y, z, h.GetCoefficients());
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
  EXPECT_EQ(Evaluate(turned[0], options, 1, 2, 3), Evaluate(c, options, 1, -2, -3));
  EXPECT_EQ(Evaluate(turned[1], options, 1, 2, 3), Evaluate(c, options, -1, 2, -3));
  EXPECT_EQ(Evaluate(turned[2], options, 1, 2, 3), Evaluate(c, options, -1, -2, 3));
}

TEST(Eigenvalues, AreSortedWithTheirVectorsAndTiesToTheLowerIndex) {
  const std::pair<Vector, std::array<size_t, 3>> cases[] = {
      {{3, 2, 1}, {0, 1, 2}}, {{3, 1, 2}, {0, 2, 1}}, {{2, 3, 1}, {1, 0, 2}},
      {{1, 3, 2}, {1, 2, 0}}, {{2, 1, 3}, {2, 0, 1}}, {{1, 2, 3}, {2, 1, 0}},
      {{2, 2, 2}, {0, 1, 2}}, {{1, 2, 2}, {1, 2, 0}}, {{2, 1, 2}, {0, 2, 1}}};
  for (const auto& [input, order] : cases) {
    Vector values = input, rotation = {7}, expected = {7};
    Rows vectors = {{11, 12, 13}, {21, 22, 23}, {31, 32, 33}};  // eigenvectors are columns
    for (size_t k : order)
      for (const Vector& row : vectors) expected.push_back(row[k]);
    OrderEigenvaluesHighToLow(values, vectors);
    ComputeRotationMatrix(vectors, rotation);
    EXPECT_EQ(rotation, expected) << "appended";
    EXPECT_EQ(values, (Vector{input[order[0]], input[order[1]], input[order[2]]}));
  }
  // A zero width gives a tensor that is not finite: reported, and nothing is indexed.
  const Messages messages;
  Gaussians gaussians = RandomGaussians(2, 90);
  const Orientation orientation(gaussians, 0.0, 0.0, 0.0);
  EXPECT_EQ(messages.all,
            (std::vector<Messages::Message>{
                {QXCore::QXErrorLevel::Warning, "Unexpected conditional logical error."}}));
}

TEST(Orientation, TurnsGaussiansIntoThePrincipalFrameAboutTheOrigin) {
  Gaussians gaussians = RandomGaussians(6, 91);
  for (QXGaussian& g : gaussians) g.SetY(g.GetY() + 1.0f);  // not about their own centre
  const Gaussians before = gaussians;
  const Orientation o(gaussians);
  ASSERT_EQ(o.rotation.size(), 9u);
  const Matrix R = Eigen::Map<const Matrix>(o.rotation.data());
  EXPECT_LT((R * R.transpose() - Matrix::Identity()).norm(), 16 * kEpsilon);
  EXPECT_GT(R.determinant(), 0.0);
  for (size_t i = 0; i < gaussians.size(); ++i) {
    const QXGaussian &a = before[i], &b = gaussians[i];
    const Vector3d p = R * Vector3d(a.GetX(), a.GetY(), a.GetZ());
    EXPECT_EQ(p.cast<float>(), Eigen::Vector3f(b.GetX(), b.GetY(), b.GetZ()));
  }
  // In the new frame the tensor is diagonal and falls; centres are single precision.
  EXPECT_GE(o.eigenvalues.at(0), o.eigenvalues.at(1));
  EXPECT_GE(o.eigenvalues.at(1), o.eigenvalues.at(2));
  const Rows after = SecondMoments(gaussians, 0.8, 0.8, 0.8, 0.8);
  for (size_t r = 0; r < 3; ++r)
    for (size_t c = 0; c < 3; ++c)
      EXPECT_NEAR(after[r][c], r == c ? o.eigenvalues[r] : 0.0, 1e-5 * o.eigenvalues[0]);
}

TEST(Orientation, TakesMomentsWithThreeWidthsAndTheCenterWithTheirMean) {
  Gaussians gaussians = RandomGaussians(6, 92), before = gaussians, again = gaussians;
  const Orientation o(gaussians, 0.8, 0.7, 1.1);
  EXPECT_EQ(o.tensor, SecondMoments(before, 0.7, 0.8, 0.7, 1.1)) << "expanded with the smallest";
  // The centre is only reported, with the sign of the shift that would bring it to the origin.
  const double mean = (0.7 + 0.8 + 1.1) * 0.3333333333333333;
  const Vector found = QXOptimizationSearchOfHermiteCOM(before, 4, mean);
  EXPECT_EQ(o.center, (Vector{-found[0], -found[1], -found[2]}));
  // A degree that the options refuse leaves theirs in force, 5.
  const Messages messages;
  EXPECT_EQ(Orientation(before, 0.8, 0.7, 1.1, 101).tensor,
            Orientation(again, 0.8, 0.7, 1.1, 5).tensor);
}

// Extents fall as x, z, y: the eigenvectors as rows form a left-handed frame.
TEST(Orientation, ALeftHandedFrameIsNegatedWhole) {
  Gaussians gaussians;
  for (float d : {1.0f, -1.0f})
    for (const auto& [x, y, z] : {std::array{3 * d, 0.f, 0.f}, {0.f, d, 0.f}, {0.f, 0.f, 2 * d}}) {
      const float center[] = {x, y, z};
      gaussians.emplace_back(1.0f, 1.0f, center, 0u);
    }
  EXPECT_TRUE(
      AllNear(Orientation(gaussians).rotation, {-1, 0, 0, 0, 0, -1, 0, -1, 0}, 16 * kEpsilon));
}

}  // namespace
}  // namespace QXHermiteMath
