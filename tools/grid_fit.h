#pragma once

#include <optional>
#include <string>

#include "tools/console.h"
#include "tools/hits.h"
#include "tools/overlay_arguments.h"
#include "tools/reference.h"

// Grids as fits of an overlay.

namespace QXTools {

/// Lays the grid of a file over the reference. Nothing when that cannot be done, which the console
/// is told. held: the share of the grid that its expansion holds.
std::optional<Hit> OverlayGridFile(const std::string& path, const OverlayArguments& arguments,
                                   const Reference& reference, Console& console, double& held);

/// Reads the grid of a hit again and writes it, moved and resampled at its own spacing, to `path`,
/// in the format that the name `formatOf` calls for. False, with a report, when that fails.
bool WriteMovedGrid(const Hit& hit, const std::string& path, const std::string& formatOf);

/// Where the grid of a rank goes: the name itself for rank 1, moved-2.ccp4 for rank 2 of
/// moved.ccp4.
std::string RankedName(const std::string& name, size_t rank);

}  // namespace QXTools
