#include "hermite/overlay/shape_overlay.h"

#include "host/molkit/molstream.h"
#include "support/hermite.h"
#include "support/molecules.h"

namespace QXHermiteMath {
namespace {

const QXHermiteOptions kOptions = FixedWidths(8, 0.6, 0.6, 0.6);

Gaussians HeavyAtoms(QXMol mol) {
  QXMolKit::QXSuppressHydrogens(mol, false, false, true);
  return QXMolToGaussians(mol, 1.7);
}

QXHermite Expansion(const QXMol& mol) {
  return Expanded(HeavyAtoms(mol), kOptions);
}

// The transform moves poses, not scores.
const Vector kShift = {10, 20, 30};

class ShapeOverlay : public testing::Test {
 protected:
  // The record of every overlay goes to the current directory.
  ShapeOverlay() { std::filesystem::current_path(folder_ / ""); }
  ~ShapeOverlay() override { std::filesystem::current_path(before_); }

  struct Result {
    double best = 0;
    QXMol poses;
    Vector scores() const { return Texts(poses, "Shape Tanimoto"); }
  };
  Result Run(const QXMol& fit, unsigned int nPoses = 100) {
    Result result;
    result.best = overlay_.FindBestOverlay(fit, nPoses, result.poses);
    return result;
  }

  std::filesystem::path before_ = std::filesystem::current_path();
  TemporaryFolder folder_;
  QXMol losartan_ = Conformer("losartan"), ketoprofen_ = Conformer("ketoprofen");
  QXShapeOverlay overlay_{1e-10, 1000, Expansion(losartan_), Shift(kShift)};
};

TEST_F(ShapeOverlay, OfAMoleculeWithItselfIsTheIdentityWhateverItsHydrogens) {
  Vector coords = Coords(losartan_);
  for (unsigned int i = 0; i < losartan_.NumAtoms(); ++i)
    if (losartan_.GetAtom(i)->GetAtomicNum() == 1) coords[3 * i] += 5.0;
  losartan_.SetCoords(coords.data());
  const Result result = Run(losartan_);
  EXPECT_NEAR(result.best, 1.0, 1e-9);
  QXMolKit::QXTranslate(losartan_, kShift.data());
  EXPECT_TRUE(AllNear(Coords(result.poses), Coords(losartan_), 1e-4)) << "hydrogens included";
  // A vector under the empty tag is used as it stands: that of the reference makes any fit perfect.
  // One that cannot be the fit's is made anew.
  const double best = Run(ketoprofen_).best;
  Vector kept = Expansion(Conformer("losartan")).GetCoefficients();
  ketoprofen_.GetActive()->SetData("", kept);
  EXPECT_NEAR(Run(ketoprofen_).best, 1.0, 1e-9);
  kept[7] = std::nan("");
  for (const Vector& useless : {kept, Vector(3)}) {
    ketoprofen_.GetActive()->SetData("", useless);
    EXPECT_EQ(Run(ketoprofen_).best, best);
  }
}

TEST_F(ShapeOverlay, GivesFourPosesAConformerBestFirstWithScoresAndCoefficients) {
  QXMol other = Conformer("ketoprofen", 1), both = ketoprofen_;
  both.NewConf(other.GetActive());
  const Result result = Run(both);
  const Vector scores = result.scores();
  ASSERT_EQ(scores.size(), 8u);
  EXPECT_TRUE(std::is_sorted(scores.rbegin(), scores.rend()));
  EXPECT_NEAR(scores[0], result.best, kText);
  EXPECT_EQ(result.best, std::max(Run(ketoprofen_).best, Run(other).best));
  // The vector attached is that of the pose: where it stands it gives the score, but for the single
  // precision of the rotation.
  const Result single = Run(ketoprofen_);
  const double A = Expansion(losartan_).GetSelfOverlap(),
               B = Expansion(ketoprofen_).GetSelfOverlap();
  for (size_t k = 0; k < 4; ++k) {
    const Vector moved = Conformers(single.poses)[k]->GetData<Vector>("");
    const double O = Overlap(Expansion(losartan_).GetCoefficients(), moved, kOptions);
    EXPECT_NEAR(O / (A + B - O), single.scores()[k], 2e-6);
    // So does the molecule itself, but for what a basis of degree 8 loses by moving.
    QXMol pose(*Conformers(single.poses)[k], 1);
    QXMolKit::QXTranslate(pose, Vector{-10, -20, -30}.data());
    EXPECT_GT(Overlap(Expansion(pose).GetCoefficients(), moved, kOptions), 0.97 * B);
  }
}

TEST_F(ShapeOverlay, SearchesAsFarAsToleranceAndLimitGoFromACenterOfItsOwn) {
  const Vector start = Expansion(ketoprofen_).GetCoefficients();
  QXHermiteOptions options = kOptions;
  options.SetUseCenterOfMass(true);
  Gaussians shifted = HeavyAtoms(losartan_);
  for (QXGaussian& g : shifted) g.SetX(g.GetX() + 2.0f);
  QXHermite ref = Expanded(shifted, options), origin;
  origin.Setup(ref.GetCoefficients(), options);
  EXPECT_GT(ref.GetCenter()[0], 1.0);
  const auto search = [&](double tolerance, unsigned int limit, const QXHermite& reference) {
    Vector c = start;
    QXMol pose;
    const double T = QXShapeOverlay(tolerance, limit, reference, QXTrans())
                         .FindLocalMinimum(ketoprofen_, c, pose);
    return std::pair(T, Coords(pose));
  };
  EXPECT_EQ(search(1e-10, 0, ref).second, Coords(ketoprofen_));
  const double fine = search(1e-10, 1000, ref).first;
  EXPECT_GT(fine, search(0.1, 1000, ref).first);
  EXPECT_GT(fine, search(1e-10, 3, ref).first);
  EXPECT_EQ(search(1e-10, 1000, origin).first, fine) << "the reference's is not taken over";
}

TEST_F(ShapeOverlay, RecordsStartsAndPosesOnEveryCall) {
  for (const char* title : {"ketoprofen", ""}) {
    ketoprofen_.SetTitle(title);
    const Result result = Run(ketoprofen_, 0);
    EXPECT_GT(result.best, 0.4) << "with no poses asked for";
    EXPECT_EQ(result.poses.NumAtoms(), 0u);

    // Start, pose, start, pose, ... for the four starts.
    std::vector<QXMol> record;
    QXMolKit::qxmolistream in(std::string(title) + ".qxb", QXMolKit::QXMolFormat::QXB);
    for (QXMol mol; QXMolKit::QXReadMolecule(in, mol);) record.push_back(mol);
    ASSERT_EQ(record.size(), 8u) << title;
    const double identity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    const double* turns[] = {identity, rot_X, rot_Y, rot_Z};
    double best = 0;
    for (size_t k = 0; k < 4; ++k) {
      QXMol start = ketoprofen_;
      QXMolKit::QXRotate(start, turns[k]);
      EXPECT_EQ(Coords(record[2 * k]), Coords(start));
      EXPECT_FALSE(QXMolKit::QXHasSDData(record[2 * k], "Shape Tanimoto"));
      best = std::max(best, std::stod(QXMolKit::QXGetSDData(record[2 * k + 1], "Shape Tanimoto")));
    }
    EXPECT_NEAR(best, result.best, kText);
  }
}

}  // namespace
}  // namespace QXHermiteMath
