#include "hermite/expansion/gaussian_to_hermite.h"

#include "hermite/expansion/expansion_kernel.h"
#include "support/counting_new.h"
#include "support/grids.h"
#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

TEST(GaussianToHermite, CoefficientsAreProjectionsOfTheDensity) {
  const Gaussians gaussians = RandomGaussians(4, 3, true);
  for (unsigned int N : {0u, 1u, 9u}) {
    const QXHermiteOptions options = FixedWidths(N, 0.7, 0.9, 2.0);
    QXGaussianToHermite engine(N, 0, 0);
    ASSERT_TRUE(engine.Expand(options, gaussians, 0));
    const Vector c = engine.GetHermiteCoefficients(), test = RandomCoefficients(N, 4);
    EXPECT_EQ(engine.GetSelfOverlap(), QXCalcHermiteSelfOverlap(c, options));
    // A projection has the overlap of what is projected with any function of the basis.
    const auto product = [&](double x, double y, double z) {
      return Evaluate(gaussians, x, y, z) * Evaluate(test, options, x, y, z);
    };
    const double norms = std::sqrt(Overlap(c, c, options) * Overlap(test, test, options));
    EXPECT_NEAR(Overlap(c, test, options), Integrate3D(product, 8.0, 0.25), 128 * kEpsilon * norms);
  }
}

TEST(GaussianToHermite, DegreesAndOrdersThatItCannotServe) {
  const Gaussians gaussians = RandomGaussians(3, 4);
  QXGaussianToHermite engine(5, 0, 0), small(3, 0, 0);
  ASSERT_TRUE(engine.Expand(FixedWidths(5, 1, 1, 1), gaussians, 0));
  Vector expected = engine.GetHermiteCoefficients();
  // The size of the convolution tells which options are in force.
  const auto sizeInForce = [&] {
    const Vector ones(7, 1.0);
    Vector sum(84, 0.0);
    engine.CoefficientsConvolution(0, gaussians[0], ones, ones, ones, sum);
    return 84 - std::count(sum.begin(), sum.end(), 0.0);
  };
  EXPECT_FALSE(engine.Expand(FixedWidths(6, 1, 1, 1), {}, 0)) << "above the engine's";
  EXPECT_EQ(engine.GetHermiteCoefficients(), expected);
  EXPECT_EQ(sizeInForce(), 56);

  // A smaller degree fills its 20 coefficients and leaves the tail.
  EXPECT_TRUE(engine.Expand(FixedWidths(3, 2, 1, 1), gaussians, 0));
  small.Expand(FixedWidths(3, 2, 1, 1), gaussians, 0);
  std::copy_n(small.GetHermiteCoefficients().begin(), 20, expected.begin());
  EXPECT_EQ(engine.GetHermiteCoefficients(), expected);

  // An unknown order is refused after coefficients are cleared and options copied.
  EXPECT_FALSE(engine.Expand(FixedWidths(2, 1, 1, 1), gaussians, 5));
  std::fill_n(expected.begin(), 10, 0.0);
  EXPECT_EQ(engine.GetHermiteCoefficients(), expected);
  EXPECT_EQ(sizeInForce(), 10);
}

// Orders 1 and 2 differentiate in the widths, 3 and 4 in a common shift. x: the three variables.
struct At {
  At(const Vector& x, unsigned int order) {
    float t[3] = {static_cast<float>(x[0]), static_cast<float>(x[1]), static_cast<float>(x[2])};
    if (order > 2) QXTranslateGaussians(gaussians, t);
    if (order < 3) SetLambdas(options, x[0], x[1], x[2]);
    EXPECT_TRUE(engine.Expand(options, gaussians, order));
  }
  Gaussians gaussians = RandomGaussians(3, 6, true);
  QXHermiteOptions options = FixedWidths(4, 0.8, 1.0, 1.2);
  QXGaussianToHermite engine{4, 1, 1};
};
// Steps from here are exact when added to centres in float.
const Vector kWidths = {0.8, 1.0, 1.2}, kShift = {0.25, -0.5, 0.125};

