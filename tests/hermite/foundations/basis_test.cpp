#include "hermite/foundations/basis.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

TEST(Basis, ShellOrderIsOneForEveryWayToReadIt) {
  for (unsigned int N : {0u, 1u, 12u}) {
    const QXHermiteIndex index(N);
    unsigned int i = 0;
    ForShellOrder(N, [&](unsigned int l, unsigned int m, unsigned int n) {
      EXPECT_EQ(GetLmnIndex(l, m, n), i);
      EXPECT_EQ(index(l, m, n), i++);
    });
    EXPECT_EQ(QXHermiteBasisSize(N), i);
  }
  // Nested: 000 001 002 010 011 020 100 101 110 200.
  EXPECT_EQ(reorder(2, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}), (Vector{0, 1, 4, 2, 5, 6, 3, 7, 8, 9}));
}

TEST(Basis, NormsAndSelfOverlapsAreIntegralsOfSquares) {
  constexpr unsigned int N = 20;
  const Vector K = computeKs(N), M = QXCalcHermiteNormalization(N);
  ASSERT_EQ(K.size(), N + 1);
  ASSERT_EQ(M.size(), N + 1);
  bool sameBits = true;
  for (unsigned int k = 0; k <= N; ++k) {
    const double integral = Integrate(
        [&](long double t) { return std::pow(HermiteFunction(k, t), 2.0L); }, -14, 14, 0.125L);
    // One rounding a step of K; of M two, doubled by the square.
    EXPECT_NEAR(K[k] / integral, 1.0, (k + 2) * kEpsilon);
    EXPECT_NEAR(M[k] * M[k] / integral, 1.0, (4 * k + 4) * kEpsilon);
    sameBits = sameBits && M[k] == std::sqrt(K[k]);
  }
  EXPECT_FALSE(sameBits) << "M has a recurrence of its own";

  const QXHermiteOptions options = FixedWidths(4, 0.8, 1.0, 1.3);
  const Vector c = RandomCoefficients(4, 1);
  const auto square = [&](double x, double y, double z) {
    return std::pow(Evaluate(c, options, x, y, z), 2);
  };
  const double byM = QXCalcHermiteSelfOverlap(c, options);
  // Positive terms: the relative error is that of the values, some 30 roundings each.
  EXPECT_NEAR(byM / Integrate3D(square, 10.0, 0.3125), 1.0, 60 * kEpsilon);
  EXPECT_NEAR(QXCalcHermiteSelfOverlap(c, options, K) / byM, 1.0, 40 * kEpsilon);
}

}  // namespace
}  // namespace QXHermiteMath
