#include "hermite/charge/charge_density.h"

#include "support/charges.h"
#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

/// Sites of these degrees, of several widths and a few angstrom apart, with random coefficients;
/// none at the third site.
QXHermiteChargeDensity Density(const UInts& degrees) {
  const Vector centers = RandomPoints(degrees.size(), 1.5, 11);
  Vector widths, dense;
  for (unsigned int site = 0; site < degrees.size(); ++site) {
    widths.push_back(0.8 + 0.15 * site);
    for (double q : RandomCoefficients(degrees[site], 60 + site))
      dense.push_back(site == 2 ? 0.0 : q);
  }
  QXHermiteChargeDensity density(QXMultiHermiteParameters(degrees, widths, centers));
  EXPECT_TRUE(density.SetCoefficients(dense));
  return density;
}

QXHermiteChargeDensity Single(unsigned int N, const Vector& center, double q) {
  QXHermiteChargeDensity density(QXMultiHermiteParameters(N, 1.1, center));
  density.SetCoefficients({q}, {0});
  return density;
}

// With 1/|r| = 2/sqrt(pi) times the integral of exp(-t^2 r^2) over t = exp(u), the potential is a
// sum over u of products of integrals along the axes, in which the Gaussians exp(-lambda^2 (x -
// c)^2) and exp(-t^2 (x - p)^2) make one of exponent w = lambda^2 + t^2 about x0.
double PotentialByQuadrature(const QXHermiteChargeDensity& density, const Vector3d& p) {
  const QXMultiHermiteParameters params = density.GetParams();
  double sum = 0;
  for (unsigned int index : density.GetActives()) {
    const unsigned int site = params.GetSite(index);
    const auto lmn = params.GetLmn(site, index);
    const double lambda = params.GetLambda(site), a = lambda * lambda;
    const auto along = [&](size_t axis, double tt) {
      const double c = params.GetCenter(site)[axis], w = a + tt, x0 = (a * c + tt * p[axis]) / w;
      const auto function = [&](long double y) {
        return std::hermitel(lmn[axis], lambda * (x0 + y / std::sqrt(w) - c)) * std::exp(-y * y);
      };
      const double between = a * tt / w * (c - p[axis]) * (c - p[axis]);
      return std::exp(-between) / std::sqrt(w) * Integrate(function, -7, 7, 0.4);
    };
    const auto slice = [&](long double u) {
      const double t = std::exp(static_cast<double>(u));
      return t * along(0, t * t) * along(1, t * t) * along(2, t * t);
    };
    sum += density.GetCoefficient(index) * Integrate(slice, -36, 18, 0.15);
  }
  return kCoulombConstant * 2 / std::sqrt(std::acos(-1.0)) * sum;
}

// The largest potential is some 1e3; rounding of the R table of degree 3 at these distances, and
// of the quadrature, some 1e3 units in the last place.
TEST(ChargeDensity, HasThePotentialOfItsDensity) {
  const QXHermiteChargeDensity density = Density({2, 0, 1, 3});
  const Vector points = RandomPoints(5, 3.0, 5);
  Vector expected;
  for (size_t i = 0; i < points.size(); i += 3)
    expected.push_back(PotentialByQuadrature(density, Vector3d::Map(&points[i])));
  EXPECT_TRUE(AllNear(density.EvaluatePotential(points), expected, 1e6 * kEpsilon));
}

TEST(ChargeDensity, HasMinusTheGradientAsFieldWithASpareDegree) {
  const QXHermiteChargeDensity density = Density({2, 0, 1, 3}).WithSpareDegree();
  for (const Vector& p : {Vector{0.2, -0.4, 1.9}, Vector{2.5, 1, 0.5}}) {
    const Vector field = density.EvaluateElectricField(p);
    EXPECT_TRUE(DerivativesAgree(
        std::vector<Vector>{{-field[0]}, {-field[1]}, {-field[2]}},
        [&](const Vector& r) { return density.EvaluatePotential(r); }, p));
  }
}