TEST(GaussianToHermite, DerivativesAgreeWithDifferences) {
  for (const auto& [order, x] : {std::pair(1u, kWidths), {3u, kShift}}) {
    const auto first = [order = order](const Vector& at) { return At(at, order).engine; };
    const QXGaussianToHermite engine = At(x, order + 1).engine;
    const auto& d = engine.GetSecondDerivatives();  // xx, yy, zz, xy, xz, yz
    const std::array<Vector, 3> rows[] = {
        {d[0], d[3], d[4]}, {d[3], d[1], d[5]}, {d[4], d[5], d[2]}};
    EXPECT_EQ(first(x).GetFirstDerivatives(), engine.GetFirstDerivatives());
    EXPECT_TRUE(DerivativesAgree(
        engine.GetFirstDerivatives(),
        [&](const Vector& at) { return first(at).GetHermiteCoefficients(); }, x));
    for (size_t a = 0; a < 3; ++a)
      EXPECT_TRUE(DerivativesAgree(
          rows[a], [&](const Vector& at) { return first(at).GetFirstDerivatives()[a]; }, x));
  }
}

// Through the public tables, c = CoefficientsConvolution, which adds to what is there.
TEST(GaussianToHermite, TablesGiveCoefficientsAndTheirDerivativesByX) {
  for (const auto& [order, x] : {std::pair(2u, kWidths), {4u, kShift}}) {
    At at(x, order);
    const double lambda = at.options.GetLambdaX(), chain = order == 2 ? lambda * lambda : 1.0;
    Vector fx(9), fy(9), fz(9), d(5), dd(5), c(35, 1.0), dc(35), ddc(35);
    for (const QXGaussian& g : at.gaussians) {
      const double u = std::sqrt(2.0 * g.GetWidth()) / lambda;
      at.engine.BuildF(g.GetWidth(), g.GetX(), 8, lambda, fx);
      at.engine.BuildF(g.GetWidth(), g.GetY(), 8, at.options.GetLambdaY(), fy);
      at.engine.BuildF(g.GetWidth(), g.GetZ(), 8, at.options.GetLambdaZ(), fz);
      if (order == 2) {
        at.engine.BuildFDerivative(4, u, fx, d);
        at.engine.BuildFSecondDerivative(4, u, fx, dd);
      } else {
        at.engine.BuildFSecondArgDerivative(4, u, fx, d);
        at.engine.BuildFSecondArgSecondDerivative(4, u, fx, dd);
      }
      at.engine.CoefficientsConvolution(0, g, fx, fy, fz, c);
      at.engine.CoefficientsConvolution(1, g, d, fy, fz, dc);
      at.engine.CoefficientsConvolution(2, g, dd, fy, fz, ddc);
    }
    for (size_t i = 0; i < 35; ++i) {
      c[i] -= 1.0;
      dc[i] /= chain;  // du = -sqrt(2 w)/lambda^2 dlambda
      ddc[i] = ddc[i] / (chain * chain) - (order == 2 ? 2.0 * dc[i] / lambda : 0.0);
    }
    // Numbers of order 1 to some 20 roundings.
    EXPECT_TRUE(AllNear(c, at.engine.GetHermiteCoefficients(), 64 * kEpsilon));
    EXPECT_TRUE(AllNear(dc, at.engine.GetFirstDerivatives()[0], 64 * kEpsilon));
    EXPECT_TRUE(AllNear(ddc, at.engine.GetSecondDerivatives()[0], 64 * kEpsilon));
  }
}

// The same sums from the public forms, Gaussian by Gaussian. Times the norms, the coefficients are
// at most as large as the root of the self overlap; k steps of a recurrence round k times.
TEST(GaussianToHermite, SumsOfAnyLengthAreThoseOfThePublicForms) {
  for (const auto& [N, count] : {std::pair(0u, 1u), {5u, 32u}, {11u, 33u}, {5u, 70u}}) {
    const Gaussians gaussians = RandomGaussians(count, count, true);
    const QXHermiteOptions options = FixedWidths(N, 0.7, 0.9, 1.5);
    QXGaussianToHermite engine(N, 0, 0);
    const size_t before = allocations;
    ASSERT_TRUE(engine.Expand(options, gaussians, 0));
    EXPECT_EQ(allocations, before);
    Vector fx(N + 1), fy(N + 1), fz(N + 1), c(QXHermiteBasisSize(N)), norms, scaled[2];
    double size = 0;
    for (const QXGaussian& g : gaussians) {
      engine.BuildF(g.GetWidth(), g.GetX(), N, 0.7, fx);
      engine.BuildF(g.GetWidth(), g.GetY(), N, 0.9, fy);
      engine.BuildF(g.GetWidth(), g.GetZ(), N, 1.5, fz);
      engine.CoefficientsConvolution(0, g, fx, fy, fz, c);
      engine.Expand(options, {g}, 0);
      size += std::sqrt(engine.GetSelfOverlap() * 0.7 * 0.9 * 1.5);
    }
    engine.Expand(options, gaussians, 0);
    size_t i = 0;
    ForShellOrder(N, [&](unsigned int l, unsigned int m, unsigned int n) {
      const double norm =
          static_cast<double>(std::sqrt(SquaredNorm(l) * SquaredNorm(m) * SquaredNorm(n)));
      scaled[0].push_back(norm * engine.GetHermiteCoefficients()[i]);
      scaled[1].push_back(norm * c[i++]);
    });
    EXPECT_TRUE(AllNear(scaled[0], scaled[1], 8 * (N + 1) * kEpsilon * size)) << count;
  }
}

