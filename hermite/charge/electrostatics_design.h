#pragma once

#include <Eigen/Core>
#include <vector>

#include "hermite/multihermite/multi_hermite_parameters.h"

namespace QXHermiteMath {

/// 0 .. n - 1.
std::vector<unsigned int> FullActivesList(unsigned int n);

/// Potential and field, at every point, of functions of the flat basis read as charge densities
/// H_l H_m H_n exp(-t^2) with coefficient 1; see QXHermiteChargeDensity. kcal/mol per elementary
/// charge, and per angstrom.
///
/// points: x, y, z of each of P points, angstrom. 4P rows, in blocks and not interleaved:
///
///   0 .. P-1   | P .. 2P-1 | 2P .. 3P-1 | 3P .. 4P-1
///   potential  | field x   | field y    | field z
///
/// One column for each of `actives`: site by site, in a site in the order given. With rising
/// actives column j is that of actives[j].
///
/// The field is whole in every degree, unlike that of
/// QXHermiteChargeDensity::EvaluateElectricField, which lacks what the top degree of a site gives.
/// A point on a site is NaN in the columns of the site.
Eigen::MatrixXd HermiteElectrostaticsDesignMatrix(std::vector<double> const& points,
                                                  QXMultiHermiteParameters const& params,
                                                  std::vector<unsigned int> const& actives);
/// The same for the whole flat basis.
Eigen::MatrixXd HermiteElectrostaticsDesignMatrix(std::vector<double> const& points,
                                                  QXMultiHermiteParameters const& params);

}  // namespace QXHermiteMath
