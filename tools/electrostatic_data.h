#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/molkit/mol.h"
#include "tools/listener.h"

namespace QXTools {

/// Potential and field of a molecule at points around it. Units: angstrom, kcal/mol/e,
/// kcal/mol/e/angstrom, debye.
struct ElectrostaticData {
  std::string title;
  QXMolKit::QXMol mol;            ///< the atoms, from JSON without bonds
  std::vector<double> points;     ///< x, y, z of each
  std::vector<double> potential;  ///< at each point; or empty
  std::vector<double> field;      ///< x of all points, then y, then z; or empty
  std::vector<bool> heldOut;      ///< for each point: not to be fitted
  double totalCharge = 0.0;
  std::vector<double> dipole;  ///< three numbers, or empty

  size_t NumPoints() const { return points.size() / 3; }
};

/// True when the name tells of data in JSON.
bool IsElectrostaticJson(const std::string& path);

/// Reads data from JSON: see docs/electrostatics.md. Nothing when that cannot be done, which the
/// listener is told, as below.
std::optional<ElectrostaticData> ReadElectrostaticJson(const std::string& path, Listener& listener);

/// Reads data from the SD tags "grid", "potential", "electric field" and "holdout" of a record,
/// counted from 1: numbers, separated by blanks or commas.
std::optional<ElectrostaticData> ReadElectrostaticRecord(const std::string& path,
                                                         unsigned int record, Listener& listener);

}  // namespace QXTools
