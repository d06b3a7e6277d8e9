#include "tools/text.h"

#include <algorithm>

namespace QXTools {
namespace {

constexpr size_t kLongestFileNamePart = 60;

bool IsContinuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0u) == 0x80u;
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
  size_t characters = 0;
  const bool tooLong = Width(text) > width;
  for (const char c : text) {
    if (!IsContinuation(c) && ++characters > (tooLong ? width - 3 : width)) break;
    const bool control = static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
    shown += control ? '?' : c;
  }
  return tooLong ? shown + "..." : shown;
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
