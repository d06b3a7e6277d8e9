#include "tools/points_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "tools/text.h"

namespace QXTools {
namespace {

constexpr const char* kSeparators = " \t\r,;";

/// Takes the first word off a line.
std::string_view TakeWord(std::string_view& line) {
  line.remove_prefix(std::min(line.find_first_not_of(kSeparators), line.size()));
  const std::string_view word = line.substr(0, line.find_first_of(kSeparators));
  line.remove_prefix(word.size());
  return word;
}

bool ToNumber(std::string_view word, double& number) {
  const char* const end = word.data() + word.size();
  const auto result = std::from_chars(word.data(), end, number);
  return result.ec == std::errc() && result.ptr == end;
}

/// Appends the point of a line. An empty text, or what is wrong.
std::string AppendPoint(std::string_view line, std::vector<double>& points) {
  constexpr double kFarthest = 1e6;  // angstrom from the origin, as in electrostatic data
  double place[3];
  for (double& x : place) {
    const std::string_view word = TakeWord(line);
    if (!ToNumber(word, x)) return fmt::format("'{}' is not a number", DisplayText(word, 40));
    if (!(std::abs(x) <= kFarthest)) {
      return fmt::format("{} is not within {} A of the origin", x, kFarthest);
    }
  }
  points.insert(points.end(), place, place + 3);
  return {};
}

bool IsHeader(std::string_view line) {
  double number;
  return !ToNumber(TakeWord(line), number);
}

}  // namespace

std::optional<std::vector<double>> ReadPoints(const std::string& path, Console& console) {
  std::ifstream in(path, std::ios::binary);
  if (!in || !std::filesystem::is_regular_file(path)) {
    console.Say(
        fmt::format("{}: cannot be opened as a file: check the name and the permissions", path));
    return std::nullopt;
  }
  std::vector<double> points;
  std::string line;
  bool first = true;
  for (size_t number = 1; std::getline(in, line); ++number) {
    const size_t start = line.find_first_not_of(kSeparators);
    if (start == std::string::npos || line[start] == '#') continue;
    if (std::exchange(first, false) && IsHeader(line)) continue;
    const std::string problem = AppendPoint(line, points);
    if (problem.empty()) continue;
    console.Say(fmt::format("{}:{}: {}: give x, y and z in angstrom", path, number, problem));
    return std::nullopt;
  }
  if (!points.empty() && !in.bad()) return points;
  console.Say(fmt::format("{}: holds no points: give a line x,y,z for each, in angstrom", path));
  return std::nullopt;
}

}  // namespace QXTools
