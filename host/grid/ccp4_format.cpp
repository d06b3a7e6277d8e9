// Maps of the CCP4 and MRC format (A. Cheng et al., J. Struct. Biol. 192 (2015) 146), their headers
// through gemmi, which is named here and nowhere else.

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <gemmi/ccp4.hpp>
#include <limits>
#include <stdexcept>

#include "host/grid/grid_format.h"

namespace QXCore {
namespace {

using Vector = QXSkewGrid::Vector;

// Words of the header, numbered from 1.
enum Word {
  kCounts = 1,  // columns, rows, sections
  kMode = 4,
  kStart = 5,     // first column, row, section, in elements
  kSampling = 8,  // elements along x, y, z of the cell
  kCell = 11,     // its lengths, then its angles
  kSymmetryBytes = 24,
  kOrigin = 50,  // x, y, z in angstrom
  kLabels = 57,
};
constexpr size_t kHeaderBytes = 1024;
constexpr size_t kLabelBytes = 80;

struct Map : gemmi::Ccp4<float> {
  Vector Floats(int word) const {
    return {header_float(word), header_float(word + 1), header_float(word + 2)};
  }
};

/// The stream that gemmi reads from.
struct Source {
  std::istream& in;
  bool read(void* to, size_t bytes) {
    return !!in.read(static_cast<char*>(to), static_cast<std::streamsize>(bytes));
  }
};

std::string ReadHeader(std::istream& in, uint64_t fileSize, Map& map) {
  if (fileSize < kHeaderBytes) return "the file is too short for a map: get it anew";
  try {
    Source source{in};
    map.read_ccp4_header(source, "header");
  } catch (const std::runtime_error& error) {
    return std::string("this is no CCP4 or MRC map (") + error.what() + "): get it anew";
  }
  return {};
}

/// Bytes of a value; 0 for the modes that are not read: complex numbers and others.
size_t ValueBytes(int mode) {
  switch (mode) {
    case 0:
      return 1;
    case 1:
    case 6:
      return 2;
    case 2:
      return 4;
    default:
      return 0;
  }
}

/// What keeps the header from being that of a map that the file can hold.
std::string CheckHeader(const Map& map, uint64_t fileSize) {
  uint64_t bytes = ValueBytes(map.header_i32(kMode));
  if (bytes == 0) {
    return "its values are of mode " + std::to_string(map.header_i32(kMode)) +
           ", not 0, 1, 2 or 6: convert it to mode 2, 32-bit floats";
  }
  for (const int count : map.header_3i32(kCounts)) {
    if (count <= 0) return "it has " + std::to_string(count) + " elements on an axis: get it anew";
    const uint64_t most = (fileSize - kHeaderBytes) / bytes;
    if (static_cast<uint64_t>(count) > most) {
      return "its header promises more values than the file holds: get it anew";
    }
    bytes *= static_cast<uint64_t>(count);
  }
  const int between = map.header_i32(kSymmetryBytes);
  if (between < 0 || bytes + static_cast<uint64_t>(between) > fileSize - kHeaderBytes) {
    return "its header promises more values than the file holds: get it anew";
  }
  for (const int count : map.header_3i32(kSampling)) {
    if (count <= 0) return "its cell has no sampling (MX, MY, MZ): correct the header";
  }
  const Vector lengths = map.Floats(kCell), angles = map.Floats(kCell + 3);
  for (size_t axis = 0; axis < 3; ++axis) {
    if (!(lengths[axis] > 0) || !(angles[axis] >= 0 && angles[axis] < 180)) {
      return "its cell has no length or angle on an axis: correct the header";
    }
  }
  return {};
}

/// The cell, of right angles where the header leaves the angles out.
gemmi::UnitCell Cell(const Map& map) {
  const Vector lengths = map.Floats(kCell);
  Vector angles = map.Floats(kCell + 3);
  for (double& angle : angles) angle = angle == 0 ? 90 : angle;
  return {lengths[0], lengths[1], lengths[2], angles[0], angles[1], angles[2]};
}

void ReadGeometry(const Map& map, const std::array<int, 3>& place, GridContents& contents) {
  const gemmi::UnitCell cell = Cell(map);
  const auto sampling = map.header_3i32(kSampling), start = map.header_3i32(kStart);
  for (size_t axis = 0; axis < 3; ++axis) {
    gemmi::Fractional step(0, 0, 0);
    step.at(static_cast<int>(axis)) = 1.0 / sampling[axis];
    const gemmi::Position along = cell.orthogonalize(step);
    contents.steps[axis] = {along.x, along.y, along.z};
  }
  contents.origin = map.Floats(kOrigin);
  if (contents.origin != Vector{0, 0, 0}) return;
  for (size_t axis = 0; axis < 3; ++axis) {
    const int first = start[static_cast<size_t>(place[axis])];
    for (size_t c = 0; c < 3; ++c) contents.origin[c] += first * contents.steps[axis][c];
  }
}

/// A value of the file: an unaligned T whose bytes may stand in the other order.
template <typename T>
float Value(const char* bytes, bool swap) {
  std::array<char, sizeof(T)> raw;
  std::memcpy(raw.data(), bytes, sizeof(T));
  if (swap) std::ranges::reverse(raw);
  return static_cast<float>(std::bit_cast<T>(raw));
}

/// Reads the values, whose columns, rows and sections run along any axes. place: of x, y and z
/// among columns, rows, sections.
template <typename T>
bool ReadValues(std::istream& in, const Map& map, const std::array<int, 3>& place,
                QXScalarGrid& grid) {
  const auto counts = map.header_3i32(kCounts);
  size_t stride[3];  // in the grid, from a column, row, section to the next
  size_t size = 1;
  for (const int at : place) {
    stride[at] = size;
    size *= static_cast<size_t>(counts[static_cast<size_t>(at)]);
  }
  const auto columns = static_cast<size_t>(counts[0]);
  const bool swap = !map.same_byte_order;
  std::vector<char> row(columns * sizeof(T));
  for (size_t section = 0; section < static_cast<size_t>(counts[2]); ++section) {
    for (size_t r = 0; r < static_cast<size_t>(counts[1]); ++r) {
      if (!in.read(row.data(), static_cast<std::streamsize>(row.size()))) return false;
      float* value = grid.GetValues() + section * stride[2] + r * stride[1];
      for (size_t column = 0; column < columns; ++column) {
        value[column * stride[0]] = Value<T>(row.data() + column * sizeof(T), swap);
      }
    }
  }
  return true;
}

bool ReadValues(std::istream& in, const Map& map, const std::array<int, 3>& place,
                QXScalarGrid& grid) {
  in.seekg(static_cast<std::streamoff>(kHeaderBytes) + map.header_i32(kSymmetryBytes));
  switch (map.header_i32(kMode)) {
    case 0:
      return ReadValues<int8_t>(in, map, place, grid);
    case 1:
      return ReadValues<int16_t>(in, map, place, grid);
    case 6:
      return ReadValues<uint16_t>(in, map, place, grid);
    default:
      return ReadValues<float>(in, map, place, grid);
  }
}

/// The whole number of elements from the origin at which each axis of the grid begins, when it
/// begins so near to such that nobody sees the difference. Programs for crystals read only these.
bool WholeStart(const Vector& origin, double spacing, std::array<int, 3>& start) {
  constexpr double kInvisible = 1e-4, kLargest = 1e9;  // in elements
  for (size_t axis = 0; axis < 3; ++axis) {
    const double elements = origin[axis] / spacing;
    const double whole = std::round(elements);
    if (!(std::abs(whole - elements) <= kInvisible && std::abs(whole) < kLargest)) return false;
    start[axis] = static_cast<int>(whole);
  }
  return true;
}

void SetStatistics(const QXScalarGrid& grid, gemmi::DataStats& stats) {
  double sum = 0, squares = 0, count = 0;
  double smallest = std::numeric_limits<double>::infinity(), largest = -smallest;
  for (const float* value = grid.GetValues(); value != grid.GetValues() + grid.GetSize(); ++value) {
    if (!std::isfinite(*value)) continue;
    const double v = *value;
    sum += v;
    squares += v * v;
    count += 1;
    smallest = std::min(smallest, v);
    largest = std::max(largest, v);
  }
  if (count == 0) count = 1, smallest = largest = 0;
  stats.dmin = smallest;
  stats.dmax = largest;
  stats.dmean = sum / count;
  stats.rms = std::sqrt(std::max(0.0, squares / count - stats.dmean * stats.dmean));
}

}  // namespace

std::string ReadCCP4(std::istream& in, const std::string& fileName, uint64_t fileSize,
                     GridContents& contents) {
  Map map;
  std::string problem = ReadHeader(in, fileSize, map);
  if (problem.empty()) problem = CheckHeader(map, fileSize);
  if (!problem.empty()) return fileName + ": " + problem;

  const std::array<int, 3> place = map.axis_positions();
  const auto counts = map.header_3i32(kCounts);
  const auto dim = [&](size_t axis) {
    return static_cast<unsigned int>(counts[static_cast<size_t>(place[axis])]);
  };
  contents.values.SetDim(dim(0), dim(1), dim(2));
  if (contents.values.GetSize() == 0) return fileName + ": too many elements: make it smaller";
  contents.values.SetTitle(TitleLine(map.header_str(kLabels, kLabelBytes)));
  ReadGeometry(map, place, contents);
  if (!ReadValues(in, map, place, contents.values)) {
    return fileName + ": reading failed before the end of the file: check the disk";
  }
  return {};
}

void WriteCCP4(std::ostream& out, const QXScalarGrid& grid) {
  Map map;
  unsigned int dim[3];
  grid.GetDim(dim[0], dim[1], dim[2]);
  map.grid.nu = static_cast<int>(dim[0]);
  map.grid.nv = static_cast<int>(dim[1]);
  map.grid.nw = static_cast<int>(dim[2]);
  map.grid.axis_order = gemmi::AxisOrder::XYZ;
  map.grid.spacegroup = gemmi::find_spacegroup_by_number(1);
  const double spacing = grid.GetSpacing();
  map.grid.unit_cell.set(dim[0] * spacing, dim[1] * spacing, dim[2] * spacing, 90, 90, 90);
  SetStatistics(grid, map.hstats);
  map.update_ccp4_header(2, false);

  const Vector origin = QXGridOrigin(grid);
  std::array<int, 3> start{};
  if (WholeStart(origin, spacing, start)) {
    map.set_header_3i32(kStart, start[0], start[1], start[2]);
  } else {
    for (int axis = 0; axis < 3; ++axis) {
      map.set_header_float(kOrigin + axis, static_cast<float>(origin[static_cast<size_t>(axis)]));
    }
  }
  std::string label = TitleLine(grid.GetTitle());
  label.resize(kLabelBytes, ' ');
  map.set_header_str(kLabels, label);

  out.write(reinterpret_cast<const char*>(map.ccp4_header.data()),
            static_cast<std::streamsize>(map.ccp4_header.size() * sizeof(int32_t)));
  out.write(reinterpret_cast<const char*>(grid.GetValues()),
            static_cast<std::streamsize>(size_t{grid.GetSize()} * sizeof(float)));
}

}  // namespace QXCore
