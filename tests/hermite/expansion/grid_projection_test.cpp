#include "hermite/expansion/grid_projection.h"

#include "support/grids.h"
#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

/// The triple loop over elements, each with the whole basis. magnitudes: the sums of |terms|.
Vector PlainProjection(QXScalarGrid grid, unsigned int N, const Vector& lambdas,
                       const Vector& center, Vector& magnitudes) {
  std::vector<long double> sum(QXHermiteBasisSize(N));
  magnitudes.assign(sum.size(), 0.0);
  const double volume = std::pow(static_cast<double>(grid.GetSpacing()), 3);
  ForElements(grid, [&](float value, const Vector3d& p) {
    Vector dx(N + 1), dy(N + 1), dz(N + 1);
    QXCalcDoubleNormalizedHermite(N, (p[0] - center[0]) * lambdas[0], dx.data());
    QXCalcDoubleNormalizedHermite(N, (p[1] - center[1]) * lambdas[1], dy.data());
    QXCalcDoubleNormalizedHermite(N, (p[2] - center[2]) * lambdas[2], dz.data());
    size_t i = 0;
    ForShellOrder(N, [&](unsigned int l, unsigned int m, unsigned int n) {
      const double term = static_cast<double>(value) * volume * lambdas[0] * lambdas[1] *
                          lambdas[2] * dx[l] * dy[m] * dz[n];
      sum[i] += term;
      magnitudes[i++] += std::fabs(term);
    });
  });
  return {sum.begin(), sum.end()};
}

TEST(GridProjection, IsThePlainSumOverElementsAtEveryLevel) {
  const Vector lambdas = {0.8, 1.1, 0.6}, center = {0.2, -0.3, 0.1};
  const struct {
    unsigned int N;
    QXScalarGrid grid;
  } cases[] = {
      {0, MakeGrid(1, 1, 1, 0.5f)},
      {3, MakeGrid(4, 8, 2, 0.4f)},
      {5, MakeGrid(19, 7, 5, 0.31f, {0.1f, -0.7f, 1.3f})},
      {16, MakeGrid(6, 5, 9, 0.5f)},
      {2, MakeGrid(0, 3, 3, 0.5f)},
  };
  for (const auto& c : cases) {
    QXScalarGrid grid = c.grid;
    std::mt19937 random(320 + c.N);
    for (unsigned int i = 0; i < grid.GetSize(); ++i)
      grid.GetValues()[i] = static_cast<float>(random()) / 2147483648.0f - 1.0f;
    Vector bounds;
    Vector expected = PlainProjection(grid, c.N, lambdas, center, bounds);
    // A dozen roundings of a term, and one for each addition on its way.
    const double roundings = 12 + grid.GetXDim() + grid.GetYDim() + grid.GetZDim();
    for (double& b : bounds) b = kEpsilon * (roundings * b + 1.0);
    for (double& e : expected) e += 1.0;  // what is there is added to
    for (QXSimdLevel level : SimdLevels()) {
      Vector projected(expected.size(), 1.0);
      ProjectGrid(grid, c.N, lambdas.data(), center.data(), projected.data(), level);
      EXPECT_TRUE(AllWithin(projected, expected, bounds)) << static_cast<int>(level);
    }
  }
}

/// Bounds for the coefficients of a grid that is off by `error` everywhere, by the inequality of
/// Cauchy and Schwarz: the integral of |d_k| over a box of T is at most sqrt(T)/M_k.
Vector ProjectionBounds(const QXScalarGrid& grid, const QXHermiteOptions& options, double error) {
  const double edge = grid.GetXDim() * static_cast<double>(grid.GetSpacing());
  const double root = std::sqrt(GetLambdaProduct(options) * edge * edge * edge);
  Vector bounds;
  ForShellOrder(options.GetNPolyMax(), [&](unsigned int l, unsigned int m, unsigned int n) {
    const long double norms = SquaredNorm(l) * SquaredNorm(m) * SquaredNorm(n);
    bounds.push_back(error * root / static_cast<double>(std::sqrt(norms)));
  });
  return bounds;
}

