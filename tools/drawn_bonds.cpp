#include "tools/drawn_bonds.h"

#include <Eigen/Core>
#include <map>
#include <vector>

#include "tools/inertial_frame.h"

namespace QXTools {

using Eigen::Vector3d;
using QXMolKit::QXMol;

namespace {

/// In angstrom: B. Cordero et al., Dalton Trans. 2008, 2832.
double CovalentRadius(unsigned int element) {
  static const std::map<unsigned int, double> radii = {
      {1, 0.31},  {6, 0.76},  {7, 0.71},  {8, 0.66},  {9, 0.57},
      {15, 1.07}, {16, 1.05}, {17, 1.02}, {35, 1.20}, {53, 1.39}};
  const auto known = radii.find(element);
  return known == radii.end() ? 1.2 : known->second;
}

}  // namespace

QXMol WithBonds(QXMol mol) {
  constexpr double kSlack = 0.3;
  if (mol.NumBonds() > 0) return mol;
  const std::vector<double> places = Coordinates(mol);
  const auto radius = [&](unsigned int i) {
    return CovalentRadius(mol.GetAtom(i)->GetAtomicNum());
  };
  for (unsigned int i = 0; i < mol.NumAtoms(); ++i) {
    for (unsigned int j = 0; j < i; ++j) {
      const double distance =
          (Vector3d::Map(&places[size_t{3} * i]) - Vector3d::Map(&places[size_t{3} * j])).norm();
      if (distance < radius(i) + radius(j) + kSlack) {
        mol.NewBond(i, j, QXMolKit::QXBondOrder::Single);
      }
    }
  }
  return mol;
}

}  // namespace QXTools
