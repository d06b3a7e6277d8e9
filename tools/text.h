#pragma once

#include <string>
#include <string_view>
#include <vector>

// Text for people and for spreadsheets, out of titles that may hold anything.

namespace QXTools {

/// Rows under a header line, columns separated by two blanks. The columns of `right` (by number)
/// are aligned to the right, the others to the left. All rows have as many cells as the header.
std::string FormatTable(const std::vector<std::string>& header,
                        const std::vector<std::vector<std::string>>& rows,
                        const std::vector<size_t>& right);

/// One line of a comma-separated file (RFC 4180), cells quoted where needed, with its line end.
std::string CsvLine(const std::vector<std::string>& cells);

/// The text with control characters and bytes that are not UTF-8 as '?', and cut to at most `width`
/// characters, the last three of them dots, where it is longer. UTF-8 sequences stay whole.
std::string DisplayText(std::string_view text, size_t width = 1000);

/// A title as a part of a file name: letters, digits, '.', '-' and '_' stay, at most 60 of them;
/// every other byte becomes '_'.
std::string FileNamePart(std::string_view title);

}  // namespace QXTools
