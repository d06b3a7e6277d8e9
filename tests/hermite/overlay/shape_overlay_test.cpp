#include "hermite/overlay/shape_overlay.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "hermite/expansion/mol_to_gaussians.h"
#include "hermite/frame/inertial_orientation.h"
#include "hermite/frame/rigid_motion.h"
#include "hermite/overlay/overlay_results.h"
#include "host/molkit/molstream.h"
#include "support/density.h"
#include "support/molecules.h"
#include "support/numerics.h"

namespace QXHermiteMath {
namespace {

using QXTest::AllNear;
using QXTest::Conformers;
using QXTest::Coords;
using QXTest::Vector;

const QXHermiteOptions kOptions = QXTest::FixedWidths(8, 0.6, 0.6, 0.6);

std::vector<QXGaussian> HeavyAtoms(QXMol mol) {
  QXMolKit::QXSuppressHydrogens(mol, false, false, true);
  return QXMolToGaussians(mol, 1.7);
}

QXHermite Expanded(const QXMol& mol) {
  QXHermite h;
  h.Setup(HeavyAtoms(mol), kOptions);
  return h;
}

// One conformer of a drug in its inertial frame, about the mean of its heavy atoms.
QXMol Drug(const char* title, size_t conformer = 0) {
  QXMol mol(*Conformers(QXTest::Drug(title))[conformer], 1);
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
  QXTest::TemporaryFolder folder_{testing::UnitTest::GetInstance()->current_test_info()->name()};
  QXMol losartan_ = Drug("losartan"), ketoprofen_ = Drug("ketoprofen");
  QXShapeOverlay overlay_{1e-10, 1000, Expanded(losartan_), QXTrans()};

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

TEST_F(ShapeOverlay, OfAMoleculeWithItselfIsTheIdentity) {
  const Result result = Run(losartan_);
  EXPECT_NEAR(result.best, 1.0, 1e-9);
  EXPECT_TRUE(AllNear(Coords(result.poses), Coords(losartan_), 1e-4));
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
    QXHermite ref;
    ref.Setup(HeavyAtoms(ketoprofen_), QXTest::FixedWidths(N, 0.8, 0.8, 0.8));
    QXShapeOverlay overlay(1e-10, 1000, ref, QXTrans());
    QXMol pose;
    EXPECT_LT(1.0 - overlay.FindBestOverlay(moved, 1, pose), loss) << N;
    EXPECT_TRUE(AllNear(Coords(pose), Coords(ketoprofen_), distance)) << N;
  }
}

TEST_F(ShapeOverlay, GivesFourPosesAConformerBestFirstWithScoresAndCoefficients) {
  QXMol other = Drug("ketoprofen", 1);
  QXMol both = ketoprofen_;
  both.NewConf(other.GetActive());
  const Result result = Run(both), single = Run(ketoprofen_), second = Run(other);
  const Vector scores = result.scores();
  ASSERT_EQ(scores.size(), 8u);
  EXPECT_TRUE(std::is_sorted(scores.rbegin(), scores.rend()));
  EXPECT_NEAR(scores[0], result.best, kText);
  EXPECT_EQ(result.best, std::max(single.best, second.best));
  EXPECT_STREQ(result.poses.GetTitle(), "ketoprofen");

  for (auto* conf : Conformers(result.poses)) {
    // Hydrogens stay on the poses.
    EXPECT_EQ(conf->NumAtoms(), ketoprofen_.NumAtoms());
    // The vector attached is that of the pose: where it stands it gives the overlap of the score,
    // but for the single precision of the rotation.
    QXHermiteOverlap f;
    f.SetupRef(Expanded(losartan_).GetCoefficients(), kOptions);
    f.Setup(conf->GetData<Vector>(""), kOptions);
    const double origin[6] = {};
    const double O = -f(origin), A = f.GetRefSelfOverlap();
    const double score = std::stod(QXMolKit::QXGetSDData(*conf, "Shape Tanimoto"));
    double nearest = 1.0;
    for (const QXMol* fit : {&ketoprofen_, &other}) {
      const double B = Expanded(*fit).GetSelfOverlap();
      nearest = std::min(nearest, std::fabs(O / (A + B - O) - score));
    }
    EXPECT_LT(nearest, 2e-6);
  }
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
  QXShapeOverlay turned(1e-10, 1000, Expanded(ref), QXTrans());
  Vector c = Expanded(ketoprofen_).GetCoefficients(), turnedC = Expanded(fit).GetCoefficients();
  QXMol pose, turnedPose;
  const double T = overlay_.FindLocalMinimum(ketoprofen_, c, pose);
  EXPECT_NEAR(turned.FindLocalMinimum(fit, turnedC, turnedPose), T, 1e-6);
  QXMolKit::QXRotate(pose, m.data());
  EXPECT_TRUE(AllNear(Coords(turnedPose), Coords(pose), 5e-3));
}

TEST_F(ShapeOverlay, HydrogensTakeNoPartInTheDensity) {
  QXMol stretched = ketoprofen_;
  Vector coords = Coords(stretched);
  for (unsigned int i = 0; i < stretched.NumAtoms(); ++i)
    if (stretched.GetAtom(i)->GetAtomicNum() == 1) coords[3 * i] += 5.0;
  stretched.SetCoords(coords.data());
  EXPECT_EQ(Run(stretched).best, Run(ketoprofen_).best);
}

TEST_F(ShapeOverlay, MovesPosesByTheTransformButNotTheScores) {
  const double shift[] = {10, 20, 30};
  QXTrans trans;
  trans.Append(QXMolKit::QXTranslation(shift));
  QXShapeOverlay moving(1e-10, 1000, Expanded(losartan_), trans);
  QXMol poses;
  const Result plain = Run(ketoprofen_, 2);
  EXPECT_EQ(moving.FindBestOverlay(ketoprofen_, 2, poses), plain.best);
  ASSERT_EQ(poses.NumConfs(), 2u);
  for (size_t k = 0; k < 2; ++k) {
    Vector expected = Coords(*Conformers(plain.poses)[k]);
    for (size_t i = 0; i < expected.size(); ++i) expected[i] += shift[i % 3];
    EXPECT_TRUE(AllNear(Coords(*Conformers(poses)[k]), expected, 4e-6)) << "float coordinates";
  }
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

TEST_F(ShapeOverlay, AVectorUnderTheEmptyTagIsUsedAsItStands) {
  ketoprofen_.GetActive()->SetData("", Expanded(losartan_).GetCoefficients());
  EXPECT_NEAR(Run(ketoprofen_).best, 1.0, 1e-9);
}

}  // namespace
}  // namespace QXHermiteMath
