#include "hermite/overlay/shape_charge_overlay.h"

#include "hermite/overlay/shape_overlay.h"
#include "support/hermite.h"
#include "support/molecules.h"

namespace QXHermiteMath {
namespace {

const QXHermiteOptions kShape = FixedWidths(8, 0.6, 0.6, 0.6);
const QXHermiteOptions kCharge = FixedWidths(7, 0.7, 0.7, 0.7);
constexpr double kSigma = 1.1, kWeight = 0.5, kOffset = 0.25;
constexpr double kPerfect = 1.0 + kWeight * (1.0 + kOffset);
constexpr const char *kShapeTag = "a shape", *kChargeTag = "a charge";
const Vector kShift = {4, -2, 8}, kBack = {-4, 2, -8};

Vector Shape(QXMol mol) {
  QXMolKit::QXSuppressHydrogens(mol, false, false, true);
  return Expanded(QXMolToGaussians(mol, 1.7), kShape).GetCoefficients();
}
Vector Charge(const QXMol& mol) {
  return Expanded(QXMolToElectroStaticGaussians(mol, kSigma), kCharge).GetCoefficients();
}
// Of two expansions where they stand, by orthogonality.
double Tanimoto(const Vector& a, const Vector& b, const QXHermiteOptions& options) {
  const double O = Overlap(a, b, options);
  return O / (Overlap(a, a, options) + Overlap(b, b, options) - O);
}

class ShapeChargeOverlay : public testing::Test {
 protected:
  struct Result {
    double best = 0;
    QXMol poses;
    Vector shapes, charges, combos;  // the texts
  };
  QXShapeChargeOverlay Overlay(double w = kWeight, double c = kOffset, unsigned int limit = 1000) {
    return {1e-10, limit,         w,         c,         kShape, kCharge, kSigma,
            ref_,  Shift(kShift), kShapeTag, kChargeTag};
  }
  static Result Run(QXShapeChargeOverlay overlay, const QXMol& fit, unsigned int nPoses = 100) {
    Result r;
    r.best = overlay.FindBestOverlay(fit, nPoses, r.poses);
    const std::vector<std::string> tags = {"Shape Tanimoto", "Charge Tanimoto",
                                           "Shape + Charge Tanimoto Combo"};
    for (auto* conf : Conformers(r.poses)) {
      EXPECT_EQ(QXMolKit::QXGetSDTags(*conf), tags);
      EXPECT_TRUE(conf->GetTags().empty()) << "neither tag stays on a pose";
    }
    r.shapes = Texts(r.poses, "Shape Tanimoto");
    r.charges = Texts(r.poses, "Charge Tanimoto");
    r.combos = Texts(r.poses, "Shape + Charge Tanimoto Combo");
    return r;
  }
  Result Run(const QXMol& fit) { return Run(Overlay(), fit); }

  QXMol ref_ = Conformer("losartan"), fit_ = Conformer("ketoprofen");
};

TEST_F(ShapeChargeOverlay, ClimbsTheCombinationFromFourStartsAConformerAndWritesNoFile) {
  const TemporaryFolder folder;
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder / "");
  EXPECT_NEAR(Run(ref_).best, kPerfect, 1e-9) << "a molecule on itself";
  EXPECT_TRUE(std::filesystem::is_empty("."));
  std::filesystem::current_path(before);

  const QXMol both = Drug("ketoprofen");
  Vector expected;
  for (auto* conf : Conformers(both))
    for (const double* turn : {static_cast<const double*>(nullptr), rot_X, rot_Y, rot_Z}) {
      QXMol start(*conf, 1);
      if (turn) QXMolKit::QXRotate(start, turn);
      expected.push_back(Tanimoto(Shape(ref_), Shape(start), kShape) +
                         kWeight * (Tanimoto(Charge(ref_), Charge(start), kCharge) + kOffset));
    }
  std::sort(expected.rbegin(), expected.rend());
  const Result starts = Run(Overlay(kWeight, kOffset, 0), both), found = Run(both);
  ASSERT_EQ(found.combos.size(), 8u);
  EXPECT_TRUE(AllNear(starts.combos, expected, kText));
  EXPECT_NEAR(found.combos[0], found.best, kText);
  for (size_t k = 0; k < 8; ++k) {
    EXPECT_GT(found.combos[k], starts.combos[k]);
    EXPECT_NEAR(found.combos[k], found.shapes[k] + kWeight * (found.charges[k] + kOffset),
                2 * kText);
    // The pose is what has the scores, but for floats and what these bases lose by a shift.
    for (const auto& [result, lost] : {std::pair{&starts, 2 * kText}, {&found, 0.05}}) {
      QXMol pose(*Conformers(result->poses)[k], 1);
      QXMolKit::QXTranslate(pose, kBack.data());
      EXPECT_NEAR(Tanimoto(Shape(ref_), Shape(pose), kShape), result->shapes[k], lost);
      EXPECT_NEAR(Tanimoto(Charge(ref_), Charge(pose), kCharge), result->charges[k], lost);
    }
  }
  EXPECT_EQ(Run(Overlay(), both, 3).combos, Vector(&found.combos[0], &found.combos[3]));

