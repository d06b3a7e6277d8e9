#include "hermite/frame/best_lambda.h"

#include "support/grids.h"
#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

TEST(ApproxBestLambda, FollowsFromTheExtentsOnEachAxis) {
  QXHermiteOptions options;
  const auto at = [](float x, float y, float z) {
    const float center[] = {x, y, z};
    return QXGaussian(1.0f, 5.0f, center, 0u);
  };
  for (const auto& [N, w] : {std::pair(0u, 2.0), {63u, 4.0}}) {
    options.SetNPolyMax(N);
    const Vector none = QXApproxHermiteBestLambda({}, options);
    EXPECT_TRUE(AllNear(none, {w / 2, w / 2, w / 2}, 4 * kEpsilon));
    EXPECT_TRUE(AllNear(QXApproxHermiteBestLambda({at(0.5f, -3, 1), at(-0.75f, 2, 7)}, options),
                        {w / 2, w / 4, w / 8}, 4 * kEpsilon));
  }
}

TEST(ApproxBestLambda, OfAGridFollowsFromTheElementsAboveAQuarter) {
  QXHermiteOptions options;
  options.SetNPolyMax(63);  // w = 4
  const auto extents = [&](QXScalarGrid grid, const std::vector<float>& values) {
    std::copy(values.begin(), values.end(), grid.GetValues());
    Vector e;
    for (double lambda : QXApproxHermiteBestLambda(grid, options, {10.0, 0.0, -0.5}))
      e.push_back(4.0 / lambda);
    return e;
  };
  const QXScalarGrid row = MakeGrid(5, 1, 1, 2.0f, {10.0f, 0.0f, 2.5f});  // x - 10: -4, -2, 0, 2, 4
  const struct {
    QXScalarGrid grid;
    std::vector<float> values;
    Vector expected;
  } cases[] = {
      {row, {0, 0, 0, 0, 0}, {1.5, 1.5, 1.5}},
      {MakeGrid(3, 0, 3, 2.0f), {}, {1.5, 1.5, 1.5}},
      {row, {0.25f, 0.5f, 0, 1, 0.25f}, {2.5, 1.5, 3.5}},
      // A negative element is replaced by the next, so that a quarter of 1, not of 8, counts ...
      {row, {0.5f, 4, -8, 1, 0}, {4.5, 1.5, 3.5}},
      // ... and when it comes last, every element is above its quarter.
      {row, {0, 4, 0, 0, -8}, {4.5, 1.5, 3.5}},
  };
  for (const auto& c : cases)
    EXPECT_TRUE(AllNear(extents(c.grid, c.values), c.expected, 32 * kEpsilon));
}

TEST(SelfOverlapFunction, IsMinusTheSelfOverlapWithExactDerivativesInLogWidths) {
  const Gaussians gaussians = RandomGaussians(4, 70);
  for (bool single : {true, false}) {
    QXHermiteOptions options;
    options.SetNPolyMax(4);
    options.SetUseSingleLambda(single);
    QXHermiteSelfOverlap f(options, gaussians), g(options, gaussians);
    const Vector x = single ? Vector{-0.2} : Vector{-0.4, -0.1, 0.3};
    ASSERT_EQ(f.NumVar(), x.size());
    const auto width = [&](size_t a) { return std::exp(x[single ? 0 : a]); };
    const double S =
        Expanded(gaussians, FixedWidths(4, width(0), width(1), width(2))).GetSelfOverlap();
    Vector gradient(3), again(3), hessian(6, -7.0);
    EXPECT_NEAR(f(x.data()), -S, 32 * kEpsilon * S);
    EXPECT_NEAR(g(x.data(), gradient.data()), -S, 32 * kEpsilon * S);
    for (auto* each : {&f, &g}) EXPECT_FALSE(each->GetOptions().GetUseOptimalLambdas());
    EXPECT_TRUE(GradientAgrees(f, x, 32 * kEpsilon * S));
    EXPECT_TRUE(f(x.data(), hessian.data(), again.data()));
    EXPECT_EQ(again, gradient);
    if (single)
      EXPECT_EQ(hessian, Vector(6, -7.0)) << "with one variable it is left unwritten";
    else
      EXPECT_TRUE(HessianAgrees(f, x, 0.0));
  }
}

}  // namespace
}  // namespace QXHermiteMath
