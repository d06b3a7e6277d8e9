#include "hermite/overlay/shape_overlay.h"

#include "host/molkit/molstream.h"
#include "support/hermite.h"
#include "support/molecules.h"

namespace QXHermiteMath {
namespace {

using QXMolKit::QXMol;

const QXHermiteOptions kOptions = FixedWidths(8, 0.6, 0.6, 0.6);

std::vector<QXGaussian> HeavyAtoms(QXMol mol) {
  QXMolKit::QXSuppressHydrogens(mol, false, false, true);
  return QXMolToGaussians(mol, 1.7);
}

QXHermite Expansion(const QXMol& mol) {
  return Expanded(HeavyAtoms(mol), kOptions);
}

// One conformer of a drug in its inertial frame, about the mean of its heavy atoms.
QXMol Oriented(const char* title, size_t conformer = 0) {
  QXMol mol(*Conformers(Drug(title))[conformer], 1);
  auto gaussians = HeavyAtoms(mol);
  Vector mean = QXCenterGaussians(gaussians), center, rotation, eigenvalues;
  for (double& x : mean) x = -x;
  std::vector<Vector> tensor;
  QXOrientByHermiteMomentsOfInertia(gaussians, 8, 0.6, center, rotation, tensor, eigenvalues);
  QXMolKit::QXTranslate(mol, mean.data());
  QXMolKit::QXRotate(mol, rotation.data());
  return mol;
}

class ShapeOverlay : public testing::Test {
 protected:
  // The record of every overlay goes to the current directory.
  TemporaryFolder folder_{testing::UnitTest::GetInstance()->current_test_info()->name()};
  QXMol losartan_ = Oriented("losartan"), ketoprofen_ = Oriented("ketoprofen");
  QXShapeOverlay overlay_{1e-10, 1000, Expansion(losartan_), QXTrans()};

