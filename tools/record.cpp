#include "tools/record.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "host/molkit/molstream.h"
#include "tools/inertial_frame.h"

namespace QXTools {

using QXMolKit::QXMol;

namespace {

bool AllEqual(const std::vector<double>& coordinates, size_t axis) {
  for (size_t i = axis; i < coordinates.size(); i += 3) {
    if (coordinates[i] != coordinates[axis]) return false;
  }
  return true;
}

}  // namespace

std::optional<QXMol> ReadRecord(const std::string& path, unsigned int wanted,
                                const std::string& option, Listener& listener) {
  QXMolKit::qxmolistream in(path);
  if (!in) return std::nullopt;
  QXMol mol;
  while (QXMolKit::QXReadMolecule(in, mol)) {
    if (in.RecordNumber() == wanted) return mol;
    if (in.RecordNumber() > wanted) break;
  }
  if (in && in.RecordNumber() == 0) {
    listener.Say(fmt::format("{}: {}", path, kNoMoleculeWarning));
    return std::nullopt;
  }
  const auto& skipped = in.SkippedRecords();
  const bool unreadable = std::any_of(skipped.begin(), skipped.end(),
                                      [&](const auto& one) { return one.record == wanted; });
  if (!unreadable) {  // otherwise the stream has said why
    listener.Say(fmt::format("{}:{}: no such record, the file holds {}: choose another {}", path,
                             wanted, in.RecordNumber(), option));
  }
  return std::nullopt;
}

std::string WhyUnfit(const QXMol& heavyAtoms) {
  if (heavyAtoms.NumAtoms() == 0)
    return "no heavy atoms: give a molecule with other atoms than hydrogen";
  const std::vector<double> coordinates = Coordinates(heavyAtoms);
  if (!std::ranges::all_of(coordinates, [](double x) { return std::isfinite(x); })) {
    return "a coordinate is not a finite number: correct it";
  }
  const bool onePoint =
      AllEqual(coordinates, 0) && AllEqual(coordinates, 1) && AllEqual(coordinates, 2);
  if (heavyAtoms.GetDimension() == 0 || (heavyAtoms.NumAtoms() > 1 && onePoint)) {
    return "no coordinates: give a structure in three dimensions";
  }
  return {};
}

bool LooksLikeDrawing(const QXMol& heavyAtoms) {
  const std::vector<double> coordinates = Coordinates(heavyAtoms);
  return heavyAtoms.NumAtoms() > 2 && coordinates[2] == 0.0 && AllEqual(coordinates, 2) &&
         !AllEqual(coordinates, 0) && !AllEqual(coordinates, 1);
}

std::string WhyCrowded(const QXMol& heavyAtoms) {
  constexpr double kLeastDistance = 0.6;  // angstrom
  constexpr unsigned int kFirstAtoms = 50;
  const std::vector<double> p = Coordinates(heavyAtoms);
  for (size_t i = 0; i < std::min(heavyAtoms.NumAtoms(), kFirstAtoms); ++i) {
    for (size_t j = 0; j < i; ++j) {
      const double distance =
          std::hypot(p[3 * i] - p[3 * j], p[3 * i + 1] - p[3 * j + 1], p[3 * i + 2] - p[3 * j + 2]);
      if (distance > kLeastDistance) continue;
      return fmt::format("two heavy atoms are {:.2g} A apart: are the coordinates in angstrom?",
                         distance);
    }
  }
  return {};
}

}  // namespace QXTools
