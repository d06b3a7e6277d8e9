#include "hermite/expansion/gaussian_to_hermite.h"

#include <functional>
#include <numeric>

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

// With t = lambda x, F_k(u, s) is the integral of h_k(t) exp(-(u t + s)^2/2) dt.
TEST(GaussianIntegrals, TablesAreTheIntegralsAndTheirDerivatives) {
  constexpr unsigned int N = 12;
  constexpr double width = 0.8;
  using L = long double;
  const std::function<L(L, L)> factors[] = {[](L, L) { return 1; }, [](L t, L v) { return -t * v; },
                                            [](L t, L v) { return t * t * (v * v - 1); },
                                            [](L, L v) { return -v; },
                                            [](L, L v) { return v * v - 1; }};
  QXGaussianToHermite engine(N, 1, 1);
  for (double lambda : {0.6, 1.264911064067352, 2.0}) {
    for (double center : {0.0, -1.75, 3.0}) {
      std::vector<std::vector<Running>> r(5, std::vector<Running>(N + 5));
      kernel::BuildF(Running(width), Running(center), N + 4, Running(lambda), r[0].data());
      const Running u = sqrt(Running(width) + Running(width)) / Running(lambda);
      kernel::BuildFDerivative(N, u, r[0].data(), r[1].data());
      kernel::BuildFSecondDerivative(N, u, r[0].data(), r[2].data());
      kernel::BuildFSecondArgDerivative(N, u, r[0].data(), r[3].data());
      kernel::BuildFSecondArgSecondDerivative(N, u, r[0].data(), r[4].data());
      std::vector<Vector> F(5, Vector(N + 5));
      EXPECT_TRUE(engine.BuildF(width, center, N + 4, lambda, F[0]));
      EXPECT_TRUE(engine.BuildFDerivative(N, u.value, F[0], F[1]));
      EXPECT_TRUE(engine.BuildFSecondDerivative(N, u.value, F[0], F[2]));
      EXPECT_TRUE(engine.BuildFSecondArgDerivative(N, u.value, F[0], F[3]));
      EXPECT_TRUE(engine.BuildFSecondArgSecondDerivative(N, u.value, F[0], F[4]));

      const L a = std::sqrt(2 * L{width});
      for (unsigned int k = 0; k <= N; ++k) {
        const double scale = std::exp2(0.5 * k) * std::sqrt(std::tgamma(k + 1.0));
        for (size_t table = 0; table < 5; ++table) {
          const auto integrand = [&](L t) {
            const L v = a / lambda * t - a * center;
            return HermiteFunction(k, t) * std::exp(-v * v / 2) * factors[table](t, v);
          };
          // The quadrature sums magnitudes of up to 100 times the scale in long double.
          const double bound = r[table][k].error + 1e-17 * scale;
          EXPECT_NEAR(F[table][k], static_cast<double>(Integrate(integrand, -24, 24, 0.0625L)),
                      bound)
              << "table " << table << ", k = " << k << ", lambda " << lambda << ", at " << center;
          EXPECT_LT(bound, 1e-10 * scale) << "a bound that proves nothing";
        }
      }
    }
  }
}

TEST(GaussianToHermite, CoefficientsAreProjectionsOfTheDensity) {
  const Gaussians gaussians = RandomGaussians(4, 3, true);
  for (unsigned int N : {0u, 1u, 5u}) {
    const QXHermiteOptions options = FixedWidths(N, 0.7, 0.9, 1.2);
    QXGaussianToHermite engine(N, 0, 0);
    ASSERT_TRUE(engine.Expand(options, gaussians, 0));
    const auto density = [&](double x, double y, double z) { return Evaluate(gaussians, x, y, z); };
    EXPECT_TRUE(AllNear(engine.GetHermiteCoefficients(), Project(density, options, 9.0, 0.28125),
                        2 * kProjectionError));
    EXPECT_EQ(engine.GetSelfOverlap(),
              QXCalcHermiteSelfOverlap(engine.GetHermiteCoefficients(), options));

    // The public tables and convolution give the same; the convolution adds to what is there.
    Vector f[3] = {Vector(N + 5), Vector(N + 5), Vector(N + 5)};
    Vector sum(engine.GetHermiteCoefficients().size(), 1.0);
    for (const QXGaussian& g : gaussians) {
      engine.BuildF(g.GetWidth(), g.GetX(), N, 0.7, f[0]);
      engine.BuildF(g.GetWidth(), g.GetY(), N, 0.9, f[1]);
      engine.BuildF(g.GetWidth(), g.GetZ(), N, 1.2, f[2]);
      engine.CoefficientsConvolution(0, g, f[0], f[1], f[2], sum);
    }
    for (double& v : sum) v -= 1.0;
    EXPECT_TRUE(AllNear(sum, engine.GetHermiteCoefficients(), 64 * kEpsilon));
  }
}

