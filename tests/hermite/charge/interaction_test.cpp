#include "hermite/charge/interaction.h"

#include <fstream>

#include "support/charges.h"
#include "support/counting_new.h"
#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

QXHermiteChargeDensity Density(const UInts& degrees, double lambda, const Vector& centers,
                               unsigned int seed) {
  QXHermiteChargeDensity density(QXMultiHermiteParameters(degrees, lambda, centers));
  Vector dense;
  for (unsigned int N : degrees)
    for (double q : RandomCoefficients(N, ++seed)) dense.push_back(q);
  density.SetCoefficients(dense);
  return density;
}

QXHermiteChargeDensity Left() {
  return Density({2, 0, 1}, 0.9, {0, 0, 0, 1.1, 0.2, 0, -0.4, 1.3, 0.5}, 30);
}
QXHermiteChargeDensity Right() {
  return Density({1, 3}, 1.2, {2, 1.5, 0.1, 1.2, -1, 2.1}, 40);
}

double Energy(const QXHermiteChargeDensity& a, const QXHermiteChargeDensity& b) {
  Vector table;
  return HermiteCoulombInteractionEnergy(a, b, table);
}

// The file has values without a Coulomb constant, each with the magnitude of the terms of another
// way of summing. Here T is 1 to 2 and the closed form of F_5 loses two or three digits.
TEST(Interaction, AgreesWithIntegralsOverCartesianGaussians) {
  std::ifstream file(std::string(QX_TEST_DATA) + "/hermite/coulomb.txt");
  double lambda[2];
  Vector center[2] = {Vector(3), Vector(3)}, point(3);
  for (int i : {0, 1}) file >> lambda[i] >> center[i][0] >> center[i][1] >> center[i][2];
  file >> point[0] >> point[1] >> point[2];
  const auto read = [&](double& value, double& bound) {
    file >> value >> bound;
    value *= kCoulombConstant;
    bound *= 1e3 * kEpsilon * kCoulombConstant;
  };
  QXHermiteChargeDensity a(QXMultiHermiteParameters(3, lambda[0], center[0]));
  QXHermiteChargeDensity b(QXMultiHermiteParameters(2, lambda[1], center[1]));
  for (unsigned int i = 0; i < 20; ++i) {
    unsigned int l, m, n;
    double value, bound;
    ASSERT_TRUE(file >> l >> m >> n);
    ASSERT_EQ(GetLmnIndex(l, m, n), i);
    a.SetCoefficients({1.0}, {i});
    read(value, bound);
    EXPECT_NEAR(a.EvaluatePotential(point)[0], value, bound) << "function " << i;
    for (unsigned int j = 0; j < 10; ++j) {
      b.SetCoefficients({1.0}, {j});
      read(value, bound);
      EXPECT_NEAR(Energy(a, b), value, bound) << "functions " << i << ", " << j;
    }
  }
}

// By the trapezoidal rule. No node lies on a site, where the potential is not a number.
TEST(Interaction, IsTheIntegralOfOneDensityInThePotentialOfTheOther) {
  QXHermiteChargeDensity a = Left().WithSpareDegree();
  const QXHermiteChargeDensity b = Right();
  Vector points;
  for (int i = 0; i < 50 * 50 * 50; ++i)
    for (int axis : {i / 2500, i / 50 % 50, i % 50}) points.push_back((axis - 24.4) / 3.4);
  const Vector density = a.Evaluate(points), potential = b.EvaluatePotential(points);
  long double sum = 0;
  for (size_t i = 0; i < density.size(); ++i) sum += density[i] * potential[i];
  EXPECT_NEAR(Energy(a, b), static_cast<double>(sum / (3.4L * 3.4L * 3.4L)), 1e-10);
}

TEST(Interaction, OfTwoSphericalChargesIsTheZerothBoysFunction) {
  QXHermiteChargeDensity a(QXMultiHermiteParameters(0, 0.9, {0.3, 0, -1}));
  QXHermiteChargeDensity b(QXMultiHermiteParameters(0, 1.2, {1.3, 2, 1}));
  a.SetCoefficients({0.7});
  b.SetCoefficients({-1.1});
  QXHermiteInteraction interaction;
  interaction.SetupRef(a);
  interaction.Setup(b);
  const double alpha = 0.81, beta = 1.44, root = 3.0 * std::sqrt(alpha * beta / (alpha + beta));
  const double F0 = std::sqrt(std::acos(-1.0)) / 2 * std::erf(root) / root;
  const double expected =
      11617.858885866724 * 0.7 * -1.1 * F0 / (alpha * beta * std::sqrt(alpha + beta));
  EXPECT_NEAR(interaction.CoulombEnergy(), expected, 16 * kEpsilon * std::fabs(expected));

  // Moving h_0(lambda x) along x gives lambda h_1(lambda x).
  const auto energy = [](const Vector& center, unsigned int function) {
    QXHermiteChargeDensity one(QXMultiHermiteParameters(1, 0.9, center));
    one.SetCoefficients({0.9}, {function});
    return Vector{Energy(one, Right())};
  };
  const Vector center = {0.2, -0.1, 0.4};
  Vector columns[3];
  for (unsigned int axis : {0u, 1u, 2u}) columns[axis] = {0.9 * energy(center, 3 - axis)[0]};
  EXPECT_TRUE(DerivativesAgree(
      columns, [&](const Vector& at) { return energy(at, 0); }, center));
}

