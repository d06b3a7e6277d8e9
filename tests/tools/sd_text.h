#pragma once

#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "support/files.h"

// SD records as text, handled without the library, so that what the tool read and wrote is judged
// by other eyes. V2000 only.

namespace QXTest {

using Eigen::Vector3d;
using Motion = Eigen::Isometry3d;

inline Motion MakeMotion(const Eigen::Quaterniond& turn, const Vector3d& shift) {
  return Eigen::Translation3d(shift) * turn.normalized();
}

inline Motion RandomMotion(std::mt19937& random) {
  std::normal_distribution<double> normal;
  const auto next = [&] { return normal(random); };
  return MakeMotion(Eigen::Quaterniond(Eigen::Vector4d::NullaryExpr(next)),
                    20 * Vector3d::NullaryExpr(next));
}

struct SdRecord {
  std::vector<std::string> lines;  ///< without the closing $$$$

  std::string Title() const { return lines.at(0); }
  size_t NumAtoms() const { return std::stoul(lines.at(3).substr(0, 3)); }
  size_t NumBonds() const { return std::stoul(lines.at(3).substr(3, 3)); }
  Vector3d Place(size_t atom) const {
    const std::string& line = lines.at(4 + atom);
    return {std::stod(line), std::stod(line.substr(10)), std::stod(line.substr(20))};
  }
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
  /// With data items: tags and values of one line, in the place of all others.
  SdRecord WithData(const std::vector<std::pair<std::string, std::string>>& items) const {
    SdRecord copy(*this);
    copy.lines.erase(std::ranges::find(copy.lines, "M  END") + 1, copy.lines.end());
    for (const auto& [tag, value] : items) {
      copy.lines.insert(copy.lines.end(), {"> <" + tag + ">", value, ""});
    }
    return copy;
  }
  SdRecord Moved(const Motion& motion) const {
    SdRecord copy(*this);
    for (size_t atom = 0; atom < NumAtoms(); ++atom) {
      char text[40];
      const Vector3d p = motion * Place(atom);
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
    largest = std::fmax(largest, (a.Place(atom) - b.Place(atom)).norm());
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
