#include "hermite/frame/translation.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

double Norm(unsigned int k) {
  return std::exp2(0.5 * k) * std::sqrt(std::tgamma(k + 1.0));
}

TEST(TranslationKernel, MatricesAreOverlapsOfHermiteFunctions) {
  constexpr unsigned int degrees[][2] = {{0, 0}, {0, 3}, {4, 0}, {1, 1}, {7, 5}, {5, 9}, {24, 24}};
  for (const auto& [N1, N2] : degrees) {
    for (const auto& [r, s] : {std::pair(1.0, 0.0), {1.0, -0.8}, {0.6, 0.0}, {1.4, 2.5}}) {
      const unsigned int W = N1 + N2 + 2;
      std::vector<Running> T(HermiteTranslationMatrixSize(N2, N1)), swapped((N1 + 2) * (W + 1));
      std::vector<Running> dT(HermiteTranslationMatrixDerivativeSize(N2, N1));
      kernel::BuildTranslationMatrix(Running(r), Running(s), N1, N2, T.data());
      if (r > 1.0)
        kernel::BuildTranslationMatrixSwapped(Running(r), Running(s), N1, N2, T.data(),
                                              swapped.data());
      kernel::BuildTranslationMatrixDerivative(N1, N2, T.data(), dT.data());
      QXHermiteTranslation translation(std::max(N1, N2));
      EXPECT_TRUE(translation.BuildTranslationMatrix(r, s, N1, N2));
      EXPECT_TRUE(translation.BuildTranslationMatrixDerivative(N1, N2));
      const unsigned int step = N1 < 10 ? 1 : 8;
      for (unsigned int i = 0; i <= N2; i += step) {
        for (unsigned int j = 0; j <= N1; j += step) {
          const auto overlap = [&, r = r, s = s, i = i](auto&& source) {
            return static_cast<double>(
                Integrate([&](long double x) { return HermiteFunction(i, x) * source(r * x + s); },
                          -20, 20, 0.0625L));
          };
          const double value = overlap([j](long double v) { return HermiteFunction(j, v); });
          const double slope = overlap([j](long double v) {
            return (j > 0 ? 2 * j * HermiteFunction(j - 1, v) : 0) - v * HermiteFunction(j, v);
          });
          const double scale = Norm(i) * Norm(j);
          const double quadrature = 1e-17 * scale;  // sums of 10 times the scale in long double
          const Running& bound = T[i * W + j];
          const size_t at = i * (N1 + 1) + j;
          EXPECT_NEAR(translation.GetTranslationMatrix()[i * W + j], value,
                      bound.error + quadrature)
              << N1 << " to " << N2 << ": " << i << ", " << j << " for " << r << ", " << s;
          EXPECT_NEAR(translation.GetTranslationMatrixDerivative()[at], slope,
                      dT[at].error + quadrature)
              << N1 << " to " << N2 << ": " << i << ", " << j << " for " << r << ", " << s;
          EXPECT_LT(bound.error, 1e-5 * scale) << "a bound that proves nothing";
        }
      }
    }
  }
}

TEST(Translation, SizesClampDegreesReadAsSignedToAtLeastOne) {
  EXPECT_EQ(HermiteTranslationMatrixSize(0, 0), 8u);
  EXPECT_EQ(HermiteTranslationMatrixSize(0u - 3u, 0), 8u);
  EXPECT_EQ(HermiteTranslationMatrixSize(2, 4), 24u);
  EXPECT_EQ(HermiteTranslationMatrixDerivativeSize(0, 0), 4u);
  EXPECT_EQ(HermiteTranslationMatrixDerivativeSize(0u - 3u, 4), 10u);
}

TEST(Translation, ProjectsTheMovedDensityOnTheTargetWithExactDerivatives) {
  for (const auto& [N1, N2] : {std::pair(3u, 4u), {4u, 2u}, {0u, 0u}}) {
    const QXHermiteOptions source = FixedWidths(N1, 0.7, 0.9, 1.1);
    const QXHermiteOptions target = FixedWidths(N2, 0.8, 0.75, 1.3);
    const double lambda[] = {0.7, 0.9, 1.1};
    const unsigned int N = std::max(N1, N2);
    const Vector t = {0.4, -0.9, 1.2}, in = RandomCoefficients(N1, 50);
    const size_t B = QXHermiteBasisSize(N2);
    QXHermiteTranslation translation(N);
    const auto translated = [&](const Vector& by, bool leaveUnscaled) {
      Vector out(B);
      EXPECT_TRUE(translation.Translate(by.data(), source, target, in, out, QXHermiteIndex(N),
                                        leaveUnscaled));
      return out;
    };
    const auto moved = [&](double x, double y, double z) {
      return Evaluate(in, source, x - t[0], y - t[1], z - t[2]);
    };
    EXPECT_TRUE(
        AllNear(translated(t, false), Project(moved, target, 11.0, 0.34375), 3 * kProjectionError));

    Vector out(4 * B);
    EXPECT_TRUE(
        translation.TranslateWithDerivatives(t.data(), source, target, in, out, QXHermiteIndex(N)));
    for (size_t i = 0; i < B; ++i) {
      EXPECT_EQ(out[i], translated(t, true)[i]);
      // Derivatives are by s = -lambda t.
      EXPECT_TRUE(GradientAgrees(
          {-lambda[0] * out[B + i], -lambda[1] * out[2 * B + i], -lambda[2] * out[3 * B + i]},
          [&](const Vector& at) { return translated(at, true)[i]; }, t));
    }
    Vector scaled(out.begin(), out.begin() + static_cast<long>(B));
    ScaleCoeffsByK(N2, scaled);
    EXPECT_EQ(scaled, translated(t, false));
  }
}

}  // namespace
}  // namespace QXHermiteMath
