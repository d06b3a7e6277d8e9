#include "hermite/overlay/overlay_results.h"

#include "support/hermite.h"
#include "support/molecules.h"

namespace QXHermiteMath {
namespace {

TEST(PostProcess, ReturnsTheBestPosesFirstMovedByTheTransform) {
  using Poses = std::vector<std::pair<double, QXMol>>;
  const auto atom = [](double x) { return Carbons({x, 0, 0}); };
  Poses poses = {{0.2, atom(2)},
                 {std::nan(""), atom(1)},  // without a score: last
                 {0.9, atom(9)},
                 {0.1, atom(0)},
                 {0.5, atom(5)}};
  poses[2].second.SetTitle("best");
  for (const auto& [score, pose] : poses) pose.GetActive()->SetData("tag", Vector{Coords(pose)[0]});
  const QXTrans trans = Shift({100, 0, 0});
  for (const auto& [nPoses, expected] :
       {std::pair(2u, Vector{109, 105}), {1u, {109}}, {7u, {109, 105, 102, 100, 101}}, {0u, {}}}) {
    Poses list = poses;
    QXMol result = atom(77);
    EXPECT_EQ(PostProcessOverlayData(list, nPoses, trans, result), 0.9);
    EXPECT_EQ(list[1].first, 0.1) << "sorted in place";
    const auto conformers = Conformers(result);
    ASSERT_EQ(conformers.size(), expected.size());
    for (size_t k = 0; k < expected.size(); ++k) {
      EXPECT_EQ(Coords(*conformers[k])[0], expected[k]);
      EXPECT_EQ(conformers[k]->GetData<Vector>("tag")[0], expected[k] - 100);
    }
    EXPECT_EQ(result.NumAtoms(), nPoses == 0 ? 0u : 1u);
    EXPECT_STREQ(result.GetTitle(), nPoses == 0 ? "" : "best");
  }
  Poses none;
  QXMol result = atom(77);
  EXPECT_EQ(PostProcessOverlayData(none, 3, trans, result), 0.0);
  EXPECT_EQ(result.NumAtoms(), 0u);
}

// One language of rigid motion: the objective at p, the molecule that FindPose or the host
// transform moves, and the coefficients that QXHermiteRigidTransform moves.
TEST(RigidMotion, MeansTheSameForObjectiveMoleculeTransformAndCoefficients) {
  const QXHermiteOptions options = FixedWidths(24, 0.75, 0.75, 0.75);
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
  const QXMol fit = Drug("ketoprofen");
  const QXHermite ref = expanded(Drug("diclofenac")), h = expanded(fit);
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
    for (QXMolKit::QXConfBase* conf : Conformers(transformed))
      QXGetTransformFromHermiteParams(p.data()).Transform(conf);
    EXPECT_TRUE(AllNear(Coords(transformed), Coords(pose), 4e-6)) << "float coordinates";
    EXPECT_NE(Coords(*Conformers(pose)[1]), Coords(*Conformers(fit)[1])) << "all conformers";

    if (p[3] != 0) continue;  // a rotation keeps what the truncated basis holds
    EXPECT_NEAR(overlap(ref, expanded(pose), origin), value, 1e-6 * norms);
  }
}

}  // namespace
}  // namespace QXHermiteMath
