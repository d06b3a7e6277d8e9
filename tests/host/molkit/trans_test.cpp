#include "host/molkit/trans.h"

#include <cmath>
#include <random>

#include "molkit_testing.h"
#include "support/check.h"

namespace QXMolKit {
namespace {

using QXTest::AllNear;
using Vector = std::vector<double>;

constexpr double kShift[3] = {1, 2, 3};
constexpr double kQuarterTurnZ[9] = {0, -1, 0, 1, 0, 0, 0, 0, 1};  // x goes to y

TEST(Trans, ExtractFoldsInOrder) {
  double r[9] = {7, 7, 7, 7, 7, 7, 7, 7, 7};
  double t[3] = {7, 7, 7};
  QXTrans trans;
  EXPECT_EQ(trans.GetTransforms(), nullptr);
  trans.Extract<double, double>(r, t, true);
  EXPECT_EQ(Vector(r, r + 9), Vector({1, 0, 0, 0, 1, 0, 0, 0, 1}));
  EXPECT_EQ(Vector(t, t + 3), Vector({0, 0, 0}));

  trans.Append(QXTranslation(kShift));
  trans.Append(QXRotMatrix(kQuarterTurnZ));
  const QXTrans copy = trans;
  trans.Clear();
  copy.Extract<double, double>(r, t, true);
  EXPECT_EQ(Vector(r, r + 9), Vector(kQuarterTurnZ, kQuarterTurnZ + 9));
  EXPECT_EQ(Vector(t, t + 3), Vector({-2, 1, 3}));
  copy.Extract<double, double>(r, t, false);  // once more on top: m (m (p + t) + t)
  EXPECT_EQ(Vector(r, r + 9), Vector({-1, 0, 0, 0, -1, 0, 0, 0, 1}));
  EXPECT_EQ(Vector(t, t + 3), Vector({-3, -1, 6}));
}

TEST(Trans, TransformIsTheExtractedMap) {
  std::mt19937 random(11);
  std::uniform_real_distribution<double> uniform(-5, 5);
  QXTrans trans;
  for (int i = 0; i < 6; ++i) {
    const double a = uniform(random);
    const double m[9] = {std::cos(a), -std::sin(a), 0, std::sin(a), std::cos(a), 0, 0, 0, 1};
    const double turned[9] = {0, 0, 1, m[0], m[1], 0, m[3], m[4], 0};  // rows permuted
    const double t[3] = {uniform(random), uniform(random), uniform(random)};
    if (i % 2) {
      trans.Append(QXTranslation(t));
    } else {
      trans.Append(QXRotMatrix(turned));
    }
  }
  double r[9];
  double t[3];
  trans.Extract<double, double>(r, t, true);

  QXMol mol = MakeMolecule();
  const Vector before = CoordsOf(mol);
  const Vector other = CoordsOf(*Confs(mol)[1]);
  Vector expected;
  for (size_t i = 0; i < before.size(); i += 3) {
    for (int row = 0; row < 3; ++row) {
      expected.push_back(r[3 * row] * before[i] + r[3 * row + 1] * before[i + 1] +
                         r[3 * row + 2] * before[i + 2] + t[row]);
    }
  }
  trans.Transform(mol.GetActive());
  // Six elements, each narrowing coordinates below 32 by half a unit in the last place, 2^-20, with
  // the errors before it turned into other axes at most sqrt(3) as large in one of them.
  EXPECT_TRUE(AllNear(CoordsOf(mol), expected, 6 * std::sqrt(3.0) * std::exp2(-20)));
  EXPECT_EQ(CoordsOf(*Confs(mol)[1]), other) << "one conformer only";
}

TEST(Trans, RotateAndTranslateMoveAllConformers) {
  QXMol mol = MakeMolecule();
  QXTranslate(mol, kShift);
  QXRotate(mol, kQuarterTurnZ);
  const QXMol start = MakeMolecule();
  for (int k = 0; k < 2; ++k) {
    const Vector from = CoordsOf(*Confs(start)[k]);
    const Vector to = CoordsOf(*Confs(mol)[k]);
    for (size_t i = 0; i < from.size(); i += 3) {
      EXPECT_EQ(to[i], -(from[i + 1] + 2));
      EXPECT_EQ(to[i + 1], from[i] + 1);
      EXPECT_EQ(to[i + 2], from[i + 2] + 3);
    }
  }
  // Narrowed once: 1e8 + 1 is no float, so that a sum in single precision would give 0.
  QXMol far;
  far.NewAtom(6);
  const double place[3] = {1e8, 1, 1e8};
  far.SetCoords(place);
  const double shear[9] = {1, 1, -1, 0, 1, 0, 0, 0, 1};
  QXRotate(far, shear);
  EXPECT_EQ(CoordsOf(far), Vector({1, 1, 1e8}));
}

}  // namespace
}  // namespace QXMolKit
