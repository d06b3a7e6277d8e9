#include "hermite/frame/translation.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

TEST(Translation, MatricesAreOverlapsOfHermiteFunctionsAlsoToNarrowerWidths) {
  for (const auto& [N1, N2] : {std::pair(24u, 24u), {9u, 5u}, {5u, 9u}}) {
    QXHermiteTranslation translation(24);
    for (const auto& [r, s] : {std::pair(1.0, -0.8), {0.6, 1.5}, {1.4, 2.5}}) {
      EXPECT_TRUE(translation.BuildTranslationMatrix(r, s, N1, N2));
      for (unsigned int i = 0; i <= N2; i += 4)
        for (unsigned int j = 0; j <= N1 + 1; j += 5) {
          const auto product = [&, r = r, s = s](long double x) {
            return HermiteFunction(i, x) * HermiteFunction(j, r * x + s);
          };
          // Stable, so to a few roundings a step, in units of the greatest value possible.
          const double scale = static_cast<double>(std::sqrt(SquaredNorm(i) * SquaredNorm(j) / r));
          EXPECT_NEAR(translation.GetTranslationMatrix()[i * (N1 + N2 + 2) + j],
                      Integrate(product, -24, 24, 0.0625L), 8 * (i + j + 2) * kEpsilon * scale)
              << N1 << " to " << N2 << ": " << i << ", " << j << " for " << r << ", " << s;
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
  const Vector t = {0.4, -0.9, 1.2};
  for (const auto& [N1, N2] : {std::pair(3u, 4u), {4u, 2u}, {0u, 0u}}) {
    const QXHermiteOptions source = FixedWidths(N1, 0.7, 0.9, 1.1);
    const QXHermiteOptions target = FixedWidths(N2, 0.8, 0.75, 1.3);
    const unsigned int N = std::max(N1, N2);
    const Vector in = RandomCoefficients(N1, 50), test = RandomCoefficients(N2, 51);
    const size_t B = QXHermiteBasisSize(N2);
    QXHermiteTranslation translation(N);
    const auto translated = [&](const Vector& by, bool leaveUnscaled) {
      Vector c(B);
      EXPECT_TRUE(translation.Translate(by.data(), source, target, in, c, QXHermiteIndex(N),
                                        leaveUnscaled));
      return c;
    };
    // A projection has the overlap of what is projected with any function of the target basis.
    const auto product = [&](double x, double y, double z) {
      return Evaluate(in, source, x - t[0], y - t[1], z - t[2]) * Evaluate(test, target, x, y, z);
    };
    const double norms = std::sqrt(Overlap(in, in, source) * Overlap(test, test, target));
    EXPECT_NEAR(Overlap(translated(t, false), test, target), Integrate3D(product, 11.0, 0.34375),
                64 * kEpsilon * norms);
    Vector scaled = translated(t, true), out(4 * B);
    EXPECT_TRUE(
        translation.TranslateWithDerivatives(t.data(), source, target, in, out, QXHermiteIndex(N)));
    std::vector<Vector> columns = Blocks(out);
    EXPECT_EQ(columns[0], scaled);
    // Derivatives are by s = -lambda t.
    for (double& d : columns[1]) d *= -0.7;
    for (double& d : columns[2]) d *= -0.9;
    for (double& d : columns[3]) d *= -1.1;
    EXPECT_TRUE(DerivativesAgree(
        columns.data() + 1, [&](const Vector& at) { return translated(at, true); }, t));
    ScaleCoeffsByK(N2, scaled);
    EXPECT_EQ(scaled, translated(t, false));
  }
}

}  // namespace
}  // namespace QXHermiteMath
