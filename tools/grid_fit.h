#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/grid/scalar_grid.h"
#include "tools/console.h"
#include "tools/hits.h"
#include "tools/overlay_arguments.h"
#include "tools/reference.h"
#include "tools/report.h"

// Grids as fits of an overlay.

namespace QXTools {

/// Lays the grid of a file over the reference. Nothing when that cannot be done, which the console
/// is told. held: the share of the grid that its expansion holds.
std::optional<Hit> OverlayGridFile(const std::string& path, const OverlayArguments& arguments,
                                   const Reference& reference, Console& console, double& held);

/// The grid of a hit, read again, moved and resampled at its own spacing, with the atoms it may
/// carry. Nothing, with a report, when it cannot be read.
std::optional<QXCore::QXScalarGrid> MovedGrid(const Hit& hit);

/// Writes the moved grid to `path`, in the format that the name `formatOf` calls for. False, with a
/// report, when that fails.
bool WriteMovedGrid(const Hit& hit, const std::string& path, const std::string& formatOf);

/// Adds the moved grids of the first rows, and the atoms they carry, to a report of these hits.
void AddMovedGrids(Report& report, const std::vector<Hit>& hits);

/// Where the grid of a rank goes: the name itself for rank 1, moved-2.ccp4 for rank 2 of
/// moved.ccp4.
std::string RankedName(const std::string& name, size_t rank);

}  // namespace QXTools