// Energies are some 1e2 for a and b, 1e4 with the others, sums of terms of that size.
TEST(Interaction, DoesNotDependOnOrderOrPlace) {
  const QXHermiteChargeDensity a = Left(), b = Right();
  // More sites than lanes, of several degrees.
  UInts degrees;
  for (unsigned int i = 0; i < 40; ++i) degrees.push_back(i % 3);
  const QXHermiteChargeDensity many = Density(degrees, 1.1, RandomPoints(40, 3.0, 8), 50);
  QXHermiteChargeDensity twice = b;  // a function listed twice counts twice
  twice.SetCoefficients({0.5, -0.8, 0.3}, {0, 3, 3});
  for (auto const& [one, other] :
       {std::pair{&a, &b}, {&a, &many}, {&many, &b}, {&a, &twice}, {&many, &twice}}) {
    const double expected = PlainEnergy(*one, *other);
    EXPECT_NEAR(Energy(*one, *other), expected, 1e6 * kEpsilon);
    EXPECT_NEAR(Energy(*other, *one), expected, 1e6 * kEpsilon);
  }

  const Matrix turn = EulerMatrix({0.4, -1.1, 2.0});
  const Vector rotation(turn.data(), turn.data() + 9), translation = {0.3, 1.2, -0.7};
  QXHermiteChargeDensity movedA = a;
  movedA.Rotate(rotation);
  movedA.Translate(translation);
  QXHermiteInteraction interaction;
  EXPECT_EQ(interaction.CoulombEnergy(), 0.0);
  EXPECT_TRUE(interaction.SetupRef(movedA));
  EXPECT_TRUE(interaction.Setup(b));
  EXPECT_NEAR(interaction.CoulombEnergy(rotation, translation), Energy(a, b), 1e5 * kEpsilon);
  EXPECT_EQ(interaction.CoulombEnergy(), Energy(movedA, b)) << "what is stored stays";

  // Far away only the charges count; the dipoles give what is left, some 1/D^2.
  const double D = 1e6;
  EXPECT_NEAR(interaction.CoulombEnergy({1, 0, 0, 0, 1, 0, 0, 0, 1}, {D, 0, 0}),
              kCoulombConstant * a.TotalCharge() * b.TotalCharge() / D, 1e4 / (D * D));
}

// Only sites that both have functions.
TEST(Interaction, IsNotANumberWhereSitesCoincide) {
  QXHermiteChargeDensity a(QXMultiHermiteParameters(1, 1.0, {0, 0, 0, 3, 0, 0}));
  QXHermiteChargeDensity b(QXMultiHermiteParameters(0, 0.8, {1, 2, 3}));
  b.SetCoefficients({1.0}, {0});
  QXHermiteInteraction interaction;
  const Vector identity = {1, 0, 0, 0, 1, 0, 0, 0, 1}, ontoFirst = {-1, -2, -3};
  QXHermiteChargeDensity moved = b;
  moved.Translate(ontoFirst);
  for (unsigned int active : {0u, 4u}) {
    a.SetCoefficients({1.0}, {active});
    interaction.SetupRef(a);
    interaction.Setup(b);
    EXPECT_EQ(std::isnan(interaction.CoulombEnergy(identity, ontoFirst)), active == 0);
    EXPECT_EQ(std::isnan(Energy(moved, a)), active == 0);
  }
  // Without functions there is no energy, be there no lists at all, and tables are built in vain.
  for (auto const& [one, other] : {std::pair{QXHermiteChargeDensity(a.GetParams()), b},
                                   {b, QXHermiteChargeDensity(b.GetParams())}}) {
    Vector table(1, -1.0);
    EXPECT_EQ(HermiteCoulombInteractionEnergy(one, other, table), 0.0);
    EXPECT_NE(table[0], -1.0);
  }
}

// Setup alone makes room; a larger reference after it is served all the same.
TEST(Interaction, AllocatesNoTableAfterSetup) {
  const QXHermiteChargeDensity reference = Density({5}, 1.0, {0, 0, 0}, 70);
  const QXHermiteChargeDensity fit = Density({5}, 1.2, {2, 0, 1}, 71);
  QXHermiteInteraction interaction;
  interaction.SetupRef(reference);
  interaction.Setup(fit);
  const size_t table = SizeOfRTables(10) * sizeof(double);
  largestAllocation = 0;
  const double energy = interaction.CoulombEnergy();
  EXPECT_LT(largestAllocation, table / 4);

  QXHermiteInteraction late;
  late.Setup(fit);
  late.SetupRef(reference);
  largestAllocation = 0;
  EXPECT_EQ(late.CoulombEnergy(), energy);
  EXPECT_GE(largestAllocation, table) << "the table is grown when it is needed";
}

}  // namespace
}  // namespace QXHermiteMath