// All levels hold the same lanes of Gaussians in other packs, and so add them in another order.
TEST(GaussianToHermite, EveryLevelGivesTheSameSums) {
  constexpr unsigned int N = 4;
  const Gaussians gaussians = RandomGaussians(27, 9, true);
  const kernel::GaussianBatch batch(gaussians);
  const double lambda[] = {0.7, 0.9, 1.5};
  const Vector ones(35, 1.0);
  Vector baseline;
  for (QXCore::QXSimdLevel level : SimdLevels()) {
    std::vector<kernel::BatchRow> rows[3][3];
    Vector sums[10];
    kernel::ExpansionKernel<2, true> kernel{batch, N, lambda, {}, ones.data(), nullptr};
    for (size_t derived = 0; derived < 3; ++derived)
      for (size_t axis = 0; axis < 3; ++axis) {
        rows[derived][axis].resize(N + 5);
        kernel.tables[derived][axis] = rows[derived][axis].data();
      }
    double* targets[10];
    for (size_t t = 0; t < 10; ++t) targets[t] = (sums[t] = Vector(35)).data();
    kernel.targets = targets;
    QXCore::QXRunKernel(level, kernel);
    Vector all;
    for (const Vector& sum : sums) all.insert(all.end(), sum.begin(), sum.end());
    if (baseline.empty()) baseline = all;
    Vector bounds;
    for (double x : baseline) bounds.push_back(1e-13 * std::max(1.0, std::fabs(x)));
    EXPECT_TRUE(AllWithin(all, baseline, bounds));
  }
}

// What lies too far away to be seen adds nothing, at any degree; what lies nowhere spoils the sum.
TEST(GaussianToHermite, FarGaussiansAddNothingAndNonFiniteOnesShow) {
  const Gaussians near = RandomGaussians(3, 10);
  for (unsigned int N : {0u, 10u, 100u}) {
    const auto with = [&](float x) {
      Gaussians gaussians = near;
      const float center[] = {x, 1.0f, -x};
      gaussians.emplace_back(2.0f, 1.0f, center, 0u);
      QXGaussianToHermite engine(N, 0, 0);
      engine.Expand(FixedWidths(N, 1, 1, 1), gaussians, 0);
      return engine.GetHermiteCoefficients();
    };
    for (float x : {60.0f, 5000.0f, 3e38f}) EXPECT_EQ(with(x), with(1e30f)) << x;
    EXPECT_EQ(std::isnan(with(HUGE_VALF).back()), N > 0);
  }
}

// The order of the pairs is pinned by the Hessian of QXHermiteCOMFunc.
TEST(GaussianToHermite, ListsOfShiftDerivativesGrowAndTheFirstAnswer) {
  const Vector q = RandomCoefficients(4, 7);
  QXGaussianToHermite engine = At(kShift, 4).engine;
  const Vector first = engine.GetTranslationalDerivativeConvolution(q);
  const Vector second = engine.GetTranslationalSecondDerivativeConvolution(q);
  ASSERT_TRUE(engine.Expand(FixedWidths(4, 0.8, 1.0, 1.2), RandomGaussians(5, 8), 4));
  EXPECT_EQ(engine.GetTranslationalDerivatives().size(), 6u);
  EXPECT_EQ(engine.GetTranslationalDerivativeConvolution(q), first);
  EXPECT_EQ(engine.GetTranslationalSecondDerivativeConvolution(q), second);
}

}  // namespace
}  // namespace QXHermiteMath
