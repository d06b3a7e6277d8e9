#pragma once

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>
#include <vector>

// What the readers of text formats share.

namespace QXMolKit {

inline constexpr std::string_view kBlanks = " \t\r\n";

/// The lines of a text, without their ends.
inline std::vector<std::string_view> SplitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    lines.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

inline std::vector<std::string_view> SplitWords(std::string_view text) {
  std::vector<std::string_view> words;
  for (size_t at = text.find_first_not_of(kBlanks); at != text.npos;) {
    const size_t end = std::min(text.find_first_of(kBlanks, at), text.size());
    words.push_back(text.substr(at, end - at));
    at = text.find_first_not_of(kBlanks, end);
  }
  return words;
}

inline std::string_view TrimEnd(std::string_view text) {
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

/// A whole word as a number: of a floating type finite, with a sign or without.
template <typename T>
std::optional<T> ParseNumber(std::string_view word) {
  if (word.starts_with('+')) word.remove_prefix(1);
  T value{};
  const auto [rest, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  if (error != std::errc() || rest != word.data() + word.size()) return std::nullopt;
  if constexpr (std::is_floating_point_v<T>) {
    if (!std::isfinite(value)) return std::nullopt;
  }
  return value;
}

}  // namespace QXMolKit
