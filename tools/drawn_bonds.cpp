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
  constexpr unsigned int kMostAtoms = 3000;  // all pairs are looked at
  const unsigned int count = mol.NumAtoms();
  if (mol.NumBonds() > 0 || count > kMostAtoms) return mol;
  const std::vector<double> places = Coordinates(mol);
  std::vector<double> radii;
  for (unsigned int i = 0; i < count; ++i) {
    radii.push_back(CovalentRadius(mol.GetAtom(i)->GetAtomicNum()));
  }
  const auto place = [&](unsigned int i) { return Vector3d::Map(&places[size_t{3} * i]); };
  for (unsigned int i = 0; i < count; ++i) {
    for (unsigned int j = 0; j < i; ++j) {
      if ((place(i) - place(j)).norm() < radii[i] + radii[j] + kSlack) {
        mol.NewBond(i, j, QXMolKit::QXBondOrder::Single);
      }
    }
  }
  return mol;
}

}  // namespace QXTools
