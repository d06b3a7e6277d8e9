#include "tools/points_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <utility>

#include "tools/text.h"

namespace QXTools {
namespace {

constexpr const char* kBlanks = " \t\r,;";

/// Takes the first word off a line. Where there are semicolons a comma separates nothing: it would
/// be that of a decimal number.
std::string_view TakeWord(std::string_view& line) {
  const char* const separators = line.find(';') != line.npos ? " \t\r;" : " \t\r,";
  line.remove_prefix(std::min(line.find_first_not_of(separators), line.size()));
  const std::string_view word = line.substr(0, line.find_first_of(separators));
  line.remove_prefix(word.size());
  return word;
}

bool ToNumber(std::string_view word, double& number) {
  if (word.starts_with('+')) word.remove_prefix(1);
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
    if (word.empty()) return "holds fewer than three numbers";
    if (!ToNumber(word, x)) return fmt::format("'{}' is not a number", DisplayText(word, 40));
    if (!(std::abs(x) <= kFarthest)) {
      return fmt::format("{} is not within {} A of the origin", x, kFarthest);
    }
  }
  points.insert(points.end(), place, place + 3);
  return {};
}

/// True when no word begins like a number.
bool IsHeader(std::string_view line) {
  for (std::string_view word = TakeWord(line); !word.empty(); word = TakeWord(line)) {
    if (word.find_first_of("+-.0123456789") == 0) return false;
  }
  return true;
}

}  // namespace

std::optional<std::vector<double>> ReadPoints(const std::string& path, Listener& listener) {
  std::ifstream in(path, std::ios::binary);
  if (!in || !std::filesystem::is_regular_file(path)) {
    listener.Say(
        fmt::format("{}: cannot be opened as a file: check the name and the permissions", path));
    return std::nullopt;
  }
  std::vector<double> points;
  std::string line;
  bool first = true;
  for (size_t number = 1; std::getline(in, line); ++number) {
    if (number == 1 && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);  // of UTF-8
    const size_t start = line.find_first_not_of(kBlanks);
    if (start == std::string::npos || line[start] == '#') continue;
    if (std::exchange(first, false) && IsHeader(line)) continue;
    const size_t end = std::min(line.find('\r'), line.size() - 1);
    const std::string problem = end + 1 < line.size() ? "its lines end in carriage returns alone"
                                                      : AppendPoint(line, points);
    if (problem.empty()) continue;
    listener.Say(fmt::format("{}:{}: {}: give x, y and z in angstrom", path, number, problem));
    return std::nullopt;
  }
  if (!points.empty() && !in.bad()) return points;
  listener.Say(fmt::format("{}: holds no points: give a line x,y,z for each, in angstrom", path));
  return std::nullopt;
}

}  // namespace QXTools
