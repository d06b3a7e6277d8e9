#include "host/molkit/trans.h"

#include <cmath>

#include "molkit_testing.h"

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

TEST(Trans, TransformIsTheExtractedMapOfOneConformer) {
  QXTrans trans;
  for (const double a : {0.3, -1.2, 2.5}) {
    const double c = std::cos(a), s = std::sin(a);
    const double turn[9] = {0, 0, 1, c, -s, 0, s, c, 0}, shift[3] = {4 * c, 5 * s, a};
    trans.Append(QXRotMatrix(turn));
    trans.Append(QXTranslation(shift));
  }
  double r[9];
  double t[3];
  trans.Extract<double, double>(r, t, true);

  QXMol mol = MakeMolecule();
  const Vector before = Coords(mol), other = Coords(*Conformers(mol)[1]);
  Vector expected;
  for (size_t i = 0; i < before.size(); i += 3)
    for (int row = 0; row < 9; row += 3)
      expected.push_back(r[row] * before[i] + r[row + 1] * before[i + 1] +
                         r[row + 2] * before[i + 2] + t[row / 3]);
  trans.Transform(mol.GetActive());
  // Six elements, each narrowing coordinates below 32 by half a unit in the last place, 2^-20, with
  // the errors before it turned into other axes at most sqrt(3) as large in one of them.
  EXPECT_TRUE(AllNear(Coords(mol), expected, 6 * std::sqrt(3.0) * std::exp2(-20)));
  EXPECT_EQ(Coords(*Conformers(mol)[1]), other);
}

TEST(Trans, RotateAndTranslateMoveAllConformers) {
  QXMol mol = MakeMolecule();
  QXTranslate(mol, kShift);
  QXRotate(mol, kQuarterTurnZ);
  const QXMol start = MakeMolecule();
  for (int k = 0; k < 2; ++k) {
    const Vector from = Coords(*Conformers(start)[k]);
    const Vector to = Coords(*Conformers(mol)[k]);
    for (size_t i = 0; i < from.size(); i += 3) {
      EXPECT_EQ(to[i], -(from[i + 1] + 2));
      EXPECT_EQ(to[i + 1], from[i] + 1);
      EXPECT_EQ(to[i + 2], from[i + 2] + 3);
    }
  }
  // Narrowed once: 1e8 + 1 is no float, so that a sum in single precision would give 0.
  QXMol far = QXTest::Carbons({1e8, 1, 1e8});
  const double shear[9] = {1, 1, -1, 0, 1, 0, 0, 0, 1};
  QXRotate(far, shear);
  EXPECT_EQ(Coords(far), Vector({1, 1, 1e8}));
}

}  // namespace
}  // namespace QXMolKit
