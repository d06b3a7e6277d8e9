#include "hermite/frame/inertial_frame.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

Gaussians At(const std::vector<Vector3d>& places) {
  Gaussians gaussians;
  for (const Vector3d& p : places) {
    const Eigen::Vector3f center = p.cast<float>();
    gaussians.emplace_back(2.7f, 0.8f, center.data(), 0u);
  }
  return gaussians;
}

// Orthonormal, right-handed, and of the half turns the one that the rule takes.
void ExpectProper(const Matrix& R) {
  EXPECT_LT((R * R.transpose() - Matrix::Identity()).norm(), 16 * kEpsilon) << R;
  EXPECT_GT(R.determinant(), 0.0) << R;
  for (int row : {0, 1}) EXPECT_EQ(R.row(row).maxCoeff(), R.row(row).cwiseAbs().maxCoeff()) << R;
}

TEST(InertialFrame, HasFallingSecondMomentsAboutTheMeanPlace) {
  Gaussians gaussians = RandomGaussians(6, 91);  // of many amplitudes and widths
  for (QXGaussian& g : gaussians) g.SetY(g.GetY() + 30.0f);
  const Gaussians before = gaussians;
  const auto frame = FindInertialFrame(gaussians);
  ASSERT_TRUE(frame);
  const Matrix R = Eigen::Map<const Matrix>(frame->rotation.data());
  ExpectProper(R);
  MoveInto(*frame, gaussians);
  for (size_t i = 0; i < 6; ++i) {
    const QXGaussian &a = before[i], &b = gaussians[i];
    const Vector3d p(a.GetX(), a.GetY(), a.GetZ()), moved(b.GetX(), b.GetY(), b.GetZ());
    EXPECT_LT((R * (p - Vector3d::Map(frame->centre.data())) - moved).norm(), 4 * kFloatEpsilon);
  }
  EXPECT_TRUE(AllNear(QXCenterGaussians(gaussians), {0, 0, 0}, 4 * kFloatEpsilon));
  const auto moment = [&](int a, int b) {
    const auto weighted = [&](double x, double y, double z) {
      return Vector3d(x, y, z)[a] * Vector3d(x, y, z)[b] * Evaluate(gaussians, x, y, z);
    };
    return Integrate3D(weighted, 7.0, 0.35);
  };
  const double largest = moment(0, 0);
  EXPECT_GT(largest, 1.1 * moment(1, 1));
  EXPECT_GT(moment(1, 1), 1.1 * moment(2, 2));
  for (const auto& [a, b] : {std::pair(0, 1), {0, 2}, {1, 2}})
    EXPECT_NEAR(moment(a, b), 0.0, 1e-6 * largest);
}

// Where axes cannot be told apart, the frame is one of many, but always a rotation.
TEST(InertialFrame, IsARotationWhateverTheSymmetry) {
  const Vector3d x = Vector3d::UnitX(), y = Vector3d::UnitY(), z = Vector3d::UnitZ();
  const Vector3d along = Vector3d(1, -2, 3).normalized(), away(100, -50, 20);
  const std::pair<std::vector<Vector3d>, Vector3d> cases[] = {
      // and the axis of a rod
      {{away}, {0, 0, 0}},
      {{away, away, away}, {0, 0, 0}},
      {{away + along, away - along}, along},
      {{x, 3 * x, 7 * x}, x},
      {{z, -z}, z},
      {{x, -x, y, -y}, {0, 0, 0}},
      {{x, -x, y, -y, z, -z}, {0, 0, 0}},
      {{away + x + y + z, away + x - y - z, away - x + y - z, away - x - y + z}, {0, 0, 0}}};
  for (const auto& [places, axis] : cases) {
    const auto frame = FindInertialFrame(At(places));
    ASSERT_TRUE(frame);
    const Matrix R = Eigen::Map<const Matrix>(frame->rotation.data());
    ExpectProper(R);
    EXPECT_NEAR(std::fabs(R.row(0).dot(axis)), axis.norm(), 1e-6);
  }
  // Already there: nothing turns.
  const auto there = FindInertialFrame(At({3 * x, -3 * x, 2 * y, -2 * y, z, -z}));
  EXPECT_TRUE(Matrix::Identity().isApprox(Eigen::Map<const Matrix>(there->rotation.data()), 1e-15));
}

TEST(InertialFrame, NeedsGaussiansAtFinitePlaces) {
  EXPECT_FALSE(FindInertialFrame({}));
  for (double bad : {std::nan(""), HUGE_VAL})
    EXPECT_FALSE(FindInertialFrame(At({{0, 0, 0}, {1, bad, 0}, {0, 0, 2}})));
}

}  // namespace
}  // namespace QXHermiteMath
