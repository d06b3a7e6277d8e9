#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/electrostatic_data.h"
#include "tools/electrostatic_path.h"
#include "tools/listener.h"

// Fits of charge densities as people ask for them: with checks of the data before, and a judgement
// after.

namespace QXTools {

inline constexpr unsigned int kLargestFitDegree = 10;

/// Fits densities at sites (x, y, z of each) to the data, less the points that are too close to a
/// site for the closed form. memory: for the matrices of the fit, in MiB. The listener is told what
/// there is to say of the data, which is `place` for people, and of the density chosen. Nothing
/// when there is nothing to fit, with the reason told.
std::optional<ElectrostaticPath> FitCharges(const ElectrostaticData& data,
                                            const ElectrostaticSettings& settings,
                                            const std::vector<double>& sites, unsigned int memory,
                                            const std::string& place, Listener& listener);

/// To what such a density was fitted, for people: "potential and field at 120 points".
std::string FittedTo(const ElectrostaticData& data, const ElectrostaticSettings& settings);

}  // namespace QXTools
