#include "hermite/overlay/cos_angle.h"

#include "support/hermite.h"
#include "support/molecules.h"

namespace QXHermiteMath {
namespace {

// Multiples of 1/64, so that the small shifts of differences are exact in single precision.
const Vector kAtoms = {-1.5, 0.25, 0.5, 0.75, 1.0, -0.25, 1.25, -1.125, 0.0, -0.5, -0.75, 1.0};
constexpr double kRadius = 1.5;

QXHermiteCosAngleFunc Objective(const QXHermite& ref, const QXHermiteOptions& options) {
  QXHermiteCosAngleFunc f(options);
  EXPECT_TRUE(f.SetupRef(ref));
  EXPECT_TRUE(f.Setup(Carbons(kAtoms), kRadius));
  EXPECT_EQ(f.NumVar(), kAtoms.size());
  return f;
}

TEST(CosAngle, GradientIsThatOfTheValueAndScalesPlayNoPart) {
  for (unsigned int N : {1u, 6u, 9u}) {
    const QXHermiteOptions options = FixedWidths(N, 0.7, 1.0, 1.2);
    const Gaussians target = RandomGaussians(5, 300, true);
    // The value is 1 and a quotient of sums over the basis.
    const double rounding = 2 * (QXHermiteBasisSize(N) + 4) * kEpsilon;
    const QXHermite ref = Expanded(target, options);
    QXHermiteCosAngleFunc f = Objective(ref, options);
    EXPECT_TRUE(GradientAgrees(f, kAtoms, rounding)) << "degree " << N;

    // By a power of 2, so that all roundings scale too.
    Vector c = ref.GetCoefficients(), gradient(kAtoms.size()), scaledGradient(kAtoms.size());
    for (double& v : c) v *= 1024.0;
    QXHermite scaled;
    scaled.Setup(c, options);
    QXHermiteCosAngleFunc g = Objective(scaled, options);
    EXPECT_EQ(g(kAtoms.data(), scaledGradient.data()), f(kAtoms.data(), gradient.data()));
    EXPECT_EQ(scaledGradient, gradient);
  }
}

// Degree, widths and the search for widths are the reference's; the other two options stay those
// of the constructor.
TEST(CosAngle, TakesFiveOptionsFromTheReference) {
  const auto expected = [](const QXHermite& ref, const QXHermiteOptions& options) {
    const Vector& a = ref.GetCoefficients();
    const Vector b = Expanded(makeShapeGaussians(kAtoms, kRadius), options).GetCoefficients();
    return 1.0 - vecProduct(a, b) / std::sqrt(vecProduct(a, a) * vecProduct(b, b));
  };
  const Gaussians target = RandomGaussians(5, 301);
  QXHermiteOptions unlike = FixedWidths(6, 0.7, 1.0, 1.2);
  unlike.SetUseCenterOfMass(true);
  const QXHermite ref = Expanded(target, unlike);
  QXHermiteOptions own = FixedWidths(3, 2.0, 2.0, 2.0);
  EXPECT_EQ(Objective(ref, own)(kAtoms.data()), expected(ref, FixedWidths(6, 0.7, 1.0, 1.2)));

  unlike.SetUseOptimalLambdas(true);
  const QXHermite searched = Expanded(target, unlike);
  QXHermiteOptions search = searched.GetOptions();
  search.SetUseCenterOfMass(false);
  EXPECT_EQ(Objective(searched, own)(kAtoms.data()), expected(searched, search));

  own.SetUseSingleLambda(true);
  own.SetUseCenterOfMass(true);
  own.SetUseOptimalLambdas(true);
  QXHermiteOptions single = FixedWidths(6, 0.7, 0.7, 0.7);
  single.SetUseCenterOfMass(true);
  EXPECT_EQ(Objective(ref, own)(kAtoms.data()), expected(ref, single));
}

TEST(CosAngle, NormalizationIsTheNormOfEachBasisFunction) {
  Vector norms = {1.0, 2.0}, expected;  // cleared first
  computeHermiteNormalizationVector(norms, FixedWidths(4, 0.5, 1.5, 2.0));
  ForShellOrder(4, [&](unsigned int l, unsigned int m, unsigned int n) {
    expected.push_back(
        std::sqrt(static_cast<double>(SquaredNorm(l) * SquaredNorm(m) * SquaredNorm(n)) / 1.5));
  });
  Vector bounds;
  for (double v : expected) bounds.push_back(16 * kEpsilon * v);
  EXPECT_TRUE(AllWithin(norms, expected, bounds));
  EXPECT_EQ(vecProduct({}, {1.0, 2.0}), 0.0);
}

}  // namespace
}  // namespace QXHermiteMath
