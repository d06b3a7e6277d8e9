// A charge density from potential and field, and the energy of two of them.
//
// Water as three point charges stands for the quantum program. Its potential and field around it
// are fitted, and a second water is moved past the first: the energy of the two densities, in
// closed form, beside that of the point charges.

#include <hermite/hermite.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

using namespace QXHermiteMath;

namespace {

const std::vector<double> kAtoms = {0, 0, 0, 0.757, 0.586, 0, -0.757, 0.586, 0};  // O, H, H
const std::vector<double> kCharges = {-0.834, 0.417, 0.417};

/// Potential at r, then the three components of the field.
std::vector<double> OfPointCharges(double x, double y, double z) {
  std::vector<double> sum(4);
  for (size_t i = 0; i < 3; ++i) {
    const double d[] = {x - kAtoms[3 * i], y - kAtoms[3 * i + 1], z - kAtoms[3 * i + 2]};
    const double r = std::hypot(d[0], d[1], d[2]);
    sum[0] += kCoulombConstant * kCharges[i] / r;
    for (int k = 0; k < 3; ++k) sum[k + 1] += kCoulombConstant * kCharges[i] * d[k] / (r * r * r);
  }
  return sum;
}

}  // namespace

int main() {
  // Points on spheres of 2.8 to 4 angstrom, evenly spread along a spiral.
  std::vector<double> points, values;
  std::vector<std::vector<double>> rows;
  for (int i = 0; i < 400; ++i) {
    const double z = 1 - (2 * i + 1) / 400.0, turn = i * M_PI * (3 - std::sqrt(5.0));
    const double r = 2.8 + 0.4 * (i % 4), rho = r * std::sqrt(1 - z * z);
    points.insert(points.end(), {rho * std::cos(turn), rho * std::sin(turn), r * z});
    rows.push_back(OfPointCharges(rho * std::cos(turn), rho * std::sin(turn), r * z));
  }
  for (int column = 0; column < 4; ++column)  // all potentials, all Ex, all Ey, all Ez
    for (const auto& row : rows) values.push_back(row[column]);

  QXMultiHermiteParameters layout(2, 1.2, kAtoms);  // degree, width, x, y, z of each site
  QXLassoChargeDensityOptions options;              // potential and field, neutral
  QXLassoChargeDensity fit(layout, options);
  fit.PrepData(points, values);
  fit.Fit();
  QXHermiteChargeDensity density = fit.GetChargeDensity(std::min(20u, fit.MaxNumActives()));
  std::vector<double> potential = density.EvaluatePotential(points);
  std::vector<double> field = density.WithSpareDegree().EvaluateElectricField(points);

  double error = 0, square = 0;
  for (size_t i = 0; i < potential.size(); ++i) {
    error += std::pow(potential[i] - values[i], 2);
    square += values[i] * values[i];
  }
  std::printf("%u functions, relative RMS of the potential %.4f\n", density.NumActives(),
              std::sqrt(error / square));
  std::printf("dipole along y %.4f e A, of the point charges %.4f\n", density.DipoleMoment()[1],
              2 * 0.417 * 0.586);

  QXHermiteInteraction interaction;
  interaction.SetupRef(density);
  interaction.Setup(density);
  for (double z : {3.0, 4.0, 5.0, 7.0, 10.0}) {
    double points_energy = 0;
    for (size_t i = 0; i < 3; ++i)
      points_energy += kCharges[i] * OfPointCharges(kAtoms[3 * i], kAtoms[3 * i + 1], z)[0];
    const std::vector<double> rotation = {1, 0, 0, 0, 1, 0, 0, 0, 1}, translation = {0, 0, z};
    double energy = interaction.CoulombEnergy(rotation, translation);  // row-major, angstrom
    std::printf("z %5.1f A  energy %8.4f kcal/mol  of the point charges %8.4f\n", z, energy,
                points_energy);
  }
}
