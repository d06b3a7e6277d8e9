// Gaussian cube files: two lines of comment, the number of atoms and the place of the first
// element, the number of elements and the step on each axis, the atoms, and the values, those along
// the last axis next to each other.
//
// Lengths are in bohr; where the numbers of elements are negative all of them are in angstrom. A
// negative number of atoms says that a line with the number and the names of data sets follows the
// atoms. The second number of an atom is its nuclear charge, which its element tells: written, and
// not read.

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

#include "host/grid/grid_file.h"
#include "host/grid/grid_format.h"
#include "host/molkit/mol.h"
#include "host/molkit/text.h"

namespace QXCore {
namespace {

using QXMolKit::ParseNumber;
using QXMolKit::QXMol;
using QXMolKit::SplitWords;
using Vector = QXSkewGrid::Vector;

constexpr double kBohr = 0.529177210903;  // angstrom, CODATA 2018

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// A number in whatever form programs write one: with a sign, too small or too large for a double,
/// with the exponents of Fortran, 1.5D-01 and 0.15-100.
std::optional<double> ParseAnyNumber(std::string_view word) {
  if (word.starts_with('+')) word.remove_prefix(1);
  std::string text;
  bool exponent = false;
  for (const char c : word) {
    const bool marksExponent = c == 'D' || c == 'd' || c == 'E' || c == 'e';
    if ((c == '-' || c == '+') && !exponent && !text.empty() &&
        (IsDigit(text.back()) || text.back() == '.')) {
      text += 'e';
      exponent = true;
    }
    exponent = exponent || marksExponent;
    text += marksExponent ? 'e' : c;
  }
  double value = 0;
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error == std::errc::invalid_argument || rest != text.data() + text.size()) return {};
  if (error == std::errc::result_out_of_range) {
    value = text.find("e-") == text.npos ? std::numeric_limits<double>::infinity() : 0.0;
    if (text.starts_with('-')) value = -value;
  }
  return value;
}

std::optional<double> ParseValue(std::string_view word) {
  double value = 0;
  const char* end = word.data() + word.size();
  const auto [rest, error] = std::from_chars(word.data(), end, value);
  return error == std::errc() && rest == end ? value : ParseAnyNumber(word);
}

/// The words of the rest of a stream, read in blocks.
class Words {
 public:
  Words(std::istream& in, size_t line) : in_(in), line_(line) {}

  /// The next word, valid until the next call; empty at the end of the file.
  std::string_view Next() {
    do {
      for (; at_ != end_ && IsBlank(*at_); ++at_) line_ += *at_ == '\n';
      const char* word = at_;
      while (word != end_ && !IsBlank(*word)) ++word;
      if (word != end_) return Take(word);
    } while (Fill());
    return Take(end_);
  }

  size_t Line() const { return line_; }

 private:
  static bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

  std::string_view Take(const char* end) {
    const std::string_view word(at_, static_cast<size_t>(end - at_));
    at_ = end;
    return word;
  }

  /// Reads on behind what is left; false at the end of the file, or in a word of a whole block.
  bool Fill() {
    const auto left = static_cast<size_t>(end_ - at_);
    std::memmove(block_.data(), at_, left);
    in_.read(block_.data() + left, static_cast<std::streamsize>(block_.size() - left));
    at_ = block_.data();
    end_ = at_ + left + in_.gcount();
    return in_.gcount() > 0;
  }

  std::istream& in_;
  size_t line_;
  std::vector<char> block_ = std::vector<char>(1 << 16);
  const char* at_ = block_.data();
  const char* end_ = block_.data();
};

class CubeReader {
 public:
  CubeReader(std::istream& in, const std::string& fileName, uint64_t fileSize)
      : in_(in), fileName_(fileName), fileSize_(fileSize) {}

  /// What is wrong, or an empty text.
  std::string Read(GridContents& contents);

 private:
  bool ReadHeader(GridContents& contents);
  bool ReadAxes(GridContents& contents);
  bool ReadAtoms(QXMol& mol);
  bool ReadDataSets(Words& words);
  bool ReadValues(Words& words, QXScalarGrid& grid);

