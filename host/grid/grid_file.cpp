#include "host/grid/grid_file.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <optional>
#include <system_error>
#include <utility>

#include "host/core/throw.h"
#include "host/grid/grid_format.h"
#include "host/grid/step_matrix.h"

namespace QXCore {
namespace {

using Vector = QXSkewGrid::Vector;
using Steps = std::array<Vector, 3>;
using Eigen::Vector3d;

constexpr std::pair<const char*, QXGridFormat> kExtensions[] = {
    {".ccp4", QXGridFormat::CCP4}, {".map", QXGridFormat::CCP4}, {".mrc", QXGridFormat::CCP4},
    {".cube", QXGridFormat::Cube}, {".cub", QXGridFormat::Cube},
};

/// Elements that stand this near, in element distances, to where a regular grid has them stand
/// there: what the digits of a text file leave open.
constexpr double kRegular = 1e-3;

std::string CheckFormat(const std::string& fileName, QXGridFormat format) {
  if (format != QXGridFormat::Unknown) return {};
  return fileName + ": the extension \"" + std::filesystem::path(fileName).extension().string() +
         "\" names no grid format: use .ccp4, .map, .mrc, .cube or .cub";
}

std::string CannotOpen(const std::string& fileName, const char* action, int error) {
  return fileName + ": cannot be opened for " + action + " (" +
         std::generic_category().message(error) + "): check the name and the permissions";
}

std::string ReadContents(const std::string& fileName, GridContents& contents) {
  const QXGridFormat format = QXGetGridFormat(fileName);
  if (std::string problem = CheckFormat(fileName, format); !problem.empty()) return problem;
  std::error_code error;
  const auto type = std::filesystem::status(fileName, error).type();
  if (type == std::filesystem::file_type::directory) {
    return fileName + ": this is a directory: name a grid file";
  }
  // Before it is opened: a pipe without a writer would never open.
  using std::filesystem::file_type;
  if (type == file_type::fifo || type == file_type::socket || type == file_type::character ||
      type == file_type::block) {
    return fileName + ": this is a pipe or a device: copy it into a file first";
  }
  std::ifstream file(fileName, std::ios::binary);
  if (!file.is_open()) return CannotOpen(fileName, "reading", errno);
  const uint64_t size = std::filesystem::file_size(fileName, error);
  if (error) return CannotOpen(fileName, "reading", error.value());
  if (size == 0) return fileName + ": the file is empty: get it anew";
  return format == QXGridFormat::CCP4 ? ReadCCP4(file, fileName, size, contents)
                                      : ReadCube(file, fileName, size, contents);
}

double Length(const Vector& v) {
  return std::hypot(v[0], v[1], v[2]);
}

/// What is wrong with the place of a grid; nothing for any that a grid can be laid on.
std::string CheckGeometry(const Vector& origin, const Steps& steps) {
  // The range in which single precision tells neighbouring elements apart, and more.
  constexpr double kSmallest = 1e-5, kLargest = 1e5;
  Eigen::Matrix3d directions = StepMatrix(steps);
  for (size_t axis = 0; axis < 3; ++axis) {
    const double length = Length(steps[axis]);
    if (!std::isfinite(length)) return "its axes have no finite lengths";
    if (!(length >= kSmallest && length <= kLargest)) {
      return "its elements are " + std::to_string(length) + " angstrom apart";
    }
    if (!(std::abs(origin[axis]) <= kLargest)) {
      return "it begins at the coordinate " + std::to_string(origin[axis]) + " angstrom";
    }
    directions.col(static_cast<int>(axis)) /= length;
  }
  if (!(std::abs(directions.determinant()) > 1e-3)) return "its axes lie in one plane";
  return {};
}

/// The steps of the regular grid that these are, but for the digits of the file, with axes along
/// x, y and z in some order and direction; none when they are not.
std::optional<Steps> RegularSteps(const GridContents& contents) {
  const Steps& steps = contents.steps;
  // Narrowed as it will be in the grid, so that elements of the one stand on those of the other.
  const auto spacing =
      static_cast<float>((Length(steps[0]) + Length(steps[1]) + Length(steps[2])) / 3);
  unsigned int dim[3];
  contents.values.GetDim(dim[0], dim[1], dim[2]);
  Steps regular{};
  bool taken[3] = {false, false, false};
  for (size_t axis = 0; axis < 3; ++axis) {
    const auto shorter = [](double a, double b) { return std::abs(a) < std::abs(b); };
    const auto longest = std::ranges::max_element(steps[axis], shorter) - steps[axis].begin();
    const auto along = static_cast<size_t>(longest);
    if (std::exchange(taken[along], true)) return std::nullopt;
    regular[axis][along] = std::copysign(double{spacing}, steps[axis][along]);
    for (size_t c = 0; c < 3; ++c) {
      const double drift = std::abs(steps[axis][c] - regular[axis][c]) * dim[axis] / 2;
      if (drift > kRegular * double{spacing}) return std::nullopt;
    }
  }
  return regular;
}

/// Whether the axes run along x, y and z, in this order and upwards.
bool InOrder(const Steps& steps) {
  return steps[0][0] > 0 && steps[1][1] > 0 && steps[2][2] > 0;
}

/// Lays what was read on a regular grid.
std::string MakeRegular(const std::string& fileName, GridContents& contents) {
  QXScalarGrid& grid = contents.values;
  Steps& steps = contents.steps;
  unsigned int dim[3];
  grid.GetDim(dim[0], dim[1], dim[2]);
  const Vector3d dims(dim[0], dim[1], dim[2]), half = (dims.array() - 1) / 2;
  const Vector3d mid = Vector3d::Map(contents.origin.data()) + StepMatrix(steps) * half;
  const std::optional<Steps> regular = RegularSteps(contents);
  if (regular) steps = *regular;
  if (regular && InOrder(steps)) {
    grid.SetSpacing(static_cast<float>(steps[0][0]));
    grid.SetMid(static_cast<float>(mid[0]), static_cast<float>(mid[1]), static_cast<float>(mid[2]));
    return {};
  }

  const double spacing = std::min({Length(steps[0]), Length(steps[1]), Length(steps[2])});
  const Vector3d box = StepMatrix(steps).cwiseAbs() * dims;
  const double size = (box.array() / spacing + 1).prod();
  constexpr double kMostPerElement = 64, kAlwaysAllowed = 1e6, kMost = 4e9;
  if (size > std::min(kMostPerElement * grid.GetSize() + kAlwaysAllowed, kMost)) {
    return fileName + ": a regular grid in its place would need " + std::to_string(size) +
           " elements: resample it with steps of one length first";
  }
  if (!regular) {
    QXThrow.Warning(
        "%s: its axes are not those of a regular grid: resampled with a spacing of %g angstrom, 0 "
        "where it has no values",
        fileName.c_str(), spacing);
  }
  const Vector3d origin = mid - StepMatrix(steps) * half;
  const QXSkewGrid skew(grid, {origin[0], origin[1], origin[2]}, steps);
  grid.Clear();
  QXMakeRegularGrid(grid, skew, static_cast<float>(spacing));
  return {};
}

std::string ReadGrid(const std::string& fileName, QXScalarGrid& grid) {
  GridContents contents;
  if (std::string problem = ReadContents(fileName, contents); !problem.empty()) return problem;
  if (std::string problem = CheckGeometry(contents.origin, contents.steps); !problem.empty()) {
    return fileName + ": " + problem + ": correct the header";
  }
  const size_t nonFinite = QXCountNonFinite(contents.values);
  if (std::string problem = MakeRegular(fileName, contents); !problem.empty()) return problem;
  if (nonFinite > 0) {
    QXThrow.Warning("%s: %zu of its values are infinite or not a number", fileName.c_str(),
                    nonFinite);
  }
  grid = std::move(contents.values);
  return {};
}

std::string WriteGrid(const std::string& fileName, const QXScalarGrid& grid, QXGridFormat format) {
  if (std::string problem = CheckFormat(fileName, format); !problem.empty()) return problem;
  if (grid.GetSize() == 0) return fileName + ": the grid has no elements: nothing is written";
  const double h = grid.GetSpacing();
  const std::string problem =
      CheckGeometry(QXGridOrigin(grid), {{{h, 0, 0}, {0, h, 0}, {0, 0, h}}});
  if (!problem.empty()) {
    return fileName + ": the grid has no place in space that a file can tell, " + problem +
           ": set its spacing and mid point";
  }
  std::ofstream file(fileName, std::ios::binary | std::ios::trunc);
  if (!file.is_open()) return CannotOpen(fileName, "writing", errno);
  errno = 0;
  if (format == QXGridFormat::CCP4) {
    WriteCCP4(file, grid);
  } else {
    WriteCube(file, grid);
  }
  file.close();
  if (file.good()) return {};
  const std::string why = errno != 0 ? std::generic_category().message(errno) : "no reason given";
  return fileName + ": writing failed (" + why +
         "): make room on the disk and write the file again";
}

bool Report(const std::string& problem) {
  if (!problem.empty()) QXThrow.Error("%s", problem.c_str());
  return problem.empty();
}

}  // namespace

QXGridFormat QXGetGridFormat(const std::string& fileName) {
  std::string extension = std::filesystem::path(fileName).extension().string();
  for (char& c : extension) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  const auto found =
      std::ranges::find(kExtensions, extension, [](const auto& e) { return std::string(e.first); });
  return found == std::end(kExtensions) ? QXGridFormat::Unknown : found->second;
}

bool QXReadGrid(const std::string& fileName, QXScalarGrid& grid) {
  return Report(ReadGrid(fileName, grid));
}

bool QXWriteGrid(const std::string& fileName, const QXScalarGrid& grid) {
  return QXWriteGrid(fileName, grid, QXGetGridFormat(fileName));
}

bool QXWriteGrid(const std::string& fileName, const QXScalarGrid& grid, QXGridFormat format) {
  return Report(WriteGrid(fileName, grid, format));
}

size_t QXCountNonFinite(const QXScalarGrid& grid) {
  const float* values = grid.GetValues();
  return static_cast<size_t>(std::count_if(values, values + grid.GetSize(),
                                           [](float value) { return !std::isfinite(value); }));
}

}  // namespace QXCore
