#pragma once

#include <optional>
#include <string>

#include "host/grid/scalar_grid.h"
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

/// Gives a moved grid the atoms that the grid may carry, all conformers moved likewise.
void MoveAtoms(const QXCore::QXScalarGrid& grid, const QXMolKit::QXTrans& motion,
               QXCore::QXScalarGrid& moved);

/// Reads the grid of a hit again and writes it, moved and resampled at its own spacing, with the
/// atoms it may carry, to `path`, in the format that the name `formatOf` calls for. Nothing, with a
/// report, when that fails.
std::optional<QXCore::QXScalarGrid> WriteMovedGrid(const Hit& hit, const std::string& path,
                                                   const std::string& formatOf);

/// Where the grid of a rank goes: the name itself for rank 1, moved-2.ccp4 for rank 2 of
/// moved.ccp4.
std::string RankedName(const std::string& name, size_t rank);

}  // namespace QXTools
