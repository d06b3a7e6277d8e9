#include "tools/text.h"

#include <algorithm>
#include <cstddef>

namespace QXTools {
namespace {

constexpr size_t kLongestFileNamePart = 60;

bool IsContinuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0u) == 0x80u;
}

/// The bytes of the character that the text begins with; 0 when that is a control character or no
/// UTF-8: cut short, longer than needed, a surrogate or beyond U+10FFFF.
size_t PrintableLength(std::string_view text) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char first = byte(0);
  if (first < 0x80) return first >= 0x20 && first != 0x7F ? 1 : 0;
  const size_t length = first < 0xC2   ? 0
                        : first < 0xE0 ? 2
                        : first < 0xF0 ? 3
                        : first < 0xF5 ? 4
                                       : 0;
  if (length == 0 || length > text.size()) return 0;
  if (!std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(length),
                   IsContinuation)) {
    return 0;
  }
  const unsigned char second = byte(1);
  const bool control = first == 0xC2 && second < 0xA0;
  const bool tooLong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
  const bool noCharacter = (first == 0xED && second >= 0xA0) || (first == 0xF4 && second >= 0x90);
  return control || tooLong || noCharacter ? 0 : length;
}

/// Characters, not bytes.
size_t Width(std::string_view text) {
  return static_cast<size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return !IsContinuation(c); }));
}

}  // namespace

std::string FormatTable(const std::vector<std::string>& header,
                        const std::vector<std::vector<std::string>>& rows,
                        const std::vector<size_t>& right) {
  std::vector<size_t> widths;
  for (size_t column = 0; column < header.size(); ++column) {
    widths.push_back(Width(header[column]));
    for (const auto& row : rows) widths[column] = std::max(widths[column], Width(row[column]));
  }
  std::string text;
  auto append = [&](const std::vector<std::string>& row) {
    std::string line;
    for (size_t column = 0; column < row.size(); ++column) {
      const std::string gap(widths[column] - Width(row[column]), ' ');
      const bool toRight = std::find(right.begin(), right.end(), column) != right.end();
      if (column > 0) line += "  ";
      line += toRight ? gap + row[column] : row[column] + gap;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + '\n';
  };
  append(header);
  for (const auto& row : rows) append(row);
  return text;
}

std::string CsvLine(const std::vector<std::string>& cells) {
  std::string line;
  for (const std::string& cell : cells) {
    if (&cell != &cells.front()) line += ',';
    if (cell.find_first_of(",\"\r\n") == std::string::npos) {
      line += cell;
      continue;
    }
    line += '"';
    for (const char c : cell) line.append(c == '"' ? 2 : 1, c);
    line += '"';
  }
  return line + '\n';
}

std::string DisplayText(std::string_view text, size_t width) {
  std::string shown;
  while (!text.empty()) {
    const size_t length = PrintableLength(text);
    shown += length > 0 ? std::string(text.substr(0, length)) : "?";
    text.remove_prefix(std::max(length, size_t{1}));
  }
  if (Width(shown) <= width) return shown;
  size_t end = 0;
  for (size_t characters = 0; end < shown.size(); ++end) {
    if (!IsContinuation(shown[end]) && ++characters > width - 3) break;
  }
  return shown.substr(0, end) + "...";
}

std::string FileNamePart(std::string_view title) {
  constexpr std::string_view kept =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-_";
  std::string name(title.substr(0, kLongestFileNamePart));
  for (char& c : name) {
    if (kept.find(c) == std::string_view::npos) c = '_';
  }
  return name;
}

}  // namespace QXTools
