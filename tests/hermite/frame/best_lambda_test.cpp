#include "hermite/frame/best_lambda.h"

#include <gtest/gtest.h>

#include "hermite/expansion/hermite.h"
#include "support/density.h"
#include "support/numerics.h"

namespace QXHermiteMath {
namespace {

using QXTest::kEpsilon;
using QXTest::Vector;

TEST(ApproxBestLambda, FollowsFromTheExtentsOnEachAxis) {
  QXHermiteOptions options;
  const auto at = [](float x, float y, float z) {
    const float center[] = {x, y, z};
    return QXGaussian(1.0f, 5.0f, center, 0u);
  };
  for (const auto& [N, w] : {std::pair(0u, 2.0), {63u, 4.0}}) {
    options.SetNPolyMax(N);
    EXPECT_TRUE(QXTest::AllNear(QXApproxHermiteBestLambda({}, options), {w / 2, w / 2, w / 2},
                                4 * kEpsilon));
    EXPECT_EQ(QXApproxHermiteBestLambda({at(0, 0, 0)}, options),
              QXApproxHermiteBestLambda({}, options));
    EXPECT_TRUE(
        QXTest::AllNear(QXApproxHermiteBestLambda({at(0.5f, -3, 1), at(-0.75f, 2, 7)}, options),
                        {w / 2, w / 4, w / 8}, 4 * kEpsilon));
  }
}

class SelfOverlapFunction : public testing::TestWithParam<bool> {};

TEST_P(SelfOverlapFunction, IsMinusTheSelfOverlapWithExactDerivativesInLogWidths) {
  const bool single = GetParam();
  const QXTest::Gaussians gaussians = QXTest::RandomGaussians(4, 70);
  QXHermiteOptions options;
  options.SetNPolyMax(4);
  options.SetUseSingleLambda(single);
  QXHermiteSelfOverlap f(options, gaussians);
  const Vector x = single ? Vector{-0.2} : Vector{-0.4, -0.1, 0.3};
  ASSERT_EQ(f.NumVar(), x.size());

  QXHermite h;
  const auto width = [&](size_t a) { return std::exp(x[single ? 0 : a]); };
  h.Setup(gaussians, QXTest::FixedWidths(4, width(0), width(1), width(2)));
  EXPECT_NEAR(f(x.data()), -h.GetSelfOverlap(), 32 * kEpsilon * h.GetSelfOverlap());

  Vector gradient(x.size()), again(x.size()), hessian(6, -7.0);
  EXPECT_NEAR(f(x.data(), gradient.data()), -h.GetSelfOverlap(),
              32 * kEpsilon * h.GetSelfOverlap());
  EXPECT_TRUE(QXTest::GradientAgrees(
      gradient, [&](const Vector& at) { return f(at.data()); }, x, 0.00390625));
  EXPECT_TRUE(f(x.data(), hessian.data(), again.data()));
  EXPECT_EQ(again, gradient);
  if (single) {
    EXPECT_EQ(hessian, Vector(6, -7.0)) << "with one variable it is left unwritten";
    return;
  }
  const Vector rows[] = {{hessian[0], hessian[1], hessian[3]},
                         {hessian[1], hessian[2], hessian[4]},
                         {hessian[3], hessian[4], hessian[5]}};
  for (size_t a = 0; a < 3; ++a)
    EXPECT_TRUE(QXTest::GradientAgrees(
        rows[a],
        [&](const Vector& at) {
          Vector g(3);
          f(at.data(), g.data());
          return g[a];
        },
        x, 0.00390625));
}

INSTANTIATE_TEST_SUITE_P(BestLambda, SelfOverlapFunction, testing::Bool());

TEST(SelfOverlapFunction, CountsItsVariablesByTheOptionsAtEachCall) {
  QXHermiteSelfOverlap f(QXHermiteOptions(), {});
  EXPECT_EQ(f.NumVar(), 1u);
  f.GetOptions().SetUseSingleLambda(false);
  EXPECT_EQ(f.NumVar(), 3u);
}

}  // namespace
}  // namespace QXHermiteMath