  struct Result {
    double best = 0;
    QXMol poses;
    Vector scores() const {
      Vector all;
      for (auto* conf : Conformers(poses))
        all.push_back(std::stod(QXMolKit::QXGetSDData(*conf, "Shape Tanimoto")));
      return all;
    }
  };
  Result Run(const QXMol& fit, unsigned int nPoses = 100) {
    Result result;
    result.best = overlay_.FindBestOverlay(fit, nPoses, result.poses);
    return result;
  }
};

// SD texts have six digits behind the point.
constexpr double kText = 5e-7;

TEST_F(ShapeOverlay, OfAMoleculeWithItselfIsTheIdentityWhateverItsHydrogens) {
  Vector coords = Coords(losartan_);
  for (unsigned int i = 0; i < losartan_.NumAtoms(); ++i)
    if (losartan_.GetAtom(i)->GetAtomicNum() == 1) coords[3 * i] += 5.0;
  losartan_.SetCoords(coords.data());
  const Result result = Run(losartan_);
  EXPECT_NEAR(result.best, 1.0, 1e-9);
  EXPECT_TRUE(AllNear(Coords(result.poses), Coords(losartan_), 1e-4)) << "hydrogens included";
  // A vector under the empty tag is used as it stands: that of the reference makes any fit perfect.
  ketoprofen_.GetActive()->SetData("", Expansion(losartan_).GetCoefficients());
  EXPECT_NEAR(Run(ketoprofen_).best, 1.0, 1e-9);
}

TEST_F(ShapeOverlay, BringsAMovedMoleculeBack) {
  const QXMol moved = FindPose(ketoprofen_, {0.15, -0.2, 0.1, 0.4, -0.2, 0.3});
  // What the basis does not hold of the density is another part before and after the motion: with
  // the degree the score goes to 1 and the pose back to where it was.
  const struct {
    unsigned int N;
    double loss, distance;
  } rows[] = {{8, 0.03, 0.5}, {14, 1e-3, 1e-2}, {20, 1e-5, 1e-4}};
  for (const auto& [N, loss, distance] : rows) {
    const QXHermite ref = Expanded(HeavyAtoms(ketoprofen_), FixedWidths(N, 0.8, 0.8, 0.8));
    QXShapeOverlay overlay(1e-10, 1000, ref, QXTrans());
    QXMol pose;
    EXPECT_LT(1.0 - overlay.FindBestOverlay(moved, 1, pose), loss) << N;
    EXPECT_TRUE(AllNear(Coords(pose), Coords(ketoprofen_), distance)) << N;
  }
}

TEST_F(ShapeOverlay, GivesFourPosesAConformerBestFirstWithScoresAndCoefficients) {
  QXMol other = Oriented("ketoprofen", 1);
  QXMol both = ketoprofen_;
  both.NewConf(other.GetActive());
  const Result result = Run(both);
  const Vector scores = result.scores();
  ASSERT_EQ(scores.size(), 8u);
  EXPECT_TRUE(std::is_sorted(scores.rbegin(), scores.rend()));
  EXPECT_NEAR(scores[0], result.best, kText);
  EXPECT_EQ(result.best, std::max(Run(ketoprofen_).best, Run(other).best));
  for (size_t k = 0; k < 8; ++k) {
    // The vector attached is that of the pose: where it stands it gives the score, with the self
    // overlap of one of the conformers, but for the single precision of the rotation.
    QXHermiteOverlap f;
    f.SetupRef(Expansion(losartan_).GetCoefficients(), kOptions);
    f.Setup(Conformers(result.poses)[k]->GetData<Vector>(""), kOptions);
    const double O = f.GetOverlap(), A = f.GetRefSelfOverlap();
    const auto miss = [&](const QXMol& fit) {
      return std::fabs(O / (A + Expansion(fit).GetSelfOverlap() - O) - scores[k]);
    };
    EXPECT_LT(std::min(miss(ketoprofen_), miss(other)), 2e-6);
  }
  // A transform moves the poses, not the scores.
  const double shift[] = {10, 20, 30};
  QXTrans trans;
  trans.Append(QXMolKit::QXTranslation(shift));
  QXShapeOverlay moving(1e-10, 1000, Expansion(losartan_), trans);
  QXMol pose, expected(*Conformers(result.poses)[0], 1);
  EXPECT_EQ(moving.FindBestOverlay(both, 1, pose), result.best);
  QXMolKit::QXTranslate(expected, shift);
  EXPECT_TRUE(AllNear(Coords(pose), Coords(expected), 4e-6)) << "float coordinates";
}

// The half turns of the fit are among the starts, so turning it permutes them.
TEST_F(ShapeOverlay, ScoresDoNotDependOnHalfTurnsOfTheFit) {
  const Vector scores = Run(ketoprofen_).scores();
  EXPECT_GT(scores[0] - scores[3], 0.01) << "four different optima";
  for (const double* turn : {rot_X, rot_Y, rot_Z}) {
    QXMol turned = ketoprofen_;
    QXMolKit::QXRotate(turned, turn);
    EXPECT_TRUE(AllNear(Run(turned).scores(), scores, 2 * kText));
  }
}

TEST_F(ShapeOverlay, LocalMinimaTurnWithBothMolecules) {
  const Vector m = RotFromEulerXYZ(0.4, -0.9, 2.2);
  QXMol ref = losartan_, fit = ketoprofen_;
  QXMolKit::QXRotate(ref, m.data());
  QXMolKit::QXRotate(fit, m.data());
  QXShapeOverlay turned(1e-10, 1000, Expansion(ref), QXTrans());
  Vector c = Expansion(ketoprofen_).GetCoefficients(), turnedC = Expansion(fit).GetCoefficients();
  QXMol pose, turnedPose;
  const double T = overlay_.FindLocalMinimum(ketoprofen_, c, pose);
  EXPECT_NEAR(turned.FindLocalMinimum(fit, turnedC, turnedPose), T, 1e-6);
  QXMolKit::QXRotate(pose, m.data());
  EXPECT_TRUE(AllNear(Coords(turnedPose), Coords(pose), 5e-3));
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
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator("."), {}), 2);
}

}  // namespace
}  // namespace QXHermiteMath