// The functions vanish beyond 8 angstrom. In the layout with a spare degree the density has those
// of degree 1 too.
TEST(ChargeDensity, HasChargeAndDipoleInClosedForm) {
  const QXHermiteChargeDensity density = Density({2, 0, 1, 3, 1});
  QXHermiteChargeDensity spare = density.WithSpareDegree();
  Vector points;
  for (int i = 0; i < 60 * 60 * 60; ++i)
    for (int axis : {i / 3600, i / 60 % 60, i % 60}) points.push_back((axis - 29.5) / 3.5);
  const Vector values = spare.Evaluate(points);
  long double moments[4] = {};
  for (size_t i = 0; i < values.size(); ++i)
    for (size_t k = 0; k < 4; ++k)
      moments[k] += values[i] * (k < 3 ? points[3 * i + k] : 1.0) / (3.5L * 3.5L * 3.5L);
  const Vector dipole = density.DipoleMoment();
  for (size_t k = 0; k < 3; ++k)
    EXPECT_NEAR(dipole[k], static_cast<double>(moments[k]), 1e-10) << "axis " << k;
  EXPECT_NEAR(density.TotalCharge(), static_cast<double>(moments[3]), 1e-10);
  EXPECT_EQ(spare.TotalCharge(), density.TotalCharge());
  EXPECT_EQ(spare.DipoleMoment(), dipole);

  // Far away only they count. The quadrupole gives what is left, some 1/D^3.
  const double D = 1e5;
  EXPECT_NEAR(density.EvaluatePotential({0, 0, D})[0],
              kCoulombConstant * (density.TotalCharge() / D + dipole[2] / (D * D)),
              1e4 / (D * D * D));
}

// Tables are the same to the bit; coefficients are scaled and terms added in another order.
TEST(ChargeDensity, AgreesWithThePlainSums) {
  for (const UInts& degrees :
       {UInts{2, 2, 2, 2}, UInts{1, 3, 4, 2, 3, 1, 2}, UInts{0, 0, 1, 3, 4, 1}}) {
    const QXHermiteChargeDensity density = Density(degrees);
    for (size_t count : {0, 1, 16, 50}) {
      const Vector points = RandomPoints(count, 4.0, 6);
      // No term is above 1e4.
      EXPECT_TRUE(AllNear(density.EvaluatePotential(points), PlainPotential(density, points, false),
                          1e5 * kEpsilon));
      EXPECT_TRUE(AllNear(density.EvaluateElectricField(points),
                          PlainPotential(density, points, true), 1e5 * kEpsilon));
    }
  }
  QXHermiteChargeDensity none(QXMultiHermiteParameters(2, 1.0, {}));
  EXPECT_EQ(none.EvaluatePotential(Vector(6)), Vector(2));
  EXPECT_EQ(none.EvaluateElectricField(Vector(6)), Vector(6));
}

// A function of the highest degree of its site has no field but what is left in the table: by a
// site of a higher degree before it, or, if it comes first, at the point before.
TEST(ChargeDensity, ReadsTheTopShellOfTheFieldFromTheSiteBefore) {
  const Vector points = {0.3, 0.5, 2.0, 1.0, -0.6, 0.2, -1.0, 0.1, 0.9};
  EXPECT_EQ(Single(0, Vector(3), 1.0).EvaluateElectricField(points), Vector(9));
  const Vector field = Single(1, Vector(3), 1.0).EvaluateElectricField(points);
  for (bool topFirst : {false, true}) {
    QXHermiteChargeDensity two(
        QXMultiHermiteParameters(topFirst ? UInts{0, 1} : UInts{1, 0}, 1.1,
                                 topFirst ? Vector{5, 5, 5, 0, 0, 0} : Vector{0, 0, 0, 5, 5, 5}));
    two.SetCoefficients({1.0, 1.0}, {0u, topFirst ? 1u : 4u});
    Vector expected = field;
    for (size_t i = 0; i < field.size(); ++i)
      expected[i] += !topFirst ? field[i] : i < 3 ? 0.0 : field[i - 3];
    EXPECT_TRUE(AllNear(two.EvaluateElectricField(points), expected, 1e3 * kEpsilon)) << topFirst;
  }
}

TEST(ChargeDensity, IsNotANumberOnASite) {
  const QXHermiteChargeDensity density = Single(1, {0.5, 1, 2}, 1.0);
  EXPECT_TRUE(std::isnan(density.EvaluatePotential({0.5, 1, 2})[0]));
  for (double component : density.EvaluateElectricField({0.5, 1, 2}))
    EXPECT_TRUE(std::isnan(component));
}

TEST(ChargeDensity, BuildsHermiteGaussiansButThatOfDegreeOneAlone) {
  Vector out(5, 7.0);
  QXHermiteChargeDensity density = Single(0, Vector(3), 1.0);
  EXPECT_TRUE(density.BuildHermites(0.7, 1, out));
  EXPECT_EQ(out, (Vector{std::exp(-0.7 * 0.7), 7, 7, 7, 7}));
  EXPECT_TRUE(density.BuildHermites(0.7, 3, out));
  for (unsigned int k = 0; k <= 3; ++k)
    EXPECT_NEAR(out[k], std::hermite(k, 0.7) * std::exp(-0.49), 16 * kEpsilon);
  EXPECT_EQ(out[4], 7.0);
}

}  // namespace
}  // namespace QXHermiteMath
