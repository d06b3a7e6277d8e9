#include "tools/electrostatic_data.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>

#include "host/molkit/sdtext.h"
#include "tools/atoms_json.h"
#include "tools/expansion_file.h"
#include "tools/multi_centre_json.h"
#include "tools/record.h"
#include "tools/text.h"

namespace QXTools {
namespace {

constexpr const char* kFormat = "qxhermite electrostatic data 1";
constexpr double kLargest = 1e12;  // potential and field
constexpr double kFarthest = 1e6;  // angstrom from the origin

Json Units() {
  return {{"length", "angstrom"}, {"potential", "kcal/mol/e"}, {"field", "kcal/mol/e/angstrom"}};
}

void RequireLength(const std::vector<double>& values, size_t length, const std::string& name) {
  RequireField(values.empty() || values.size() == length, name,
               fmt::format("has {} values, but {} are expected", values.size(), length));
}

void RequireFinite(const std::vector<double>& values, double largest, const std::string& name) {
  for (size_t i = 0; i < values.size(); ++i) {
    RequireField(std::abs(values[i]) <= largest, fmt::format("{}[{}]", name, i),
                 fmt::format("{} is out of range", values[i]));
  }
}

void RequirePoints(const std::vector<double>& points, const std::string& name) {
  RequireField(points.size() >= 3 && points.size() % 3 == 0, name,
               fmt::format("has {} values: give x, y and z of each point", points.size()));
  RequireFinite(points, kFarthest, name);
}

/// Checks what both formats bring. Without marks, no point is held out.
void Complete(ElectrostaticData& data, const std::vector<double>& marks) {
  const size_t count = data.NumPoints();
  RequireLength(data.potential, count, "potential");
  RequireFinite(data.potential, kLargest, "potential");
  RequireLength(data.field, 3 * count, "electric field");
  RequireFinite(data.field, kLargest, "electric field");
  RequireLength(marks, count, "holdout");
  data.heldOut.assign(count, false);
  for (size_t i = 0; i < marks.size(); ++i) {
    RequireField(marks[i] == 0.0 || marks[i] == 1.0, fmt::format("holdout[{}]", i),
                 fmt::format("{} is neither 0 nor 1", marks[i]));
    data.heldOut[i] = marks[i] != 0.0;
  }
}

/// The numbers of a list, or none without that field.
std::vector<double> OptionalNumbers(const Json& json, const std::string& name) {
  return json.contains(name) ? ToNumbers(GetList(json, name), name) : std::vector<double>();
}

ElectrostaticData FromJson(const Json& json) {
  RequireField(json.is_object(), "points", "is missing");
  RequireField(!json.contains("format") || GetField<Json>(json, "format") == kFormat, "format",
               fmt::format("is not \"{}\"", kFormat));
  RequireUnits(json, Units());
  ElectrostaticData data;
  for (const char* name : {"title", "name"}) {
    if (json.contains(name)) data.title = GetField<std::string>(json, name);
  }
  data.mol = AtomsFromJson(GetList(json, "atoms"));
  data.points = ToNumbers(GetList(json, "points"), "points");
  RequirePoints(data.points, "points");
  data.potential = OptionalNumbers(json, "potential");
  for (const char* axis : {"field_x", "field_y", "field_z"}) {
    const std::vector<double> block = OptionalNumbers(json, axis);
    RequireLength(block, data.NumPoints(), axis);
    RequireFinite(block, kLargest, axis);
    RequireField(block.empty() == !json.contains("field_x"), axis,
                 "is there without the others, or missing");
    data.field.insert(data.field.end(), block.begin(), block.end());
  }
  if (json.contains("total_charge")) data.totalCharge = GetField<double>(json, "total_charge");
  data.dipole = OptionalNumbers(json, "dipole_debye");
  RequireLength(data.dipole, 3, "dipole_debye");
  RequireFinite(data.dipole, kLargest, "dipole_debye");
  RequireFinite({data.totalCharge}, kLargest, "total_charge");
  Complete(data, OptionalNumbers(json, "holdout"));
  return data;
}

/// The numbers in an SD text; none without the tag.
std::vector<double> TagNumbers(const QXMolKit::QXMol& mol, const std::string& tag) {
  const std::string text = QXMolKit::QXGetSDData(mol, tag);
  const auto separates = [](char c) {
    return c == ',' || std::isspace(static_cast<unsigned char>(c));
  };
  std::vector<double> numbers;
  const char* const end = text.data() + text.size();
  for (const char* at = std::find_if_not(text.data(), end, separates); at != end;
       at = std::find_if_not(at, end, separates)) {
    const char* const next = std::find_if(at, end, separates);
    const auto [stop, error] = std::from_chars(at, next, numbers.emplace_back());
    RequireField(error == std::errc() && stop == next,
                 fmt::format("{}[{}]", tag, numbers.size() - 1),
                 fmt::format("'{}' is not a number", DisplayText({at, next}, 40)));
    at = next;
  }
  return numbers;
}

}  // namespace

bool IsElectrostaticJson(const std::string& path) {
  return IsExpansionFile(path);
}

std::optional<ElectrostaticData> ReadElectrostaticJson(const std::string& path,
                                                       Listener& listener) {
  return ReadJsonFile(path, "compare it with the format in docs/electrostatics.md", listener,
                      FromJson);
}

std::optional<ElectrostaticData> ReadElectrostaticRecord(const std::string& path,
                                                         unsigned int record, Listener& listener) {
  std::optional<QXMolKit::QXMol> mol = ReadRecord(path, record, "--record", listener);
  if (!mol) return std::nullopt;
  try {
    ElectrostaticData data;
    data.title = mol->GetTitle();
    RequireField(QXMolKit::QXHasSDData(*mol, "grid"), "grid", "is missing");
    data.points = TagNumbers(*mol, "grid");
    RequirePoints(data.points, "grid");
    data.potential = TagNumbers(*mol, "potential");
    data.field = TagNumbers(*mol, "electric field");
    for (unsigned int atom = 0; atom < mol->NumAtoms(); ++atom) {
      data.totalCharge += mol->GetAtom(atom)->GetFormalCharge();
    }
    Complete(data, TagNumbers(*mol, "holdout"));
    data.mol = std::move(*mol);
    return data;
  } catch (const std::runtime_error& error) {
    listener.Say(fmt::format("{}:{}: SD {}: see docs/electrostatics.md for the tags", path, record,
                             error.what()));
  }
  return std::nullopt;
}

}  // namespace QXTools