TEST(GaussianToHermite, DegreesAndOrdersThatItCannotServe) {
  const Gaussians gaussians = RandomGaussians(3, 4);
  QXGaussianToHermite engine(5, 0, 0), small(3, 0, 0);
  ASSERT_TRUE(engine.Expand(FixedWidths(5, 1, 1, 1), gaussians, 0));
  const Vector before = engine.GetHermiteCoefficients();
  // The size of the convolution tells which options are in force.
  const auto sizeInForce = [&] {
    const Vector ones(7, 1.0);
    Vector sum(84, 0.0);
    engine.CoefficientsConvolution(0, gaussians[0], ones, ones, ones, sum);
    return 84 - std::count(sum.begin(), sum.end(), 0.0);
  };
  EXPECT_FALSE(engine.Expand(FixedWidths(6, 1, 1, 1), {}, 0)) << "above the engine's";
  EXPECT_EQ(engine.GetHermiteCoefficients(), before);
  EXPECT_EQ(sizeInForce(), 56);

  // A smaller degree fills its 20 coefficients and leaves the tail.
  Vector expected = before;
  small.Expand(FixedWidths(3, 2, 1, 1), gaussians, 0);
  std::copy_n(small.GetHermiteCoefficients().begin(), 20, expected.begin());
  EXPECT_TRUE(engine.Expand(FixedWidths(3, 2, 1, 1), gaussians, 0));
  EXPECT_EQ(engine.GetHermiteCoefficients(), expected);
  EXPECT_EQ(engine.GetSelfOverlap(), small.GetSelfOverlap());

  // An unknown order is refused after coefficients are cleared and options copied.
  EXPECT_FALSE(engine.Expand(FixedWidths(2, 1, 1, 1), gaussians, 5));
  std::fill_n(expected.begin(), 10, 0.0);
  EXPECT_EQ(engine.GetHermiteCoefficients(), expected);
  EXPECT_EQ(sizeInForce(), 10);
}

// Orders 1 and 2 differentiate in the widths, 3 and 4 in a common shift. x: the three variables.
QXGaussianToHermite ExpandAt(const Vector& x, unsigned int order) {
  Gaussians gaussians = RandomGaussians(3, 6, true);
  float t[3] = {static_cast<float>(x[0]), static_cast<float>(x[1]), static_cast<float>(x[2])};
  if (order > 2) QXTranslateGaussians(gaussians, t);
  QXGaussianToHermite engine(4, 1, 1);
  EXPECT_TRUE(
      engine.Expand(order > 2 ? FixedWidths(4, 0.8, 1.0, 1.2) : FixedWidths(4, x[0], x[1], x[2]),
                    gaussians, order));
  return engine;
}

TEST(GaussianToHermite, DerivativesAgreeWithDifferences) {
  for (unsigned int first : {1u, 3u}) {
    // Steps are exact when added to centres in float.
    const Vector x = first == 1 ? Vector{0.8, 1.0, 1.2} : Vector{0.25, -0.5, 0.125};
    const QXGaussianToHermite engine = ExpandAt(x, first + 1);
    EXPECT_EQ(ExpandAt(x, first).GetFirstDerivatives(), engine.GetFirstDerivatives());
    for (size_t i = 0; i < 35; ++i) {
      const auto at = [&](const auto& vectors) {
        Vector values;
        for (const Vector& v : vectors) values.push_back(v[i]);
        return values;
      };
      EXPECT_TRUE(GradientAgrees(
          at(engine.GetFirstDerivatives()),
          [&](const Vector& y) { return ExpandAt(y, first).GetHermiteCoefficients()[i]; }, x));
      const Vector d = at(engine.GetSecondDerivatives());  // xx, yy, zz, xy, xz, yz
      EXPECT_TRUE(HessianAgrees(
          {d[0], d[3], d[1], d[4], d[5], d[2]},
          [&](const Vector& y) { return at(ExpandAt(y, first).GetFirstDerivatives()); }, x));
    }
    if (first == 3) continue;
    EXPECT_EQ(ExpandAt(x, 1).GetSelfOverlapLambdaDerivatives(),
              engine.GetSelfOverlapLambdaDerivatives());
    EXPECT_TRUE(GradientAgrees(
        engine.GetSelfOverlapLambdaDerivatives(),
        [](const Vector& y) { return ExpandAt(y, 1).GetSelfOverlap(); }, x));
    EXPECT_TRUE(HessianAgrees(
        engine.GetSelfOverlapLambdaSecondDerivatives(),
        [](const Vector& y) { return ExpandAt(y, 1).GetSelfOverlapLambdaDerivatives(); }, x));
  }
}

TEST(GaussianToHermite, ListsOfShiftDerivativesGrowAndTheFirstAnswer) {
  const Vector q = RandomCoefficients(4, 7);
  const auto dot = [&](const Vector& v) {
    return std::inner_product(q.begin(), q.end(), v.begin(), 0.0);
  };
  QXGaussianToHermite engine = ExpandAt({0.25, -0.5, 0.125}, 4);
  const auto first = engine.GetFirstDerivatives();
  const auto second = engine.GetSecondDerivatives();
  EXPECT_EQ(engine.GetTranslationalDerivatives().size(), 3u);
  ASSERT_TRUE(engine.Expand(FixedWidths(4, 0.8, 1.0, 1.2), RandomGaussians(5, 8), 4));
  EXPECT_EQ(engine.GetTranslationalDerivatives().size(), 6u);
  EXPECT_TRUE(AllNear(engine.GetTranslationalDerivativeConvolution(q),
                      {dot(first[0]), dot(first[1]), dot(first[2])}, 1e-15));
  // xx, xy, yy, xz, yz, zz, while the vectors are stored as xx, yy, zz, xy, xz, yz.
  EXPECT_TRUE(AllNear(engine.GetTranslationalSecondDerivativeConvolution(q),
                      {dot(second[0]), dot(second[3]), dot(second[1]), dot(second[4]),
                       dot(second[5]), dot(second[2])},
                      1e-15));
}

}  // namespace
}  // namespace QXHermiteMath
