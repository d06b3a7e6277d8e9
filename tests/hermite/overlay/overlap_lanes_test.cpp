#include "hermite/overlay/overlap_lanes.h"

#include <deque>
#include <random>
#include <set>

#include "hermite/frame/axis_turns.h"
#include "hermite/frame/rotation.h"
#include "hermite/frame/translation.h"
#include "hermite/overlay/overlay_search.h"
#include "hermite/overlay/tanimoto.h"
#include "host/molkit/molstream.h"
#include "support/hermite.h"
#include "support/molecules.h"

namespace QXHermiteMath {
namespace {

using QXCore::QXSimdLevel;

Vector RandomCoefficients(unsigned int N, std::mt19937& random) {
  const Vector norms = QXCalcHermiteNormalization(N);
  Vector c;
  ForShellOrder(N, [&](unsigned int l, unsigned int m, unsigned int n) {
    c.push_back(std::normal_distribution()(random) / (norms[l] * norms[m] * norms[n]));
  });
  return c;
}

// Value and gradient by the dense operators, rotated reference times translated fit.
Vector PlainOverlap(const Vector& ref, const Vector& fit, const QXHermiteOptions& options,
                    const double* x) {
  const unsigned int N = options.GetNPolyMax();
  const QXHermiteIndex index(N);
  Vector R(4 * ref.size()), T(4 * ref.size());
  QXHermiteRotation(N).RotateWithDerivatives(x, N, ref, R, index);
  QXHermiteTranslation(N).TranslateWithDerivatives(x + 3, options, options, fit, T, index);
  const auto dot = [&](size_t i, size_t j) {
    return std::inner_product(R.begin() + i * ref.size(), R.begin() + (i + 1) * ref.size(),
                              T.begin() + j * ref.size(), 0.0) /
           GetLambdaProduct(options);
  };
  return {-dot(0, 0),
          -dot(1, 0),
          -dot(2, 0),
          -dot(3, 0),
          options.GetLambdaX() * dot(0, 1),
          options.GetLambdaY() * dot(0, 2),
          options.GetLambdaZ() * dot(0, 3)};
}

// Degrees that are written out and beyond, widths that differ, angles in all quarters, and lanes at
// every level of the machine: each as if it were alone.
TEST(OverlapLanes, AgreeWithTheDenseOperatorsInEveryLane) {
  std::mt19937 random(7);
  for (unsigned int N : {0u, 1u, 2u, 5u, 10u, 11u, 14u}) {
    const QXHermiteOptions options = FixedWidths(N, 0.8, 0.7, 0.9);
    const Vector ref = RandomCoefficients(N, random);
    for (QXSimdLevel level : {QXSimdLevel::Baseline, QXSimdLevel::AVX2, QXSimdLevel::AVX512}) {
      if (level > QXCore::QXGetSimdLevel()) continue;
      for (size_t fits : {1, 4, 9}) {
        OverlapLanes lanes(level);
        lanes.SetRef(ref.data(), N, options);
        lanes.MakeLanes(fits);
        const unsigned int count = lanes.NumLanes();
        Vector x(6 * count), values(count), gradients(6 * count), valuesAlone(count);
        std::vector<Vector> all;
        for (unsigned int i = 0; i < count; ++i) {
          all.push_back(RandomCoefficients(N, random));
          lanes.SetFit(i, all[i].data());
          for (size_t k = 0; k < 6; ++k)
            x[k * count + i] = std::uniform_real_distribution(-1.0, 1.0)(random) * (k < 3 ? 7 : 2);
        }
        lanes.Evaluate(x.data(), values.data(), gradients.data());
        lanes.Evaluate(x.data(), valuesAlone.data(), nullptr);
        for (unsigned int i = 0; i < count; ++i) {
          Vector own(6), found = {values[i]};
          for (size_t k = 0; k < 6; ++k) own[k] = x[k * count + i];
          for (size_t k = 0; k < 6; ++k) found.push_back(gradients[k * count + i]);
          // Coefficients of length one a function: the overlap is a sum of as many unit terms, and
          // a derivative multiplies each by the degree at most; eight operations deep.
          const double rounding = 8 * (N + 1.0) * static_cast<double>(ref.size()) * kEpsilon /
                                  GetLambdaProduct(options);
          EXPECT_TRUE(AllNear(found, PlainOverlap(ref, all[i], options, own.data()), rounding));
          EXPECT_NEAR(valuesAlone[i], values[i], rounding);
        }
      }
    }
  }
}

// Copies lie anywhere in memory, and what a copy is given is not the original's.
TEST(OverlapLanes, BelongToTheirObject) {
  std::mt19937 random(8);
  const QXHermiteOptions options = FixedWidths(3, 0.8, 0.8, 0.8);
  const Vector ref = RandomCoefficients(3, random), fit = RandomCoefficients(3, random);
  const double x[6] = {0.4, -2.0, 0.3, 0.5, -0.25, 0.1};
  const auto evaluate = [&](QXHermiteOverlap& overlap) {
    Vector result(6);
    result.push_back(overlap(x, result.data()));
    return result;
  };
  QXHermiteOverlap original;
  original.SetupRef(ref, options);
  original.Setup(fit, options);
  const Vector expected = evaluate(original);
  std::deque<QXHermiteOverlap> copies;
  std::vector<Vector> between;
  for (size_t i = 0; i < 16; ++i) {
    between.emplace_back(2 * i + 1);
    copies.push_back(original);
    EXPECT_EQ(evaluate(copies.back()), expected);
    copies.back().Setup(ref, options);
    EXPECT_NE(evaluate(copies.back()), expected);
    copies.back().Setup(fit, options);
    EXPECT_EQ(evaluate(copies.back()), expected);
  }
  QXHermiteOverlap moved = std::move(original);
  original.SetupRef(ref, options);
  original.Setup(fit, options);
  EXPECT_EQ(evaluate(original), expected);
  EXPECT_EQ(evaluate(moved), expected);
  // Far beyond all reach the dense operators take over, and give 0.
  const double far[6] = {4e5, 0, 0, 1e60, 0, 0};
  EXPECT_EQ(moved(far), 0.0);
}

// To the last bit, whatever else is searched at the time.
TEST(OverlapLanes, SearchesEachOf500PairsLikeOneAtATime) {
  std::vector<Vector> conformers;
  const QXHermiteOptions options = FixedWidths(5, 0.6, 0.6, 0.6);
  QXMolKit::qxmolistream file(std::string(QX_TEST_DATA) + "/../../examples/data/drugs.sdf");
  QXMol mol(1);
  while (QXMolKit::QXReadMolecule(file, mol)) {
    Gaussians gaussians = GetHeavyAtomGaussians(mol);
    MoveInto(FindInertialFrame(gaussians).value(), gaussians);
    conformers.push_back(Expanded(gaussians, options).GetCoefficients());
  }
  ASSERT_GE(conformers.size(), 100u);

  constexpr size_t kReferences = 10, kFits = 50;
  for (size_t r = 0; r < kReferences; ++r) {
    const Vector& ref = conformers[r * 10];
    std::vector<Vector> starts;
    for (size_t f = 0; f < kFits; ++f)
      for (auto& start : GetStartCoefficients(conformers[2 * f + 1], options, false))
        starts.push_back(start);
    OverlapLanes lanes;
    lanes.SetRef(ref.data(), 5, options);
    std::vector<OverlayPoint> together(starts.size());
    ShapeLanes all(lanes, PointersTo(starts));
    FindOptima(all, {1e-8, 200}, together);

    QXHermiteOverlap overlap;
    overlap.SetupRef(ref, options);
    for (size_t i = 0; i < starts.size(); ++i) {
      overlap.Setup(starts[i], options);
      const Vector x = FindOptimum(overlap, 1e-8, 200);
      const double alone = TanimotoFromValue(overlap(x.data()), overlap);
      EXPECT_NEAR(TanimotoFromValue(together[i].value, overlap), alone, 1e-6) << r << ", " << i;
    }
    std::vector<OverlayPoint> reversed(starts.size());
    std::reverse(starts.begin(), starts.end());
    ShapeLanes other(lanes, PointersTo(starts));
    FindOptima(other, {1e-8, 200}, reversed);
    for (size_t i = 0; i < starts.size(); ++i)
      EXPECT_EQ(reversed[i].value, together[starts.size() - 1 - i].value);
  }
}

TEST(AxisTurns, AreTheTwentyFourRotationsOfTheAxesAndTurnCoefficientsLikeGaussians) {
  const Gaussians gaussians = RandomGaussians(3, 300);
  const QXHermiteOptions options = FixedWidths(6, 0.8, 0.8, 0.8);
  const Vector before = Expanded(gaussians, options).GetCoefficients();
  std::set<std::array<double, 9>> distinct;
  for (const AxisTurn& turn : GetAxisTurns()) {
    const auto m = turn.Matrix();
    EXPECT_TRUE(distinct.insert(m).second);
    EXPECT_EQ(Eigen::Map<const Matrix>(m.data()).determinant(), 1.0);
    Gaussians turned = gaussians;
    QXRotateGaussians(turned, {m.begin(), m.end()});
    Vector after(before.size());
    TurnOfCoefficients(turn, 6)(before.data(), after.data());
    EXPECT_TRUE(AllNear(after, Expanded(turned, options).GetCoefficients(), 1e-14));
  }
  for (size_t k = 0; k < 3; ++k) {
    const auto m = GetAxisTurns()[k + 1].Matrix();
    EXPECT_TRUE(std::equal(m.begin(), m.end(), GetStartRotation(k + 1)));
  }
}

}  // namespace
}  // namespace QXHermiteMath
