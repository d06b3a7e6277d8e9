#pragma once

#include <vector>

#include "hermite/charge/charge_density.h"

namespace QXHermiteMath {

/// The Coulomb energy of two charge densities, kcal/mol: the double integral of
/// 332.063713 rho_a(r) rho_b(r') / |r - r'|, in closed form. Either may be moved rigidly.
///
/// Call SetupRef first, Setup second: it is Setup that sizes the table for both, and once that is
/// done evaluations need no other. Before that both densities are empty and the energy is 0. Where
/// two sites with active functions, one of each density, coincide, it is NaN, on purpose.
///
/// Example:
///   QXHermiteInteraction interaction;
///   interaction.SetupRef(protein);
///   interaction.Setup(ligand);
///   double energy = interaction.CoulombEnergy(rotation, translation);
class QXHermiteInteraction {
 public:
  /// Copies the density that stays in place. Always true.
  bool SetupRef(QXHermiteChargeDensity const& density);
  /// Copies the density that is moved, and makes room for the table of both. Always true.
  bool Setup(QXHermiteChargeDensity const& density);

  /// The energy of both as they stand.
  double CoulombEnergy();
  /// The energy with the fit rotated about the origin of coordinates (nine doubles, row-major),
  /// then moved by the translation (three doubles). The stored densities stay as they are.
  double CoulombEnergy(std::vector<double> const& rotation, std::vector<double> const& translation);

 private:
  QXHermiteChargeDensity ref{QXMultiHermiteParameters()};
  QXHermiteChargeDensity fit{QXMultiHermiteParameters()};
  std::vector<double> rTable;
  unsigned int maxOrder = 0;
  unsigned int refNPolyMax = 0;
  unsigned int fitNPolyMax = 0;
};

/// The Coulomb energy of a and b, kcal/mol. table is work space; it is grown to what is needed, and
/// given again and again costs no allocation.
double HermiteCoulombInteractionEnergy(QXHermiteChargeDensity const& a,
                                       QXHermiteChargeDensity const& b, std::vector<double>& table);

}  // namespace QXHermiteMath
