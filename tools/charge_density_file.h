#pragma once

#include <optional>
#include <string>

#include "hermite/charge/charge_density.h"
#include "host/molkit/mol.h"
#include "tools/listener.h"

// Charge densities in files, as JSON.

namespace QXTools {

/// A charge density in the coordinates of its source.
struct ChargeDensity {
  std::string title;
  std::string source;   ///< what it was fitted to, for people
  QXMolKit::QXMol mol;  ///< the atoms of the source, without bonds; none when unknown
  QXHermiteMath::QXHermiteChargeDensity density;
};

/// True when a file holds JSON that calls itself a charge density. No problem is told.
bool IsChargeDensityFile(const std::string& path);

/// Writes sites, degrees, widths and active functions, such that ReadChargeDensity gives the same
/// density again, to the last bit, and its charge and dipole moment for people. False when the file
/// cannot be written.
bool WriteChargeDensity(const ChargeDensity& density, const std::string& path);

/// Reads what WriteChargeDensity wrote. Nothing when that cannot be done, which the listener is
/// told.
std::optional<ChargeDensity> ReadChargeDensity(const std::string& path, Listener& listener);

}  // namespace QXTools
