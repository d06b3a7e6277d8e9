#include "hermite/overlay/shape_charge_overlay.h"

#include "hermite/overlay/overlay_search.h"
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
constexpr double kText = 5e-7;  // SD texts have six digits behind the point

QXMol Conformer(const char* title) {
  return QXMol(*Drug(title).GetActive(), 1);
}
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
  Result Run(const QXMol& fit, double w = kWeight, double c = kOffset, unsigned int limit = 1000) {
    QXShapeChargeOverlay overlay(1e-10, limit, w, c, kShape, kCharge, kSigma, ref_, QXTrans(),
                                 kShapeTag, kChargeTag);
    Result r;
    r.best = overlay.FindBestOverlay(fit, 100, r.poses);
    for (auto* conf : Conformers(r.poses)) {
      const auto text = [&](const char* tag) {
        return std::stod(QXMolKit::QXGetSDData(*conf, tag));
      };
      r.shapes.push_back(text("Shape Tanimoto"));
      r.charges.push_back(text("Charge Tanimoto"));
      r.combos.push_back(text("Shape + Charge Tanimoto Combo"));
      EXPECT_TRUE(conf->GetTags().empty()) << "neither tag stays on a pose";
    }
    return r;
  }

  QXMol ref_ = Conformer("losartan"), fit_ = Conformer("ketoprofen");
};

TEST_F(ShapeChargeOverlay, ClimbsTheCombinationFromFourStartsAndWritesNoFile) {
  const TemporaryFolder folder;
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder / "");
  EXPECT_NEAR(Run(ref_).best, kPerfect, 1e-9) << "a molecule on itself";
  EXPECT_TRUE(std::filesystem::is_empty("."));
  std::filesystem::current_path(before);

  Vector expected;
  for (const double* turn : {static_cast<const double*>(nullptr), rot_X, rot_Y, rot_Z}) {
    QXMol start = fit_;
    if (turn) QXMolKit::QXRotate(start, turn);
    expected.push_back(Tanimoto(Shape(ref_), Shape(start), kShape) +
                       kWeight * (Tanimoto(Charge(ref_), Charge(start), kCharge) + kOffset));
  }
  std::sort(expected.rbegin(), expected.rend());
  const Result starts = Run(fit_, kWeight, kOffset, 0), found = Run(fit_);
  EXPECT_TRUE(AllNear(starts.combos, expected, kText));
  EXPECT_TRUE(AllNear({found.combos[0], found.shapes[0] + kWeight * (found.charges[0] + kOffset)},
                      {found.best, found.best}, 2 * kText));
  for (size_t k = 0; k < 4; ++k) EXPECT_GT(found.combos[k], starts.combos[k]);

  // The weight trades shape for charge; the offset raises every score and moves nothing; without
  // both the search is that of the shape Tanimoto.
  const Result level = Run(fit_, kWeight, 0), shape = Run(fit_, 0, 0);
  EXPECT_NEAR(found.best, level.best + kWeight * kOffset, 1e-9);
  EXPECT_TRUE(AllNear(Coords(found.poses), Coords(level.poses), 1e-3));
  EXPECT_GT(level.charges[0], shape.charges[0] + 0.01);
  EXPECT_LT(level.shapes[0], shape.shapes[0]);
  QXShapeComboTanimoto alone;
  alone.SetupRef(Shape(ref_), kShape);
  double best = 0;
  for (const Vector& start : GetStartCoefficients(Shape(fit_), kShape, false)) {
    alone.Setup(start);
    best = std::max(best, -alone(FindOptimum(alone, 1e-10, 1000).data()));
  }
  EXPECT_TRUE(AllNear({shape.best, shape.shapes[0]}, {best, best}, kText));
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
  const Result before = Run(fit_, 0, 0, 0), after = Run(moved, 0, 0, 0);
  EXPECT_EQ(after.shapes, before.shapes);
  EXPECT_FALSE(AllNear(after.charges, before.charges, 1e-3));

  for (QXMol* mol : {&ref_, &fit_})
    for (unsigned int i = 0; i < mol->NumAtoms(); ++i) mol->GetAtom(i)->SetPartialCharge(0);
  const Result none = Run(fit_);
  EXPECT_NEAR(none.best, none.shapes[0] + kWeight * kOffset, 2 * kText);
  EXPECT_TRUE(std::isnan(none.charges[0]));
}

}  // namespace
}  // namespace QXHermiteMath