  /// The next line and its words.
  bool NextLine() {
    ++line_;
    if (!in_.getline(text_.data(), static_cast<std::streamsize>(text_.size()))) {
      return Fail(in_.eof() ? "the file ends in its header: get it anew"
                            : "a line this long belongs to no cube file: get the file anew");
    }
    words_ = SplitWords(text_.data());
    return true;
  }
  /// Reads the words of the line from one on as three lengths.
  bool Lengths(size_t from, Vector& lengths) const {
    constexpr double kLargest = 1e9;
    for (size_t axis = 0; axis < 3; ++axis) {
      const auto number = from + axis < words_.size() ? ParseAnyNumber(words_[from + axis])
                                                      : std::optional<double>();
      if (!number || !(std::abs(*number) < kLargest)) return false;
      lengths[axis] = *number;
    }
    return true;
  }
  std::optional<int> Integer(size_t at) const {
    return at < words_.size() ? ParseNumber<int>(words_[at]) : std::nullopt;
  }
  bool Fail(const std::string& what) {
    problem_ = fileName_ + ":" + std::to_string(line_) + ": " + what;
    return false;
  }

  std::istream& in_;
  const std::string& fileName_;
  uint64_t fileSize_;
  std::array<char, 4096> text_{};
  std::vector<std::string_view> words_;
  size_t line_ = 0;
  int atoms_ = 0;
  double unit_ = kBohr;
  std::string problem_;
};

std::string CubeReader::Read(GridContents& contents) {
  QXMol mol;
  if (!ReadHeader(contents) || !ReadAxes(contents) || !ReadAtoms(mol)) return problem_;
  mol.SetTitle(contents.values.GetTitle());
  if (atoms_ != 0) contents.values.SetData(kQXGridMoleculeTag, mol);
  Words words(in_, line_ + 1);
  if (ReadDataSets(words)) ReadValues(words, contents.values);
  return problem_;
}

bool CubeReader::ReadHeader(GridContents& contents) {
  std::string title;
  for (int comment = 0; comment < 2; ++comment) {
    if (!NextLine()) return false;
    title += TitleLine(text_.data()) + " ";
  }
  contents.values.SetTitle(TitleLine(title));
  if (!NextLine()) return false;
  const std::optional<int> atoms = Integer(0);
  if (!atoms || !Lengths(1, contents.origin)) {
    return Fail("here stand the number of atoms and x, y, z of the first element: correct them");
  }
  atoms_ = *atoms;
  if (words_.size() > 4 && Integer(4) != 1) {
    return Fail("the file has several values an element: write each into a file of its own");
  }
  return true;
}

bool CubeReader::ReadAxes(GridContents& contents) {
  unsigned int dim[3];
  bool angstrom[3];
  uint64_t size = 1;
  for (size_t axis = 0; axis < 3; ++axis) {
    if (!NextLine()) return false;
    const std::optional<int> count = Integer(0);
    if (!count || *count == 0 || !Lengths(1, contents.steps[axis])) {
      return Fail("here stand the number of elements on an axis and its step: correct them");
    }
    angstrom[axis] = *count < 0;
    dim[axis] =
        angstrom[axis] ? 0u - static_cast<unsigned int>(*count) : static_cast<unsigned int>(*count);
    if (angstrom[axis] != angstrom[0]) {
      return Fail("some numbers of elements are negative, for angstrom, others not: correct them");
    }
    // A value takes a digit and a blank at least.
    if (dim[axis] > (fileSize_ / 2 + 1) / size) {
      return Fail("the header promises more values than the file holds: get it anew");
    }
    size *= dim[axis];
  }
  contents.values.SetDim(dim[0], dim[1], dim[2]);
  if (contents.values.GetSize() == 0) return Fail("too many elements: make the grid smaller");

  unit_ = angstrom[0] ? 1.0 : kBohr;
  for (double& length : contents.origin) length *= unit_;
  for (Vector& step : contents.steps) {
    for (double& length : step) length *= unit_;
  }
  return true;
}

bool CubeReader::ReadAtoms(QXMol& mol) {
  constexpr int kElements = 118;
  std::vector<double> coords;
  const int64_t count = std::abs(int64_t{atoms_});
  for (int64_t atom = 0; atom < count; ++atom) {
    if (!NextLine()) return false;
    const std::optional<int> number = Integer(0);
    Vector place;
    if (!number || *number < 0 || *number > kElements || !Lengths(2, place)) {
      return Fail("here stand an atomic number, a charge and x, y, z of an atom: correct them");
    }
    mol.NewAtom(static_cast<unsigned int>(*number));
    for (const double length : place) coords.push_back(length * unit_);
  }
  if (count > 0) mol.SetCoords(coords.data());
  return true;
}

bool CubeReader::ReadDataSets(Words& words) {
  if (atoms_ >= 0) return true;
  const std::string_view count = words.Next();
  line_ = words.Line();
  if (ParseNumber<int>(count) != 1) {
    return Fail("the file has \"" + TitleLine(std::string(count.substr(0, 20))) +
                "\" data sets: write one into a file of its own");
  }
  words.Next();  // its name, a number
  return true;
}

bool CubeReader::ReadValues(Words& words, QXScalarGrid& grid) {
  const size_t dim[3] = {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()};
  for (size_t i = 0; i < dim[0]; ++i) {
    for (size_t j = 0; j < dim[1]; ++j) {
      float* value = grid.GetValues() + i + dim[0] * j;
      for (size_t k = 0; k < dim[2]; ++k, value += dim[0] * dim[1]) {
        const std::string_view word = words.Next();
        line_ = words.Line();
        if (word.empty()) {
          const size_t read = k + dim[2] * (j + dim[1] * i);
          return Fail("the file ends after " + std::to_string(read) + " of " +
                      std::to_string(grid.GetSize()) + " values: get it anew");
        }
        const std::optional<double> number = ParseValue(word);
        if (!number) {
          return Fail("\"" + TitleLine(std::string(word.substr(0, 20))) +
                      "\" is no number: get the file anew");
        }
        *value = static_cast<float>(*number);
      }
    }
  }
  if (!words.Next().empty()) {
    // Atoms that the header leaves out, for instance, which were read as values.
    line_ = words.Line();
    return Fail("there are more values than the header promises: get it anew");
  }
  return true;
}

/// Appends a number, right-aligned in a field, after a blank at least.
template <typename... Format>
void Append(std::string& text, size_t width, auto number, Format... format) {
  char word[64];
  const char* end = std::to_chars(word, word + sizeof(word), number, format...).ptr;
  const auto length = static_cast<size_t>(end - word);
  text.append(length < width ? width - length : 1, ' ');
  text.append(word, length);
}

/// A line of the header: a number, and three lengths with as many digits as make floats again.
void AppendLine(std::string& text, unsigned int number, const Vector& lengths,
                std::optional<double> charge = {}) {
  Append(text, 6, number);
  if (charge) Append(text, 12, *charge, std::chars_format::fixed, 6);
  for (const double length : lengths) {
    Append(text, 18, length / kBohr, std::chars_format::fixed, 11);
  }
  text += '\n';
}

}  // namespace

