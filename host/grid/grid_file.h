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

/// The format that the end of the name stands for; Unknown when it stands for none.
QXGridFormat QXGetGridFormat(const std::string& fileName);

/// Under this name a grid carries the atoms of its file, a QXMolKit::QXMol, where there are any.
inline constexpr const char* kQXGridMoleculeTag = "molecule";

/// Reads a grid: lengths in angstrom, values as they stand in the file. Axes along x, y and z, of
/// one step, may come in any order and direction: the elements are put in order, no value changes.
/// A grid whose axes are not orthogonal, not along x, y and z, or of different steps, by more than
/// 1e-3 of an element anywhere, is resampled with its smallest step, with a warning; it is 0 where
/// the file has no values. Values that are not finite are counted in one warning and kept. The
/// title is that of the file.
///
/// - CCP4 and MRC: modes 0, 1, 2 and 6, in both orders of bytes. Neither symmetry nor repetition of
///   the cell is applied. The place is that of ORIGIN when one of these words is not 0, else that
///   of the first column, row and section.
/// - Cube: of one data set, in bohr, or all in angstrom when the numbers of elements are negative.
///   The atoms are attached under kQXGridMoleculeTag; they have no partial charges.
///
/// False, with one error report "file: what: what to do", or "file:line: ...", and without change
/// to `grid`, when the file cannot be read: also when it holds less than its header promises, or a
/// cube more, when steps are not between 1e-5 and 1e5 angstrom, or when it begins more than 1e5
/// angstrom from the origin along an axis.
bool QXReadGrid(const std::string& fileName, QXScalarGrid& grid);

/// Writes a grid in the format of the name, values as they stand: CCP4 as 32-bit floats, or cube
/// with lengths in bohr and the atoms under kQXGridMoleculeTag. A CCP4 map of a grid that begins at
/// a whole number of elements from the origin, to 1e-4 of an element, tells its place by these
/// numbers, which every program reads; of other grids by ORIGIN. False, with an error report, when
/// that fails, the grid has no elements, or QXReadGrid would refuse its place or spacing.
bool QXWriteGrid(const std::string& fileName, const QXScalarGrid& grid);
/// The same in a given format, whatever the name.
bool QXWriteGrid(const std::string& fileName, const QXScalarGrid& grid, QXGridFormat format);

/// The number of values that are infinite or not a number.
size_t QXCountNonFinite(const QXScalarGrid& grid);

}  // namespace QXCore
