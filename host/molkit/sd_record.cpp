#include "host/molkit/sd_record.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <vector>

#include "host/molkit/text.h"

namespace QXMolKit {
namespace {

constexpr std::string_view kEnd = "M  END";

/// The first number in a text, or a number over all limits when there is too much of it; -1 when
/// there is none.
long Number(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  long value = -1;
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc::result_out_of_range ? 1'000'000'000'000 : value;
}

/// The numbers of atoms and bonds that a structure promises, added up; -1 when it tells none.
/// V2000 has them in two columns of three, V3000 as words after "COUNTS".
long PromisedLines(const std::vector<std::string_view>& lines) {
  if (lines[3].find("V3000") == std::string_view::npos) {
    const long atoms = Number(lines[3].substr(0, 3));
    const long bonds = lines[3].size() > 3 ? Number(lines[3].substr(3, 3)) : -1;
    return atoms < 0 || bonds < 0 ? -1 : atoms + bonds;
  }
  for (const std::string_view line : lines) {
    constexpr std::string_view kCounts = "M  V30 COUNTS ";
    if (!line.starts_with(kCounts)) continue;
    std::string_view rest = line.substr(kCounts.size());
    const long atoms = Number(rest);
    rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
    rest.remove_prefix(std::min(rest.find(' '), rest.size()));
    const long bonds = Number(rest);
    return atoms < 0 || bonds < 0 ? -1 : atoms + bonds;
  }
  return -1;
}

/// The tag of a header line, ">  <tag>  (1)".
std::string_view TagOf(std::string_view line) {
  const size_t open = line.find('<');
  if (open != line.npos) return line.substr(open + 1, line.find('>', open) - open - 1);
  line.remove_prefix(std::min(line.find_first_not_of("> \t"), line.size()));
  return TrimEnd(line);
}

bool ReadData(const std::vector<std::string_view>& lines, size_t from, QXSDText& data) {
  for (size_t i = from; i < lines.size(); ++i) {
    if (!lines[i].starts_with('>')) continue;
    const std::string_view tag = TagOf(lines[i]);
    std::string value;
    for (size_t first = ++i; i < lines.size() && !lines[i].empty(); ++i) {
      if (i > first) value += '\n';
      value += lines[i];
    }
    data.Set(tag, value);
    if (data.Size() > QXSDText::kMaxItems) return false;
  }
  return true;
}

std::string ReplaceAll(std::string text, std::string_view what, char with) {
  for (char& c : text) {
    if (what.find(c) != what.npos) c = with;
  }
  return text;
}

}  // namespace

std::string SplitSDRecord(const std::string& text, SDRecord& record) {
  const std::vector<std::string_view> lines = SplitLines(text);
  record.title = lines.empty() ? "" : TrimEnd(lines[0]);
  if (lines.size() < 4) return "it has fewer than the four lines of a header";

  const auto end = std::ranges::find_if(lines, [](auto line) { return line.starts_with(kEnd); });
  if (end == lines.end()) return "its structure does not end with \"M  END\", it may be truncated";
  const long numLines = end - lines.begin() - 4;
  const long promised = PromisedLines(lines);
  if (promised < 0) return "its counts line tells no numbers of atoms and bonds";
  if (promised > numLines) {
    return "its counts line promises more atoms and bonds than the " + std::to_string(numLines) +
           " lines that follow";
  }
  record.block.assign(text.data(), end->data() + end->size());
  record.block += '\n';
  const bool fits = ReadData(lines, static_cast<size_t>(end - lines.begin()) + 1, record.data);
  return fits ? "" : "it has more than 10,000 data items";
}

std::string SafeTitle(const std::string& title) {
  std::string safe = ReplaceAll(title, std::string_view("\n\r\0", 3), ' ');
  return safe.starts_with("$$$$") ? " " + safe : safe;
}

std::string WriteSDData(const QXSDText& data) {
  std::string text;
  for (size_t i = 0; i < data.Size(); ++i) {
    text += ">  <" + ReplaceAll(std::string(data.Tag(i)), "<>\n\r", '_') + ">\n";
    std::string value(data.Value(i));
    std::erase(value, '\r');
    for (const std::string_view line : SplitLines(value)) {
      if (line.empty() || line.starts_with("$$$$")) text += ' ';
      text += line;
      text += '\n';
    }
    text += '\n';
  }
  return text;
}

}  // namespace QXMolKit