std::string ReadCube(std::istream& in, const std::string& fileName, uint64_t fileSize,
                     GridContents& contents) {
  return CubeReader(in, fileName, fileSize).Read(contents);
}

void WriteCube(std::ostream& out, const QXScalarGrid& grid) {
  const QXMol none;
  const QXMol& mol = grid.HasDataOfType<QXMol>(kQXGridMoleculeTag)
                         ? grid.GetData<QXMol>(kQXGridMoleculeTag)
                         : none;
  const size_t dim[3] = {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()};
  const double spacing = grid.GetSpacing();
  std::string text = TitleLine(grid.GetTitle()) + "\n\n";
  AppendLine(text, mol.NumAtoms(), QXGridOrigin(grid));
  AppendLine(text, grid.GetXDim(), {spacing, 0, 0});
  AppendLine(text, grid.GetYDim(), {0, spacing, 0});
  AppendLine(text, grid.GetZDim(), {0, 0, spacing});
  for (unsigned int i = 0; i < mol.NumAtoms(); ++i) {
    const QXMolKit::QXAtom* atom = mol.GetAtom(i);
    Vector place;
    mol.GetCoords(atom, place.data());
    AppendLine(text, atom->GetAtomicNum(), place, atom->GetAtomicNum());
  }
  for (size_t i = 0; i < dim[0]; ++i) {
    for (size_t j = 0; j < dim[1]; ++j) {
      const float* value = grid.GetValues() + i + dim[0] * j;
      for (size_t k = 0; k < dim[2]; ++k, value += dim[0] * dim[1]) {
        if (k > 0 && k % 6 == 0) text += '\n';
        Append(text, 16, *value, std::chars_format::scientific, 8);
      }
      text += '\n';
      out.write(text.data(), static_cast<std::streamsize>(text.size()));
      text.clear();
    }
  }
}

}  // namespace QXCore
