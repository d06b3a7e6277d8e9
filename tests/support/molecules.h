#pragma once

#include <algorithm>
#include <cmath>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/molkit/mol.h"
#include "host/molkit/sdtext.h"
#include "support/files.h"

namespace QXTest {

using QXMolKit::QXMol;

/// A molecule of tests/data/hermite/drugs.txt with its two conformers, hydrogens included; see
/// tests/golden/hermite_molecules.py for the format.
inline QXMol Drug(const std::string& title) {
  std::ifstream file(std::string(QX_TEST_DATA) + "/hermite/drugs.txt");
  std::string name;
  for (unsigned int atoms = 0, conformers = 0; file >> name >> atoms >> conformers;) {
    QXMol mol;
    mol.SetTitle(name);
    for (unsigned int i = 0; i < atoms; ++i) {
      unsigned int number = 0;
      double charge = 0;
      file >> number >> charge;
      mol.NewAtom(number)->SetPartialCharge(charge);
    }
    std::vector<double> coords(3 * static_cast<size_t>(atoms));
    for (unsigned int k = 0; k < conformers; ++k) {
      for (double& x : coords) file >> x;
      QXMolKit::QXConfBase* conf = k == 0 ? mol.GetActive() : mol.NewConf(mol.GetActive());
      conf->SetCoords(coords.data());
    }
    if (name == title && file) return mol;
  }
  throw std::runtime_error("no molecule " + title);
}

/// Carbons at these places.
inline QXMol Carbons(const std::vector<double>& coords) {
  QXMol mol;
  for (size_t i = 0; i < coords.size(); i += 3) mol.NewAtom(6);
  mol.SetCoords(coords.data());
  return mol;
}

inline std::vector<double> Coords(const QXMolKit::QXMolBase& mol) {
  std::vector<double> coords(3 * static_cast<size_t>(mol.NumAtoms()));
  mol.GetCoords(coords.data());
  return coords;
}

/// The largest distance from any point to the nearest of the others.
inline double Farthest(const std::vector<double>& points, const std::vector<double>& others) {
  double farthest = 0.0;
  for (size_t i = 0; i < points.size(); i += 3) {
    double nearest = HUGE_VAL;
    for (size_t k = 0; k < others.size(); k += 3) {
      nearest = std::min(nearest, std::hypot(points[i] - others[k], points[i + 1] - others[k + 1],
                                             points[i + 2] - others[k + 2]));
    }
    farthest = std::max(farthest, nearest);
  }
  return farthest;
}

/// The conformers of a molecule, in order.
inline std::vector<QXMolKit::QXConfBase*> Conformers(const QXMolKit::QXMCMolBase& mol) {
  std::vector<QXMolKit::QXConfBase*> all;
  const std::unique_ptr<QXMolKit::QXIterator<QXMolKit::QXConfBase>> confs(mol.GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) all.push_back(confs->Get());
  return all;
}

/// One conformer of such a molecule.
inline QXMol Conformer(const std::string& title, size_t which = 0) {
  return QXMol(*Conformers(Drug(title))[which], 1);
}

/// The numbers that the conformers have as SD texts under a tag, with six digits behind the point.
inline std::vector<double> Texts(const QXMol& mol, const char* tag) {
  std::vector<double> numbers;
  for (const auto* conf : Conformers(mol))
    numbers.push_back(std::stod(QXMolKit::QXGetSDData(*conf, tag)));
  return numbers;
}
constexpr double kText = 5e-7;

}  // namespace QXTest
