#pragma once

#include <vector>

#include "hermite/multihermite/multi_hermite_base.h"

namespace QXHermiteMath {

/// The Coulomb constant, kcal angstrom / (mol e^2).
inline constexpr double kCoulombConstant = 332.063713;

/// A charge density as a sum of Hermite Gaussians about sites,
///
///   rho(r) = sum over active (s, lmn) of q H_l(u_x) H_m(u_y) H_n(u_z) exp(-|u|^2),
///   u = lambda_s (r - r_s), H_k the physicists' Hermite polynomials,
///
/// in elementary charges (e) and angstrom. Each function is a derivative of a Gaussian, so that
/// potential and field have a closed form: see r_table.h.
///
/// At the very centre of a site with active functions, potential and field are NaN, on purpose.
/// Close to it, at T = lambda^2 d^2 below 1, functions of the degree N of the site lose some
/// N log10(1/T) of 16 digits, as the Boys functions do: see BoysFunc.
///
/// Example:
///   QXHermiteChargeDensity density(QXMultiHermiteParameters(1, 1.2, {0, 0, 0}));
///   density.SetCoefficients({0.5}, {0});
///   density.EvaluatePotential({0, 0, 8});   // { 332.063713 density.TotalCharge() / 8 }
class QXHermiteChargeDensity final : public QXMultiHermiteBase {
 public:
  /// A density of zero: its sites, and no active functions.
  QXHermiteChargeDensity(QXMultiHermiteParameters const& newParams)
      : QXMultiHermiteBase(newParams, 1.0) {}

  /// H_k(t) exp(-t^2) for k = 0 .. n; see BuildHermiteGaussians. Always true.
  bool BuildHermites(double t, unsigned int n, std::vector<double>& out) override;

  /// The electrostatic potential at each point, kcal/(mol e). points: x, y, z of each.
  std::vector<double> EvaluatePotential(std::vector<double> const& points) const;

  /// The electric field at each point, kcal/(mol e angstrom): Ex, Ey, Ez of the first point, then
  /// of the next.
  ///
  /// The functions of the highest degree N of a site do not give their own field, on purpose: that
  /// would take one order more of the R table than is built. They read what the table holds there:
  /// what the last site of a higher degree before has written, at the same point or, for the sites
  /// in front of it, at the point before; zero where nothing was. For the whole field of a density,
  /// take that of WithSpareDegree().
  std::vector<double> EvaluateElectricField(std::vector<double> const& points) const;

  /// The integral of the density, e.
  double TotalCharge() const;
  /// The integral of r times the density, e angstrom: three doubles. It depends on the origin
  /// unless the total charge is zero.
  std::vector<double> DipoleMoment() const;

  /// The same density in a layout of one degree more at every site; the coefficients are those of
  /// the same functions, at other flat indices. Its EvaluateElectricField is minus the gradient of
  /// the potential in full, and its Evaluate has the functions of a site of degree 1, which
  /// BuildHermites leaves out.
  QXHermiteChargeDensity WithSpareDegree() const;
};

/// Writes H_0(t) exp(-t^2) .. H_n(t) exp(-t^2). At n = 1 only the first is written, on purpose:
/// out[1] keeps what it had. Always true.
bool BuildHermiteGaussians(double t, unsigned int n, std::vector<double>& out);

}  // namespace QXHermiteMath
