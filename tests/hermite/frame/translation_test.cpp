#include "hermite/frame/translation.h"

#include <gtest/gtest.h>

#include "hermite/frame/translation_kernel.h"
#include "support/density.h"
#include "support/numerics.h"
#include "support/running.h"

namespace QXHermiteMath {
namespace {

using QXTest::AllNear;
using QXTest::FixedWidths;
using QXTest::kEpsilon;
using QXTest::Running;
using QXTest::Vector;

double Norm(unsigned int k) {
  return std::exp2(0.5 * k) * std::sqrt(std::tgamma(k + 1.0));
}

TEST(TranslationKernel, MatricesAreOverlapsOfHermiteFunctions) {
  constexpr unsigned int degrees[][2] = {{0, 0}, {0, 3}, {4, 0}, {1, 1}, {7, 5}, {5, 9}};
  for (const auto& [N1, N2] : degrees) {
    for (const auto& [r, s] : {std::pair(1.0, 0.0), {1.0, -0.8}, {0.6, 0.0}, {1.4, 2.5}}) {
      const unsigned int W = N1 + N2 + 2;
      std::vector<Running> T(HermiteTranslationMatrixSize(N2, N1));
      std::vector<Running> dT(HermiteTranslationMatrixDerivativeSize(N2, N1));
      kernel::BuildTranslationMatrix(Running(r), Running(s), N1, N2, T.data());
      kernel::BuildTranslationMatrixDerivative(N1, N2, T.data(), dT.data());
      QXHermiteTranslation translation(std::max(N1, N2));
      EXPECT_TRUE(translation.BuildTranslationMatrix(r, s, N1, N2));
      EXPECT_TRUE(translation.BuildTranslationMatrixDerivative(N1, N2));
      for (unsigned int i = 0; i <= N2; ++i) {
        for (unsigned int j = 0; j <= N1; ++j) {
          const auto overlap = [&, r = r, s = s, i = i](auto&& source) {
            return static_cast<double>(QXTest::Integrate(
                [&](long double x) { return QXTest::HermiteFunction(i, x) * source(r * x + s); },
                -20, 20, 0.0625L));
          };
          const double value =
              overlap([j = j](long double v) { return QXTest::HermiteFunction(j, v); });
          const double slope = overlap([j = j](long double v) {
            const long double lower = j > 0 ? 2 * j * QXTest::HermiteFunction(j - 1, v) : 0.0L;
            return lower - v * QXTest::HermiteFunction(j, v);
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
          EXPECT_LT(bound.error, 1e-9 * scale) << "a bound that proves nothing";
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

Vector Translated(const Vector& t, const QXHermiteOptions& source, const QXHermiteOptions& target,
                  const Vector& in, bool leaveUnscaled) {
  const unsigned int N = std::max(source.GetNPolyMax(), target.GetNPolyMax());
  QXHermiteTranslation translation(N);
  Vector out(QXHermiteBasisSize(target.GetNPolyMax()));
  EXPECT_TRUE(
      translation.Translate(t.data(), source, target, in, out, QXHermiteIndex(N), leaveUnscaled));
  return out;
}

// The sum over both bases, with the matrices of each axis from the class.
TEST(Translation, AgreesWithThePlainTripleSum) {
  for (const auto& [N1, N2] : {std::pair(0u, 0u), {6u, 6u}, {3u, 7u}, {7u, 2u}}) {
    const QXHermiteOptions source = FixedWidths(N1, 0.7, 0.9, 1.1);
    const QXHermiteOptions target = FixedWidths(N2, 0.8, 0.8, 1.3);
    const double from[] = {0.7, 0.9, 1.1}, to[] = {0.8, 0.8, 1.3};
    const Vector t = {0.4, -0.9, 1.5};
    const Vector in = QXTest::RandomCoefficients(N1, 40 + N1);
    const unsigned int W = N1 + N2 + 2;
    Vector T[3];
    for (size_t a = 0; a < 3; ++a) {
      QXHermiteTranslation axis(std::max(N1, N2));
      axis.BuildTranslationMatrix(from[a] / to[a], -from[a] * t[a], N1, N2);
      T[a] = axis.GetTranslationMatrix();
    }
    Vector expected, bounds;
    QXTest::ForShellOrder(N2, [&, N1 = N1](unsigned int i, unsigned int j, unsigned int k) {
      double sum = 0, magnitude = 0;
      size_t place = 0;
      QXTest::ForShellOrder(N1, [&](unsigned int l, unsigned int m, unsigned int n) {
        const double term = T[0][i * W + l] * T[1][j * W + m] * T[2][k * W + n] * in[place++];
        sum += term;
        magnitude += std::fabs(term);
      });
      expected.push_back(sum);
      // Roundings: all terms here; three times N1 + 1 there.
      bounds.push_back((QXHermiteBasisSize(N1) + 3 * N1 + 9) * kEpsilon * magnitude);
    });
    EXPECT_TRUE(QXTest::AllWithin(Translated(t, source, target, in, true), expected, bounds));
  }
}

TEST(Translation, GivesTheProjectionOfTheMovedDensityOnTheTarget) {
  const QXHermiteOptions source = FixedWidths(3, 0.7, 0.9, 1.1);
  const QXHermiteOptions target = FixedWidths(4, 0.8, 0.75, 1.3);
  const Vector t = {0.4, -0.9, 1.2};
  const Vector in = QXTest::RandomCoefficients(3, 50);
  const Vector expected = QXTest::Project(
      [&](double x, double y, double z) {
        return QXTest::Evaluate(in, source, x - t[0], y - t[1], z - t[2]);
      },
      target, 11.0, 0.34375);
  // Naive sums of 3e5 terms of either sign, densities of order 3.
  EXPECT_TRUE(AllNear(Translated(t, source, target, in, false), expected, 600 * kEpsilon * 3));
  EXPECT_TRUE(AllNear(Translated({0, 0, 0}, source, source, in, false), in, 32 * kEpsilon));
}

TEST(Translation, DerivativesAreByScaledShiftsAndUnscaled) {
  for (const auto& [N1, N2] : {std::pair(4u, 3u), {2u, 4u}, {0u, 0u}}) {
    const QXHermiteOptions source = FixedWidths(N1, 0.7, 0.9, 1.1);
    const QXHermiteOptions target = FixedWidths(N2, 0.8, 0.75, 1.3);
    const double lambda[] = {0.7, 0.9, 1.1};
    const Vector t = {0.4, -0.9, 1.2};
    const Vector in = QXTest::RandomCoefficients(N1, 60);
    const size_t B = QXHermiteBasisSize(N2);
    QXHermiteTranslation translation(std::max(N1, N2));
    Vector out(4 * B);
    EXPECT_TRUE(translation.TranslateWithDerivatives(t.data(), source, target, in, out,
                                                     QXHermiteIndex(std::max(N1, N2))));
    EXPECT_EQ(Vector(out.begin(), out.begin() + static_cast<long>(B)),
              Translated(t, source, target, in, true));
    for (size_t i = 0; i < B; ++i) {
      Vector byT;
      for (size_t a = 0; a < 3; ++a) byT.push_back(-lambda[a] * out[(a + 1) * B + i]);
      EXPECT_TRUE(QXTest::GradientAgrees(
          byT, [&](const Vector& at) { return Translated(at, source, target, in, true)[i]; }, t,
          0.00390625));
    }
  }
}

}  // namespace
}  // namespace QXHermiteMath
