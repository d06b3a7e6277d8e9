#pragma once

#include <string>
#include <vector>

#include "tools/charge_density_file.h"
#include "tools/electrostatic_data.h"
#include "tools/electrostatic_path.h"
#include "tools/interaction_energy.h"
#include "tools/report.h"

// Reports about charge densities.

namespace QXTools {

/// A row for each density along the path, which shows the sites that have functions in it; with the
/// atoms, the potential and the density of the one that was chosen.
Report ReportOfPath(const ElectrostaticPath& path, const ElectrostaticData& data);

/// The energies of the second of two densities in several places.
struct EnergyScan {
  std::string coordinate;  ///< "shift" or "turn"
  std::string unit;
  std::vector<double> values;    ///< of the coordinate
  std::vector<double> energies;  ///< kcal/mol; NaN where there is none
  std::vector<Motion> motions;
};

/// A row for each of the first kMostReportRows places, which shows the atoms of `b` there, or its
/// sites where no atoms are known; with the atoms or sites of `a` and its potential.
Report ReportOfScan(const ChargeDensity& a, const ChargeDensity& b, const EnergyScan& scan);

/// A row for each site that has functions, which shows the site; with the atoms, the potential and
/// the density.
Report ReportOfDensity(const ChargeDensity& density);

}  // namespace QXTools
