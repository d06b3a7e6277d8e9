#pragma once

#include <array>
#include <cstdint>
#include <istream>
#include <ostream>
#include <string>

#include "host/grid/skew_grid.h"

// What the formats of grid files have in common: see grid_file.h for what callers use.

namespace QXCore {

/// What a file holds, as it stands there. Lengths in angstrom.
struct GridContents {
  QXScalarGrid values;          ///< title, dimensions, values and attached data; no geometry
  QXSkewGrid::Vector origin{};  ///< where element (0, 0, 0) stands
  /// From an element to the next along the x, y and z of `values`; any directions and lengths.
  std::array<QXSkewGrid::Vector, 3> steps{};
};

/// Reads a whole file, of `fileSize` bytes. Nothing is allocated for values that a file of this
/// size cannot hold. Returns what is wrong, or an empty text: "file:line: what: what to do", where
/// a file of lines is meant.
std::string ReadCCP4(std::istream& in, const std::string& fileName, uint64_t fileSize,
                     GridContents& contents);
std::string ReadCube(std::istream& in, const std::string& fileName, uint64_t fileSize,
                     GridContents& contents);

/// Write a grid of at least one element. Whether that went well, the stream tells.
void WriteCCP4(std::ostream& out, const QXScalarGrid& grid);
void WriteCube(std::ostream& out, const QXScalarGrid& grid);

/// A title as one line of printable text.
inline std::string TitleLine(std::string title) {
  for (char& c : title) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = ' ';
  }
  const size_t begin = title.find_first_not_of(' ');
  if (begin == std::string::npos) return {};
  return title.substr(begin, title.find_last_not_of(' ') + 1 - begin);
}

}  // namespace QXCore
