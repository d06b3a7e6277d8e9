#include "hermite/overlay/gaussian_overlap.h"

#include "support/counting_new.h"
#include "support/grids.h"
#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

const Vector kPoint = {0.4, -0.9, 2.2, 0.5, -0.375, 0.25};

/// Gaussians of both signs, every other one of one width.
Gaussians Mixed(unsigned int count, unsigned int seed) {
  Gaussians gaussians = RandomGaussians(count, seed, true);
  for (unsigned int i = 0; i < count; i += 2) {
    const QXGaussian& g = gaussians[i];
    const float center[3] = {g.GetX(), g.GetY(), g.GetZ()};
    gaussians[i] = QXGaussian(g.GetAmplitude(), 0.75f, center, 0u);
  }
  return gaussians;
}

/// The overlap by its definition, and the sum of the magnitudes.
std::pair<double, double> PlainOverlap(const Gaussians& ref, const Gaussians& fit,
                                       const Vector& x) {
  const Matrix Q = EulerMatrix(x);
  double sum = 0, magnitudes = 0;
  for (const QXGaussian& r : ref) {
    for (const QXGaussian& f : fit) {
      const double w = r.GetWidth(), v = f.GetWidth();
      const Vector3d d = Q * Vector3d(r.GetX(), r.GetY(), r.GetZ()) -
                         Vector3d(f.GetX() + x[3], f.GetY() + x[4], f.GetZ() + x[5]);
      const double term = double{r.GetAmplitude()} * f.GetAmplitude() *
                          std::pow(std::acos(-1.0) / (w + v), 1.5) *
                          std::exp(-w * v / (w + v) * d.squaredNorm());
      sum += term;
      magnitudes += std::fabs(term);
    }
  }
  return {sum, magnitudes};
}

// Exponents are sums of terms up to 20, so terms are good to some 20 roundings, far ones too.
constexpr double kAccuracy = 100 * kEpsilon;

TEST(GaussianOverlap, IsTheSumOverAllPairsWithExactDerivatives) {
  for (QXCore::QXSimdLevel level : SimdLevels()) {
    QXGaussianOverlap f(level);
    EXPECT_EQ(f(kPoint.data()), 0.0);
    for (unsigned int refs : {17, 0, 1, 3}) {
      const Gaussians ref = Mixed(refs, refs);
      f.SetupRef(ref);  // with the last fit held
      for (unsigned int fits : {17, 0, 1, 3}) {
        const Gaussians fit = Mixed(fits, fits + 50);
        f.Setup(fit);
        const auto [overlap, magnitudes] = PlainOverlap(ref, fit, kPoint);
        const double rounding = kAccuracy * magnitudes;
        EXPECT_NEAR(f(kPoint.data()), -overlap, rounding) << refs << " " << fits;
        EXPECT_TRUE(GradientAgrees(f, kPoint, rounding));

        Vector h(21), g(6), other(6);
        EXPECT_EQ(f.Evaluate(kPoint.data(), h.data(), g.data()), f(kPoint.data(), other.data()));
        EXPECT_TRUE(AllNear(g, other, 10 * rounding));
        std::vector<Vector> columns(6, Vector(6));
        for (size_t i = 0, k = 0; i < 6; ++i)
          for (size_t j = 0; j <= i; ++j) columns[i][j] = columns[j][i] = h[k++];
        const auto gradientAt = [&f](const Vector& x) {
          Vector gradient(6);
          f(x.data(), gradient.data());
          return gradient;
        };
        EXPECT_TRUE(DerivativesAgree(columns, gradientAt, kPoint));
      }
      const auto [self, magnitudes] = PlainOverlap(ref, ref, Vector(6, 0.0));
      EXPECT_NEAR(f.GetRefSelfOverlap(), self, kAccuracy * magnitudes);
      f.Setup(ref);
      EXPECT_EQ(f.GetFitSelfOverlap(), f.GetRefSelfOverlap());
    }
  }
}

TEST(GaussianOverlap, IsWhatTheOverlapOfExpansionsGoesTo) {
  const Gaussians ref = RandomGaussians(6, 7), fit = RandomGaussians(5, 8);
  QXGaussianOverlap exact;
  exact.SetupRef(ref);
  exact.Setup(fit);
  QXHermiteOverlap expanded;
  expanded.SetupRef(ref, FixedWidths(20, 1.3, 1.3, 1.3));
  expanded.Setup(fit, FixedWidths(20, 1.3, 1.3, 1.3));
  // Expansions are projections, so |(a, b) - (a', b')| <= |a - a'| |b| + |a'| |b - b'|.
  const double a = exact.GetRefSelfOverlap(), b = exact.GetFitSelfOverlap();
  const double lostOfA = a - expanded.GetRefSelfOverlap(),
               lostOfB = b - expanded.GetFitSelfOverlap();
  const double bound = std::sqrt(lostOfA * b) + std::sqrt(a * lostOfB);
  EXPECT_LT(bound, 0.01 * std::sqrt(a * b));
  for (const Vector& x : {Vector(6, 0.0), kPoint, Vector{2.5, 1.0, -0.3, -0.25, 0.5, 0.75}})
    EXPECT_NEAR(exact(x.data()), expanded(x.data()), bound);
}

TEST(GaussianOverlap, FarAndFaultyPlacesGiveNothingOrNaN) {
  QXGaussianOverlap f;
  f.SetupRef(Mixed(5, 1));
  f.Setup(Mixed(5, 2));
  Vector far = kPoint, nan = kPoint, gradient(6);
  far[3] = 1e6;
  EXPECT_EQ(f(far.data(), gradient.data()), 0.0);
  EXPECT_EQ(gradient, Vector(6, 0.0));
  nan[1] = std::nan("");
  EXPECT_TRUE(std::isnan(f(nan.data())));
}

TEST(GaussianOverlap, EvaluationsAllocateNothingNorDoFurtherFits) {
  QXGaussianOverlap f;
  const Gaussians fit = Mixed(9, 2);
  f.SetupRef(Mixed(17, 1));
  f.Setup(Mixed(17, 3));
  Vector h(21), g(6);
  const size_t before = allocations;
  f.Setup(fit);
  f(kPoint.data());
  f.Evaluate(kPoint.data(), h.data(), g.data());
  EXPECT_EQ(allocations, before);
}

}  // namespace
}  // namespace QXHermiteMath