// The grid of sampled Gaussians has the analytic coefficients. The quadrature itself converges
// beyond all orders; the box ends where the density is below 1e-7; values are floats below 16.
TEST(GridProjection, GivesTheAnalyticExpansionOfGaussians) {
  const Gaussians gaussians = RandomGaussians(6, 330, true);
  const QXHermiteOptions options = FixedWidths(6, 0.9, 1.1, 0.8);
  const QXScalarGrid grid = OnGrid(gaussians, 48, 0.3f);
  QXHermite h;
  EXPECT_TRUE(h.Setup(grid, options));
  EXPECT_TRUE(AllWithin(h.GetCoefficients(), Expanded(gaussians, options).GetCoefficients(),
                        ProjectionBounds(grid, options, 16 * kFloatEpsilon / 2 + 1e-7)));
  EXPECT_EQ(h.GetSelfOverlap(), QXCalcHermiteSelfOverlap(h.GetCoefficients(), options));
  EXPECT_EQ(h.GetExtent(), 49 * static_cast<double>(0.3f));

  // A second projection is added to the first.
  const Vector once = h.GetCoefficients();
  EXPECT_TRUE(h.Setup(grid, options));
  for (size_t i = 0; i < once.size(); ++i) EXPECT_EQ(h.GetCoefficient(i), 2 * once[i]);
}

TEST(GridProjection, ChoosesCenterAndWidthsAsTheOptionsAsk) {
  // Positive values 1 and 3; a negative one has no weight.
  QXScalarGrid grid = MakeGrid(9, 1, 2, 1.0f, {4.0f, -1.0f, 0.5f});
  grid.GetValues()[0] = 1.0f;   // (0, -1, 0)
  grid.GetValues()[13] = 3.0f;  // (4, -1, 1)
  grid.GetValues()[8] = -2.0f;
  QXHermiteOptions options = FixedWidths(2, 0.5, 0.4, 0.3);
  const auto made = [&](const QXScalarGrid& from) {
    QXHermite h;
    EXPECT_TRUE(h.Setup(from, options));
    EXPECT_EQ(h.GetCoefficients().size(), 10u);
    return h;
  };
  EXPECT_EQ(made(grid).GetCenter(), Vector(3, 0.0));
  options.SetUseCenterOfMass(true);
  const Vector center = {3.0, -1.0, 0.75};
  QXHermite h = made(grid);
  EXPECT_EQ(h.GetCenter(), center);
  EXPECT_EQ(Widths(h), (Vector{0.5, 0.4, 0.3}));
  Vector bounds;
  const Vector plain = PlainProjection(grid, 2, Widths(h), center, bounds);
  for (double& b : bounds) b *= 24 * kEpsilon;
  EXPECT_TRUE(AllWithin(h.GetCoefficients(), plain, bounds));

  options.SetUseSingleLambda(true);
  EXPECT_EQ(Widths(made(grid)), Vector(3, 0.3));
  options.SetUseOptimalLambdas(true);
  const Vector best = QXApproxHermiteBestLambda(grid, options, center);
  EXPECT_LT(best[0], best[1]);
  EXPECT_EQ(Widths(made(grid)), Vector(3, best[0]));
  options.SetUseSingleLambda(false);
  EXPECT_EQ(Widths(made(grid)), best);
  EXPECT_EQ(made(MakeGrid(9, 1, 2, 1.0f)).GetCenter(), Vector(3, 0.0));

  QXScalarGrid pair = MakeGrid(2, 1, 1, 0.7f, {0.1f, 0, 0});
  pair.SetValues(std::array{0.1f, 0.3f}.data(), 2);
  const float x[] = {-0.5f * 0.7f + 0.1f, 0.5f * 0.7f + 0.1f};
  const float mean = (0.1f * x[0] + 0.3f * x[1]) / (0.1f + 0.3f);
  EXPECT_EQ(ValueWeightedCenter(pair)[0], mean) << "in single precision";
}

}  // namespace
}  // namespace QXHermiteMath
