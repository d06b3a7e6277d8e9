#include "hermite/overlay/shape_screen.h"

#include <set>

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
  const auto poses = Find({.starts = 24, .searchDegree = 4, .polish = 8}, 8, fits_);
  ASSERT_GE(poses.size(), 6u);
  std::set<size_t> conformers;
  QXHermiteOverlap overlap;
  overlap.SetupRef(reference_.GetCoefficients(), reference_.GetOptions());
  QXGaussianOverlap exact;
  exact.SetupRef(ref_);
  const double still[6] = {};
  for (size_t i = 0; i < poses.size(); ++i) {
    const Gaussians moved = Moved(fits_[poses[i].conformer].gaussians, poses[i]);
    conformers.insert(poses[i].conformer);
    const Vector c =
        Expanded(fits_[poses[i].conformer].gaussians, reference_.GetOptions()).GetCoefficients();
    Vector turned(c.size());
    TurnOfCoefficients(GetAxisTurns()[poses[i].start], 8)(c.data(), turned.data());
    overlap.Setup(turned, reference_.GetOptions());
    EXPECT_NEAR(poses[i].tanimoto, TanimotoFromValue(overlap(poses[i].x.data()), overlap), 1e-9);
    exact.Setup(moved);
    // Coordinates in single precision.
    EXPECT_NEAR(
        poses[i].exactTanimoto,
        TanimotoFromValue(exact(still), exact.GetRefSelfOverlap(), exact.GetFitSelfOverlap()),
        1e-6);
    if (i > 0) {
      EXPECT_LE(poses[i].exactTanimoto, poses[i - 1].exactTanimoto);
    }
  }
  EXPECT_EQ(conformers.size(), 2u);
}

// The polish is at home in every direction: also where y of the reference lies at a right angle,
// and its angles say nothing more.
TEST_F(ShapeScreen, PolishesAlikeInAllDirections) {
  const double best = Find({.polish = 4}, 1, fits_).at(0).exactTanimoto;
  for (double angle : {1.3, 1.5, std::acos(0.0), 1.7}) {
    auto turned = fits_;
    for (QXShapeFit& fit : turned) {
      const Matrix m = EulerMatrix({0, angle, 0});
      QXRotateGaussians(fit.gaussians, {m.data(), m.data() + 9});
    }
    EXPECT_NEAR(Find({.starts = 24, .polish = 24}, 1, turned).at(0).exactTanimoto, best, 1e-5)
        << angle;
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
