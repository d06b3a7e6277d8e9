#pragma once

#include <cstddef>
#include <string>

#include "host/grid/scalar_grid.h"

namespace QXCore {

/// What a grid file holds, told by the end of its name in any case.
enum class QXGridFormat {
  Unknown,
  CCP4,  ///< .ccp4, .map, .mrc
  Cube,  ///< .cube, .cub
};

QXGridFormat QXGetGridFormat(const std::string& fileName);

/// Under this name a grid carries the atoms of its file, a QXMolKit::QXMol, where there are any.
inline constexpr const char* kQXGridMoleculeTag = "molecule";

/// Reads a grid: lengths in angstrom, values as they stand in the file. A grid whose axes are not
/// orthogonal, or whose spacing differs between axes, is resampled onto a regular one of its
/// smallest spacing, with a warning; so is one with axes that are not along x, y, z. Values that
/// are not finite are counted in one warning and kept. The title is that of the file.
///
/// False, with one error report that begins with the name of the file, and without change to
/// `grid`, when the file cannot be read: also when its header promises more than it holds.
bool QXReadGrid(const std::string& fileName, QXScalarGrid& grid);

/// Writes a grid in the format of the name: CCP4 as 32-bit floats, or cube with lengths in bohr,
/// with the atoms under kQXGridMoleculeTag. Values as they stand. False, with an error report, when
/// that fails or the grid has no elements.
bool QXWriteGrid(const std::string& fileName, const QXScalarGrid& grid);

/// The number of values that are infinite or not a number.
size_t QXCountNonFinite(const QXScalarGrid& grid);

}  // namespace QXCore
