#include "hermite/overlay/shape_screen.h"

#include "hermite/overlay/overlay_search.h"
#include "hermite/overlay/reference_model.h"
#include "hermite/overlay/tanimoto.h"
#include "support/hermite.h"
#include "support/molecules.h"

namespace QXHermiteMath {
namespace {

Gaussians InFrame(const QXMolKit::QXMolBase& mol) {
  Gaussians gaussians = GetHeavyAtomGaussians(mol);
  MoveInto(FindInertialFrame(gaussians).value(), gaussians);
  return gaussians;
}

class ShapeScreen : public testing::Test {
 protected:
  std::vector<QXShapePose> Find(const QXShapeScreenSettings& settings, size_t nPoses,
                                const std::vector<QXShapeFit>& fits) {
    return QXShapeScreen(reference_, ref_, settings).FindPoses(fits, nPoses);
  }
  // The Gaussians of a pose, by the definition of its fields.
  static Gaussians Moved(Gaussians gaussians, const QXShapePose& pose) {
    const auto turn = GetAxisTurns()[pose.start].Matrix();
    QXRotateGaussians(gaussians, {turn.begin(), turn.end()});
    for (QXGaussian& g : gaussians) {
      g.SetX(static_cast<float>(g.GetX() + pose.x[3]));
      g.SetY(static_cast<float>(g.GetY() + pose.x[4]));
      g.SetZ(static_cast<float>(g.GetZ() + pose.x[5]));
    }
    const Matrix back = EulerMatrix({pose.x.begin(), pose.x.begin() + 3}).transpose();
    QXRotateGaussians(gaussians, {back.data(), back.data() + 9});
    return gaussians;
  }

  Gaussians ref_ = InFrame(Conformer("losartan"));
  QXMol drug_ = Drug("ketoprofen");
  std::vector<QXShapeFit> fits_ = {{InFrame(*Conformers(drug_)[0]), {}},
                                   {InFrame(*Conformers(drug_)[1]), {}}};
  QXHermite reference_ = Expanded(ref_, FixedWidths(8, 0.6, 0.6, 0.6));
};

// Scores are those of the atoms as they are moved: the exact one by the sum over pairs, the other
// by an expansion.
TEST_F(ShapeScreen, TellsTheScoresOfThePosesThatItDescribes) {
  const auto poses = Find({.starts = 24, .searchDegree = 4, .polish = 3}, 6, fits_);
  ASSERT_EQ(poses.size(), 6u);
  QXHermiteOverlap overlap;
  overlap.SetupRef(reference_.GetCoefficients(), reference_.GetOptions());
  QXGaussianOverlap exact;
  exact.SetupRef(ref_);
  const double still[6] = {};
  for (size_t i = 0; i < poses.size(); ++i) {
    const Gaussians moved = Moved(fits_[poses[i].conformer].gaussians, poses[i]);
    overlap.Setup(Expanded(moved, reference_.GetOptions()), reference_.GetOptions());
    exact.Setup(moved);
    // Coordinates in single precision, and what the truncated expansion loses by a motion.
    EXPECT_NEAR(
        poses[i].exactTanimoto,
        TanimotoFromValue(exact(still), exact.GetRefSelfOverlap(), exact.GetFitSelfOverlap()),
        1e-6);
    EXPECT_NEAR(poses[i].tanimoto, TanimotoFromValue(overlap(still), overlap), 0.02);
    if (i > 0) {
      EXPECT_LE(poses[i].exactTanimoto, poses[i - 1].exactTanimoto);
    }
  }
}

TEST_F(ShapeScreen, FindsAMoleculeInItselfAndLosesNothingByMoreWork) {
  const auto itself = Find({.polish = 1}, 1, {{ref_, {}}});
  EXPECT_NEAR(itself.at(0).tanimoto, 1.0, 1e-9);
  EXPECT_NEAR(itself.at(0).exactTanimoto, 1.0, 1e-9);

  const auto best = [&](QXShapeScreenSettings settings) {
    settings.tolerance = 1e-8;
    return Find(settings, 1, fits_).at(0);
  };
  const QXShapePose plain = best({}), polished = best({.polish = 2}),
                    coarse = best({.searchDegree = 5});
  EXPECT_GE(polished.exactTanimoto, plain.exactTanimoto);
  EXPECT_NEAR(coarse.tanimoto, plain.tanimoto, 1e-6);
  EXPECT_GE(best({.starts = 24}).tanimoto, plain.tanimoto - 1e-6);
  // What QXShapeOverlay minimises, one start at a time.
  QXHermiteOverlap overlap;
  overlap.SetupRef(reference_.GetCoefficients(), reference_.GetOptions());
  double highest = 0.0;
  for (const QXShapeFit& fit : fits_) {
    const Vector c = Expanded(fit.gaussians, reference_.GetOptions()).GetCoefficients();
    for (const Vector& start : GetStartCoefficients(c, reference_.GetOptions(), false)) {
      overlap.Setup(start, reference_.GetOptions());
      const Vector x = FindOptimum(overlap, 1e-8, 200);
      highest = std::max(highest, TanimotoFromValue(overlap(x.data()), overlap));
    }
  }
  EXPECT_NEAR(plain.tanimoto, highest, 1e-7);  // ten times the tolerance
}

// The inverse of second differences of the value, one unit of overlap in size.
TEST_F(ShapeScreen, SearchesFromTheCurvatureOfItsReference) {
  QXHermiteOverlap self;
  self.SetupRef(reference_.GetCoefficients(), reference_.GetOptions());
  self.Setup(reference_.GetCoefficients(), reference_.GetOptions());
  constexpr double kStep = 1e-3;
  const auto at = [&](int i, double a, int j, double b) {
    double x[6] = {};
    x[i] += a * kStep;
    x[j] += b * kStep;
    return self(x);
  };
  Eigen::Matrix<double, 6, 6> hessian, model;
  const Vector packed = GetReferenceModel(self);
  for (int i = 0, k = 0; i < 6; ++i) {
    for (int j = 0; j <= i; ++j) {
      model(i, j) = model(j, i) = packed.at(k++);
      hessian(i, j) = hessian(j, i) =
          (at(i, 1, j, 1) - at(i, 1, j, -1) - at(i, -1, j, 1) + at(i, -1, j, -1)) /
          (4 * kStep * kStep);
    }
  }
  // Differences err by the step squared times the fourth derivative over the second, some ten.
  EXPECT_TRUE((model * hessian / self.GetRefSelfOverlap()).isIdentity(1e-3));
}

// Several of 24 starts end in one pose. Coefficients stand for Gaussians that are not there, but
// then nothing is exact; and a fit that is not finite is the last.
TEST_F(ShapeScreen, CountsPosesOnceAndTakesFitsWithoutGaussiansAndWithoutSense) {
  const size_t count = Find({.starts = 24}, 100, {{ref_, {}}}).size();
  EXPECT_LT(count, 24u);
  EXPECT_GT(count, 4u);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const auto poses = Find(
      {.polish = 4}, 10,
      {{{}, Vector(reference_.GetCoefficients().size(), nan)}, {{}, reference_.GetCoefficients()}});
  EXPECT_EQ(poses.front().conformer, 1u);
  EXPECT_NEAR(poses.front().tanimoto, 1.0, 1e-9);
  EXPECT_TRUE(std::isnan(poses.front().exactTanimoto));
  EXPECT_TRUE(std::isnan(poses.back().tanimoto));
}

}  // namespace
}  // namespace QXHermiteMath