  // The weight trades shape for charge; the offset raises every score and moves nothing.
  const Result level = Run(Overlay(kWeight, 0), both), shape = Run(Overlay(0, 0), both);
  EXPECT_NEAR(found.best, level.best + kWeight * kOffset, 1e-9);
  const Result high = Run(Overlay(kWeight, 1e4), both);
  EXPECT_TRUE(AllNear(Coords(high.poses), Coords(level.poses), 1e-3));
  EXPECT_GT(level.charges[0], shape.charges[0] + 0.01);
  EXPECT_LT(level.shapes[0], shape.shapes[0]);
}

TEST_F(ShapeChargeOverlay, TakesKeptCoefficientsOnlyWhereBothAreThere) {
  const Vector shape = Shape(ref_), charge = Charge(ref_);
  const double afresh = Run(fit_).best;
  fit_.GetActive()->SetData(kShapeTag, shape);
  EXPECT_EQ(Run(fit_).best, afresh) << "one is ignored";
  fit_.GetActive()->SetData(kChargeTag, Vector(3));
  EXPECT_EQ(Run(fit_).best, afresh) << "so are both where one cannot be the fit's";
  fit_.GetActive()->SetData(kChargeTag, charge);
  EXPECT_NEAR(Run(fit_).best, kPerfect, 1e-9);
  EXPECT_EQ(fit_.GetActive()->GetData<Vector>(kChargeTag), charge);
  QXMol pose;  // nor what stands on the molecule
  fit_.SetData(kShapeTag, shape);
  fit_.SetData(kChargeTag, charge);
  EXPECT_NEAR(Overlay().FindLocalMinimum(fit_, shape, charge, pose), kPerfect, 1e-9);
  EXPECT_TRUE(pose.GetTags().empty() && Conformers(pose)[0]->GetTags().empty());

  std::swap(ref_, fit_ = Conformer("ketoprofen"));
  ref_.SetData(kChargeTag, charge);
  EXPECT_LT(Run(fit_).best, 0.9 * kPerfect);
  ref_.SetData(kShapeTag, shape);
  EXPECT_NEAR(Run(fit_).best, kPerfect, 1e-9);
}

// Without any charge its denominator is zero: the score has a guard, the text has none, on purpose.
TEST_F(ShapeChargeOverlay, HydrogensCountForTheChargeAloneAndNoChargeForNothing) {
  QXMol moved = fit_;
  Vector coords = Coords(moved);
  for (unsigned int i = 0; i < moved.NumAtoms(); ++i)
    if (moved.GetAtom(i)->GetAtomicNum() == 1) coords[3 * i] += 1.0;
  moved.SetCoords(coords.data());
  const Result before = Run(Overlay(0, 0, 0), fit_), after = Run(Overlay(0, 0, 0), moved);
  EXPECT_EQ(after.shapes, before.shapes);
  EXPECT_GT(std::fabs(after.charges[0] - before.charges[0]), 1e-3);

  for (QXMol* mol : {&ref_, &fit_})
    for (unsigned int i = 0; i < mol->NumAtoms(); ++i) mol->GetAtom(i)->SetPartialCharge(0);
  const Result none = Run(fit_);
  EXPECT_NEAR(none.best, none.shapes[0] + kWeight * kOffset, 2 * kText);
  EXPECT_TRUE(std::isnan(none.charges[0]));
}

}  // namespace
}  // namespace QXHermiteMath
