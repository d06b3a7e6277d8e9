#include "hermite/overlay/overlay_results.h"

#include "support/hermite.h"
#include "support/molecules.h"

namespace QXHermiteMath {
namespace {

using QXMolKit::QXMol;

QXMol OneAtom(double x, const char* title = "") {
  QXMol mol;
  mol.NewAtom(6);
  const double coords[] = {x, 0, 0};
  mol.SetCoords(coords);
  mol.SetTitle(title);
  return mol;
}

TEST(FindPose, ShiftsFirstAndThenTurnsBack) {
  EXPECT_EQ(Coords(FindPose(OneAtom(1.5), Vector(6, 0.0))), (Vector{1.5, 0, 0}));
  // (0, 0, 0) goes to Q^T (1, 0, 0); Q is single precision.
  const Vector quarter = {0, 0, std::acos(0.0), 1, 0, 0};
  EXPECT_TRUE(AllNear(Coords(FindPose(OneAtom(0), quarter)), {0, -1, 0}, 2e-7));
}

TEST(PostProcess, ReturnsTheBestPosesFirstMovedByTheTransform) {
  using Poses = std::vector<std::pair<double, QXMol>>;
  const Poses poses = {{0.2, OneAtom(2)},
                       {0.9, OneAtom(9, "best")},
                       {0.5, OneAtom(5)},
                       {std::nan(""), OneAtom(1)}};  // without a score: last
  for (const auto& [score, pose] : poses) pose.GetActive()->SetData("tag", Vector{Coords(pose)[0]});
  const double shift[] = {100, 0, 0};
  QXTrans trans;
  trans.Append(QXMolKit::QXTranslation(shift));
  for (const auto& [nPoses, expected] :
       {std::pair(2u, Vector{109, 105}), {1u, {109}}, {7u, {109, 105, 102, 101}}, {0u, {}}}) {
    Poses list = poses;
    QXMol result = OneAtom(77);
    EXPECT_EQ(PostProcessOverlayData(list, nPoses, trans, result), 0.9);
    EXPECT_EQ(list[1].first, 0.2) << "sorted in place";
    const auto conformers = Conformers(result);
    ASSERT_EQ(conformers.size(), expected.size());
    for (size_t k = 0; k < expected.size(); ++k) {
      EXPECT_EQ(Coords(*conformers[k])[0], expected[k]);
      EXPECT_EQ(conformers[k]->GetData<Vector>("tag")[0], expected[k] - 100);
    }
    EXPECT_EQ(result.NumAtoms(), nPoses == 0 ? 0u : 1u);
    EXPECT_STREQ(result.GetTitle(), nPoses == 0 ? "" : "best");
  }
}

// One language of rigid motion: the objective at p, the molecule that FindPose or the host
// transform moves, and the coefficients that QXHermiteRigidTransform moves.
TEST(RigidMotion, MeansTheSameForObjectiveMoleculeTransformAndCoefficients) {
  const QXHermiteOptions options = FixedWidths(24, 0.75, 0.75, 0.75);
  const auto centered = [](const char* title) {
    QXMol mol = Drug(title);
    auto gaussians = QXMolToGaussians(mol, 1.7);
    Vector mean = QXCenterGaussians(gaussians);
    for (double& x : mean) x = -x;
    QXMolKit::QXTranslate(mol, mean.data());
    return mol;
  };
  const auto expanded = [&](const QXMol& mol) {
    return Expanded(QXMolToGaussians(mol, 1.7), options);
  };
  const auto overlap = [&](const QXHermite& ref, const QXHermite& fit, const Vector& p) {
    QXHermiteOverlap f;
    f.SetupRef(ref, options);
    f.Setup(fit, options);
    return -f(p.data());
  };
  const Vector origin(6, 0.0);
  const QXMol fit = centered("ketoprofen");
  const QXHermite ref = expanded(centered("diclofenac")), h = expanded(fit);
  const double norms = std::sqrt(ref.GetSelfOverlap() * h.GetSelfOverlap());
  for (const Vector& p :
       {Vector{0.4, -0.9, 2.2, 0, 0, 0}, Vector{-0.6, 0.5, 1.1, 0.5, -0.75, 0.4}}) {
    const double value = overlap(ref, h, p);

    QXHermite moved = h;
    QXHermiteRigidTransform(moved, p);
    // Both are exact in the basis, but for the single precision of the rotation: six digits.
    EXPECT_NEAR(overlap(ref, moved, origin), value, 1e-6 * norms);

    const QXMol pose = FindPose(fit, p);
    QXMol transformed = fit;
    const QXTrans trans = QXGetTransformFromHermiteParams(p.data());
    for (QXMolKit::QXConfBase* conf : Conformers(transformed)) trans.Transform(conf);
    EXPECT_TRUE(AllNear(Coords(transformed), Coords(pose), 4e-6)) << "float coordinates";

    // A rotation keeps what the truncated basis holds. After a shift the pose, expanded anew, may
    // differ by the part of the fit that the basis does not hold (Pythagoras), times the reference.
    const double lost = PairwiseSelfOverlap(QXMolToGaussians(fit, 1.7)) - h.GetSelfOverlap();
    const double bound = p[3] == 0 ? 1e-6 * norms : std::sqrt(lost * ref.GetSelfOverlap());
    EXPECT_LT(bound, 0.06 * norms);
    EXPECT_NEAR(overlap(ref, expanded(pose), origin), value, bound);
    EXPECT_GT(std::fabs(value - overlap(ref, h, origin)), 0.1 * norms) << "else this shows nothing";
  }
}

}  // namespace
}  // namespace QXHermiteMath
