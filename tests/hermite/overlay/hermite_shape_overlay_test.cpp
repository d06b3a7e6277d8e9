#include "hermite/overlay/hermite_shape_overlay.h"

#include "support/grids.h"
#include "support/hermite.h"
#include "support/molecules.h"

namespace QXHermiteMath {
namespace {

// Five carbons without symmetry within 2.5 angstrom of the origin. Under a basis of their own
// width, lambda^2 = 2 w, a Gaussian at distance d has the weights of a Poisson distribution of mean
// (lambda d)^2/2 over the degrees: at most 5, of which 1e-4 lies beyond degree 16. A pose that is
// d off costs about w d^2/2 of the score.
const QXMol kChain =
    Carbons({-2.3, 0.2, -0.1, -1.1, 1.0, 0.2, 0.4, 0.5, -0.6, 1.5, -0.8, 0.3, 2.2, 0.7, 0.8});
constexpr double kWidth = 0.81, kLost = 1e-4;

// Interpolation between elements h = 0.4 apart errs by h^2/12 times the Laplacian, of which
// sqrt(6) w stands at right angles to a Gaussian: the cosine falls by half the square of 0.027. Two
// such errors may add.
constexpr double kCosine = 1 - 4 * 0.5 * 0.027 * 0.027;

const QXTrans kTrans = QXGetTransformFromHermiteParams(Vector{0.5, 0.4, -0.3, 3, -2, 1}.data());
const Vector kMotion = {0.25, -0.2, 0.3, 0.3, -0.2, 0.25};

Gaussians Density(const QXMol& mol) {
  return QXMolToGaussians(mol, 1.7);
}

// Reaches 3.7 angstrom, exp(-11), beyond the outermost atom.
QXScalarGrid OnGrid(const QXMol& mol) {
  return QXTest::OnGrid(Density(mol), 30, 0.4f);
}

QXMol Turned(QXMol mol, unsigned int k) {
  const double* const turns[] = {rot_X, rot_Y, rot_Z};
  if (k > 0) QXMolKit::QXRotate(mol, turns[k - 1]);
  return mol;
}

QXMol Moved(QXMol mol, const QXTrans& trans) {
  trans.Transform(mol.GetActive());
  return mol;
}

QXHermiteShapeOverlay Overlay(bool makeGrid) {
  return {1e-10, 1000, std::sqrt(2 * kWidth), 16, makeGrid, 0.4, 6.0};
}

TEST(HermiteShapeOverlay, BringsATurnedAndMovedGridOntoTheReference) {
  QXHermiteShapeOverlay overlay = Overlay(true);
  QXScalarGrid ref, expansion, moved;
  const std::pair<unsigned int, bool> rows[] = {
      {0, false}, {1, false}, {2, false}, {3, false}, {2, true}};
  for (const auto& [k, optimize] : rows) {
    ASSERT_TRUE(overlay.SetupRef(OnGrid(kChain), kTrans));
    const QXMol turned = Turned(kChain, k), fit = optimize ? FindPose(turned, kMotion) : turned;
    QXHermite h;
    h.Setup(OnGrid(fit), overlay.GetOptions());
    const QXBestStart best = overlay.FindBestStart(h.GetCoefficients(), optimize, false);
    // A search from another start may end at the same place.
    EXPECT_TRUE(optimize || best.start == k) << best.start << " for " << k;
    EXPECT_NEAR(best.tanimoto, 1.0, optimize ? kLost : 1e-6) << "values are floats";
    EXPECT_TRUE(AllNear(Coords(Moved(fit, best.GetTransform())), Coords(kChain),
                        optimize ? std::sqrt(2 * kLost / kWidth) : 1e-6));
    EXPECT_EQ(overlay.FindBestOverlay(OnGrid(fit), ref, expansion, moved, optimize, false),
              best.tanimoto);
    for (const QXScalarGrid& grid : {ref, expansion, moved})
      EXPECT_GT(Cosine(grid, Density(Moved(kChain, kTrans))), kCosine) << k;
    EXPECT_EQ(expansion.GetXMid(), ref.GetXMid()) << "grids do not drift";
  }
}

TEST(HermiteShapeOverlay, LeavesAFitWithoutScoreAboveZeroWhereItIs) {
  QXHermiteShapeOverlay overlay = Overlay(true);
  overlay.SetupRef(OnGrid(kChain), QXTrans());
  QXScalarGrid negative = OnGrid(kChain), ref, expansion, moved;
  ForElements(negative, [](float& value, const Vector3d&) { value = -value; });
  EXPECT_EQ(overlay.FindBestOverlay(negative, ref, expansion, moved, false, false), 0.0);
  for (const QXScalarGrid& grid : {expansion, moved})
    EXPECT_LT(Cosine(grid, Density(kChain)), -kCosine);
  // Where no grids are made, outputs are left alone.
  overlay = Overlay(false);
  overlay.SetupRef(kChain, QXTrans());
  EXPECT_GT(overlay.FindBestOverlay(OnGrid(kChain), moved, moved, moved, false, true), 0.999);
  EXPECT_LT(Cosine(moved, Density(kChain)), -kCosine);
  // Of equal starts the first is taken.
  const Vector atom = Expanded(Density(Carbons({0, 0, 0})), overlay.GetOptions()).GetCoefficients();
  EXPECT_EQ(overlay.FindBestStart(atom, false, false).start, 0u);
}

TEST(HermiteShapeOverlay, PutsAMoleculeOntoTheGridOfItsAtoms) {
  QXHermiteShapeOverlay byGrid = Overlay(true), byMol = Overlay(false), byVector = Overlay(false);
  const Vector chain = Expanded(Density(kChain), byMol.GetOptions()).GetCoefficients();
  byGrid.SetupRef(OnGrid(kChain), kTrans);
  byMol.SetupRef(kChain, kTrans);
  byVector.SetupRef(chain, kTrans);
  const QXMol fit = FindPose(kChain, kMotion);
  QXMol pose, same;
  const double T = byMol.FindBestOverlay(fit, 1, pose, true, false);
  EXPECT_EQ(byVector.FindBestOverlay(fit, 1, same, true, false), T);
  EXPECT_EQ(Coords(same), Coords(pose));
  // A copy goes on when the original gets another reference.
  QXHermiteShapeOverlay copy(1, 1, 0.5, 2, false, 1, 1);
  copy = byGrid;
  byGrid.SetupRef(Vector(chain.size()), QXTrans());
  EXPECT_NEAR(copy.FindBestOverlay(fit, 1, pose, true, false), T, 1e-6);
  EXPECT_TRUE(AllNear(Coords(pose), Coords(Moved(kChain, kTrans)), std::sqrt(2 * kLost / kWidth)));
  EXPECT_GT(Cosine(pose.GetActive()->GetData<QXScalarGrid>("hermite grid"), Density(pose)),
            kCosine);
  // A kept vector is used as it stands; a kept grid does not outlive an overlay without grids.
  pose.GetActive()->SetData("Hermite Shape Inertial Vector", chain);
  EXPECT_NEAR(byMol.FindBestOverlay(pose, 1, same, false, true), 1.0, 1e-9);
  EXPECT_FALSE(same.GetActive()->HasData("hermite grid"));
}

TEST(HermiteShapeOverlay, WithoutTheMinimiserScoresTheStartsAsTheyStand) {
  QXHermiteShapeOverlay overlay = Overlay(false);
  overlay.SetupRef(kChain, QXTrans());
  const QXHermite ref = Expanded(Density(kChain), overlay.GetOptions());
  const QXMol fit = FindPose(kChain, kMotion);
  std::vector<std::pair<double, Vector>> expected;
  for (unsigned int k = 0; k < 4; ++k) {
    const QXHermite h = Expanded(Density(Turned(fit, k)), overlay.GetOptions());
    const double O = Overlap(ref.GetCoefficients(), h.GetCoefficients(), overlay.GetOptions());
    expected.emplace_back(O / (ref.GetSelfOverlap() + h.GetSelfOverlap() - O),
                          Coords(Turned(fit, k)));
  }
  const double start = expected[0].first;
  QXMol poses;
  EXPECT_NEAR(overlay.FindBestOverlay(fit, 4, poses, false, true), start, 1e-9);
  EXPECT_EQ(poses.NumConfs(), 1u);
  overlay.FindBestOverlay(fit, 4, poses, false, false);
  ASSERT_EQ(poses.NumConfs(), 4u);
  std::sort(expected.rbegin(), expected.rend());
  for (size_t k = 0; k < 4; ++k) {
    const QXMolKit::QXConfBase& pose = *Conformers(poses)[k];
    EXPECT_EQ(Coords(pose), expected[k].second);
    EXPECT_NEAR(std::stod(QXMolKit::QXGetSDData(pose, "Shape Tanimoto")), expected[k].first, 1e-6);
  }
  EXPECT_EQ(overlay.FindBestOverlay(QXMol(), 4, poses, true, false), 0.0);
  QXHermiteShapeOverlay patient(1e-10, 0, std::sqrt(2 * kWidth), 16, false, 0.4, 6.0);
  patient.SetupRef(kChain, QXTrans());
  EXPECT_NEAR(patient.FindBestOverlay(fit, 1, poses, true, true), start, 1e-12) << "no iteration";
}

}  // namespace
}  // namespace QXHermiteMath
