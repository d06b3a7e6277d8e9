#include "hermite/overlay/polish.h"

#include "host/minimizer/bfgs.h"
#include "support/counting_new.h"
#include "support/hermite.h"
#include "support/molecules.h"

namespace QXHermiteMath {
namespace {

QXGaussianOverlap DrugPair() {
  QXGaussianOverlap overlap;
  Gaussians ref = QXMolToGaussians(Drug("diclofenac"), 1.7);
  Gaussians fit = QXMolToGaussians(Drug("ketoprofen"), 1.7);
  QXCenterGaussians(ref);
  QXCenterGaussians(fit);
  overlap.SetupRef(ref);
  overlap.Setup(fit);
  return overlap;
}

TEST(Polish, EndsAtAnOptimumNeverBelowItsStart) {
  QXGaussianOverlap overlap = DrugPair();
  const Vector places = RandomPoints(80, 2.0, 5);  // six variables at a time, some next to nothing
  for (size_t k = 0; k + 6 <= places.size(); k += 6) {
    const double* start = &places[k];
    const size_t before = allocations;
    const QXPolishedPose pose = QXPolish(overlap, start, 1e-8);
    EXPECT_EQ(allocations, before);
    EXPECT_EQ(pose.overlap, -overlap(pose.variables.data()));
    EXPECT_GT(pose.overlap, -overlap(start));
    EXPECT_LT(pose.evaluations, 40u);

    QXMinimizer::QXBFGSOpt bfgs;
    double x[6];
    EXPECT_NEAR(-bfgs(overlap, pose.variables.data(), x), pose.overlap, 1e-7 * pose.overlap);
  }
}

TEST(Polish, LeavesWhatCannotBeImproved) {
  QXGaussianOverlap overlap = DrugPair();
  const double far[6] = {0, 0, 0, 1e4, 0, 0}, faulty[6] = {std::nan(""), 0, 0, 0, 0, 0};
  for (const double* start : {far, faulty}) {
    const QXPolishedPose pose = QXPolish(overlap, start);
    EXPECT_EQ(pose.evaluations, 1u);
    EXPECT_EQ(pose.variables[3], start[3]);
  }
  // With no tolerance the search still ends, at rounding.
  const QXPolishedPose pose = QXPolish(overlap, Vector(6, 0.1).data(), 0.0);
  EXPECT_LT(pose.evaluations, 40u);
}

}  // namespace
}  // namespace QXHermiteMath
