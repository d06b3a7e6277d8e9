#pragma once

#include <array>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

// SD records as text, handled without the library, so that what the tool read and wrote is judged
// by other eyes. V2000 only.

namespace QXTest {

struct Motion {
  std::array<double, 9> rotation{1, 0, 0, 0, 1, 0, 0, 0, 1};
  std::array<double, 3> shift{};
};

/// The rotation of a quaternion, which need not be a unit one, then a shift.
inline Motion MakeMotion(std::array<double, 4> q, std::array<double, 3> shift) {
  const double norm = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
  const double w = q[0] / norm, x = q[1] / norm, y = q[2] / norm, z = q[3] / norm;
  return {{1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y),  //
           2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x),  //
           2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)},
          shift};
}

inline std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

struct SdRecord {
  std::vector<std::string> lines;  ///< without the closing $$$$

  std::string Title() const { return lines.at(0); }
  size_t NumAtoms() const { return std::stoul(lines.at(3).substr(0, 3)); }
  size_t NumBonds() const { return std::stoul(lines.at(3).substr(3, 3)); }
  double Coordinate(size_t atom, size_t axis) const {
    return std::stod(lines.at(4 + atom).substr(10 * axis, 10));
  }
  std::string Element(size_t atom) const { return lines.at(4 + atom).substr(31, 2); }
  /// Begin, end and order of all bonds, as text.
  std::string Bonds() const {
    std::string all;
    for (size_t i = 0; i < NumBonds(); ++i) all += lines.at(4 + NumAtoms() + i).substr(0, 9) + '\n';
    return all;
  }
  /// The value of a data item, one line; "(none)" when it is missing.
  std::string Data(const std::string& tag) const {
    for (size_t i = 0; i + 1 < lines.size(); ++i) {
      if (lines[i][0] == '>' && lines[i].find('<' + tag + '>') != std::string::npos) {
        return lines[i + 1];
      }
    }
    return "(none)";
  }

  SdRecord Titled(const std::string& title) const {
    SdRecord copy(*this);
    copy.lines[0] = title;
    return copy;
  }
  SdRecord Moved(const Motion& motion) const {
    SdRecord copy(*this);
    for (size_t atom = 0; atom < NumAtoms(); ++atom) {
      char text[40];
      double p[3];
      for (size_t row = 0; row < 3; ++row) {
        p[row] = motion.shift[row];
        for (size_t k = 0; k < 3; ++k) p[row] += motion.rotation[3 * row + k] * Coordinate(atom, k);
      }
      std::snprintf(text, sizeof text, "%10.4f%10.4f%10.4f", p[0], p[1], p[2]);
      copy.lines[4 + atom].replace(0, 30, text);
    }
    return copy;
  }
  std::string Text() const {
    std::string text;
    for (const std::string& line : lines) text += line + '\n';
    return text + "$$$$\n";
  }
};

inline std::vector<SdRecord> ReadSd(const std::string& path) {
  std::vector<SdRecord> records(1);
  std::istringstream text(ReadFile(path));
  for (std::string line; std::getline(text, line);) {
    if (line == "$$$$") {
      records.emplace_back();
    } else {
      records.back().lines.push_back(line);
    }
  }
  records.pop_back();
  return records;
}

inline std::string Text(const std::vector<SdRecord>& records) {
  std::string text;
  for (const SdRecord& record : records) text += record.Text();
  return text;
}

/// The largest distance between atoms of equal number.
inline double LargestDistance(const SdRecord& a, const SdRecord& b) {
  double largest = a.NumAtoms() == b.NumAtoms() ? 0.0 : INFINITY;
  for (size_t atom = 0; atom < a.NumAtoms() && std::isfinite(largest); ++atom) {
    largest = std::fmax(largest, std::hypot(a.Coordinate(atom, 0) - b.Coordinate(atom, 0),
                                            a.Coordinate(atom, 1) - b.Coordinate(atom, 1),
                                            a.Coordinate(atom, 2) - b.Coordinate(atom, 2)));
  }
  return largest;
}

/// A record of carbon atoms without bonds.
inline SdRecord Carbons(const std::string& title,
                        const std::vector<std::array<double, 3>>& places) {
  SdRecord record{{title, "", ""}};
  char text[100];
  std::snprintf(text, sizeof text, "%3zu  0  0  0  0  0  0  0  0  0999 V2000", places.size());
  record.lines.push_back(text);
  for (const auto& p : places) {
    std::snprintf(text, sizeof text, "%10.4f%10.4f%10.4f C   0  0  0  0  0  0  0  0  0  0  0  0",
                  p[0], p[1], p[2]);
    record.lines.push_back(text);
  }
  record.lines.push_back("M  END");
  return record;
}

}  // namespace QXTest
