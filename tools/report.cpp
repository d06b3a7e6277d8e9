#include "tools/report.h"

#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string_view>

#include "host/grid/skew_grid.h"
#include "tools/inertial_frame.h"
#include "tools/report_page.h"

namespace QXTools {
namespace {

using Json = nlohmann::ordered_json;
using QXCore::QXScalarGrid;
using QXMolKit::QXMol;

constexpr unsigned int kLargestDim = 64;
constexpr double kLargestShort = 32767.0;
constexpr double kStepsPerAngstrom = 1000.0;

/// Whole numbers of 16 bits, low byte first, as base64 without padding.
std::string Base64(const std::vector<std::int16_t>& numbers) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve(numbers.size() * 8 / 3 + 2);
  std::uint32_t bits = 0;
  int count = 0;
  const auto add = [&](std::uint32_t byte) {
    bits = (bits << 8 | byte) & 0xffffu;
    for (count += 8; count >= 6; count -= 6) text += kDigits[bits >> (count - 6) & 63];
  };
  for (const std::int16_t number : numbers) {
    add(static_cast<std::uint16_t>(number) & 255u);
    add(static_cast<std::uint16_t>(number) >> 8);
  }
  if (count > 0) text += kDigits[bits << (6 - count) & 63];
  return text;
}

/// Whether a picture can have all the places.
bool AreNear(const std::vector<double>& places) {
  constexpr double kFarthest = 1e6;  // angstrom
  return std::all_of(places.begin(), places.end(),
                     [](double place) { return std::fabs(place) <= kFarthest; });
}

double ToStep(double place) {
  return std::round(place * kStepsPerAngstrom) / kStepsPerAngstrom;
}

/// The middle of the box around places, a whole number of steps along each axis.
std::array<double, 3> MiddleOf(const std::vector<double>& places) {
  std::array<double, 3> low = {places[0], places[1], places[2]}, high = low;
  for (size_t i = 0; i < places.size(); ++i) {
    low[i % 3] = std::min(low[i % 3], places[i]);
    high[i % 3] = std::max(high[i % 3], places[i]);
  }
  return {ToStep((low[0] + high[0]) / 2), ToStep((low[1] + high[1]) / 2),
          ToStep((low[2] + high[2]) / 2)};
}

/// The molecules of a report, whose structures are stored once.
class Molecules {
 public:
  /// The place of its structure, the coordinates in steps of 16 bits, and the middle from which
  /// they go; or the coordinates as they are when one does not fit. Null without atoms, or when a
  /// place is not finite or too far away.
  Json Add(const QXMol& mol) {
    const std::vector<double> places = Coordinates(mol);
    if (places.empty() || !AreNear(places)) return nullptr;
    Json structure = Structure(mol);
    const auto [known, isNew] = known_.try_emplace(structure.dump(), structures_.size());
    if (isNew) structures_.push_back(std::move(structure));
    const std::array<double, 3> middle = MiddleOf(places);
    std::vector<std::int16_t> steps;
    for (size_t i = 0; i < places.size(); ++i) {
      const double step = std::round((places[i] - middle[i % 3]) * kStepsPerAngstrom);
      if (std::fabs(step) <= kLargestShort) steps.push_back(static_cast<std::int16_t>(step));
    }
    if (steps.size() == places.size()) {
      return {known->second, Base64(steps), middle[0], middle[1], middle[2]};
    }
    Json plain = Json::array();
    for (const double place : places) plain.push_back(ToStep(place));
    return Json::array({known->second, std::move(plain)});
  }

  const Json& Structures() const { return structures_; }

 private:
  static Json Structure(const QXMol& mol) {
    Json elements = Json::array(), bonds = Json::array();
    for (unsigned int i = 0; i < mol.NumAtoms(); ++i)
      elements.push_back(mol.GetAtom(i)->GetAtomicNum());
    for (unsigned int i = 0; i < mol.NumBonds(); ++i) {
      const QXMolKit::QXBond& bond = *mol.GetBond(i);
      bonds.push_back(bond.begin);
      bonds.push_back(bond.end);
      bonds.push_back(static_cast<int>(bond.order));
    }
    return {{"elements", std::move(elements)}, {"bonds", std::move(bonds)}};
  }

  Json structures_ = Json::array();
  std::map<std::string, size_t> known_;
};

/// The value above which 70 % of all that is positive lies.
double UsualLevel(const QXScalarGrid& grid) {
  constexpr double kShare = 0.7;
  std::vector<float> values(grid.GetValues(), grid.GetValues() + grid.GetSize());
  std::erase_if(values, [](float value) { return !(value > 0.0f); });
  std::sort(values.begin(), values.end(), std::greater<>());
  double sum = 0.0, above = 0.0;
  for (const float value : values) sum += value;
  for (const float value : values) {
    above += value;
    if (above >= kShare * sum) return value;
  }
  return 0.0;
}

Json FieldJson(const ReportField& field) {
  const QXScalarGrid grid = Reduced(field.grid);
  const float* const values = grid.GetValues();
  double largest = 0.0;
  for (unsigned int i = 0; i < grid.GetSize(); ++i) {
    if (std::isfinite(values[i])) largest = std::max(largest, std::fabs(double{values[i]}));
  }
  const double scale = largest > 0.0 ? largest / kLargestShort : 1.0;
  std::vector<std::int16_t> steps(grid.GetSize());
  for (unsigned int i = 0; i < grid.GetSize(); ++i) {
    if (std::isfinite(values[i]))
      steps[i] = static_cast<std::int16_t>(std::lround(values[i] / scale));
  }
  return {{"name", field.name},
          {"unit", field.unit},
          {"bothSigns", field.bothSigns},
          {"row", field.row ? Json(*field.row) : Json(nullptr)},
          {"shown", field.shown},
          {"level", field.level > 0.0 ? field.level : UsualLevel(grid)},
          {"size", {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()}},
          {"origin", QXCore::QXGridOrigin(grid)},
          {"spacing", grid.GetSpacing()},
          {"scale", scale},
          {"values", Base64(steps)}};
}

Json ColumnJson(const ReportColumn& column) {
  Json json = {{"name", column.name}, {"unit", column.unit}};
  if (!column.texts.empty()) {
    json["texts"] = column.texts;
    return json;
  }
  json["decimals"] = column.decimals ? Json(*column.decimals) : Json(nullptr);
  Json& numbers = json["numbers"] = Json::array();
  for (const double number : column.numbers) {
    numbers.push_back(std::isfinite(number) ? Json(number) : Json(nullptr));
  }
  return json;
}

/// Adds the atoms of another molecule, without bonds.
void AddAtoms(QXMol& mol, const QXMol& more) {
  std::vector<double> places = Coordinates(mol);
  const std::vector<double> others = Coordinates(more);
  places.insert(places.end(), others.begin(), others.end());
  for (unsigned int i = 0; i < more.NumAtoms(); ++i) mol.NewAtom(more.GetAtom(i)->GetAtomicNum());
  if (!places.empty()) mol.SetCoords(places.data());
}

/// What the first view is of: the reference, or the first row; and the ends of a path of rows.
QXMol FirstShown(const Report& report) {
  QXMol shown;
  AddAtoms(shown, report.reference);
  if (report.poses.empty()) return shown;
  if (shown.NumAtoms() == 0 || report.curve) AddAtoms(shown, report.poses.front());
  if (report.curve) AddAtoms(shown, report.poses.back());
  return shown;
}

/// The turn, as a quaternion x, y, z, w, that lays the long axis of what is shown across the view
/// and its short one along the line of sight.
std::array<double, 4> FirstTurn(const Report& report) {
  const std::optional<Frame> frame = FindInertialFrame(FirstShown(report));
  if (!frame) return {0, 0, 0, 1};
  const Eigen::Quaterniond turn(
      Eigen::Map<const Eigen::Matrix<double, 3, 3, Eigen::RowMajor>>(frame->rotation.data())
          .eval());
  return {turn.x(), turn.y(), turn.z(), turn.w()};
}

}  // namespace

size_t Report::NumRows() const {
  size_t rows = poses.size();
  for (const ReportColumn& column : columns) {
    rows = std::max({rows, column.numbers.size(), column.texts.size()});
  }
  return rows;
}

QXScalarGrid Reduced(const QXScalarGrid& grid) {
  const unsigned int largest = std::max({grid.GetXDim(), grid.GetYDim(), grid.GetZDim()});
  const unsigned int block = (largest + kLargestDim - 1) / kLargestDim;
  if (block <= 1) return grid;
  const auto blocks = [&](unsigned int dim) { return std::max(1u, dim / block); };
  const std::array<unsigned int, 3> dims = {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()};
  const std::array<unsigned int, 3> less = {blocks(dims[0]), blocks(dims[1]), blocks(dims[2])};
  QXScalarGrid reduced;
  static_cast<QXCore::QXBase&>(reduced) = grid;  // what is attached
  reduced.SetDim(less[0], less[1], less[2]);
  reduced.SetSpacing(grid.GetSpacing() * static_cast<float>(block));
  const auto mid = [&](int axis, float whole) {
    const unsigned int left = dims[axis] - std::min(dims[axis], less[axis] * block);
    return whole - 0.5f * static_cast<float>(left) * grid.GetSpacing();
  };
  reduced.SetMid(mid(0, grid.GetXMid()), mid(1, grid.GetYMid()), mid(2, grid.GetZMid()));
  std::vector<double> sums(reduced.GetSize());
  std::vector<unsigned int> counts(reduced.GetSize());
  const float* value = grid.GetValues();
  for (unsigned int z = 0; z < dims[2]; ++z) {
    for (unsigned int y = 0; y < dims[1]; ++y) {
      for (unsigned int x = 0; x < dims[0]; ++x, ++value) {
        const std::array<unsigned int, 3> at = {x / block, y / block, z / block};
        if (at[0] >= less[0] || at[1] >= less[1] || at[2] >= less[2]) continue;
        const size_t element = at[0] + less[0] * (at[1] + size_t{less[1]} * at[2]);
        sums[element] += *value;
        ++counts[element];
      }
    }
  }
  for (size_t i = 0; i < sums.size(); ++i) {
    reduced.GetValues()[i] = static_cast<float>(sums[i] / counts[i]);
  }
  return reduced;
}

std::string ReportJson(const Report& report) {
  Molecules molecules;
  Json json = {{"generator", "QXHermite " QX_VERSION},
               {"title", report.title},
               {"settings", Json::array()},
               {"rowName", report.rowName},
               {"rows", report.NumRows()},
               {"referenceName", report.referenceName},
               {"reference", molecules.Add(report.reference)},
               {"fields", Json::array()},
               {"columns", Json::array()},
               {"poses", Json::array()}};
  for (const auto& [name, value] : report.settings) {
    json["settings"].push_back(Json::array({name, value}));
  }
  for (const auto& [name, value] : report.remarks) {
    json["settings"].push_back(Json::array({name, value}));
  }
  for (const ReportField& field : report.fields) json["fields"].push_back(FieldJson(field));
  for (const ReportColumn& column : report.columns) json["columns"].push_back(ColumnJson(column));
  for (const QXMol& pose : report.poses) json["poses"].push_back(molecules.Add(pose));
  json["structures"] = molecules.Structures();
  json["chosen"] = report.chosen;
  json["allHydrogens"] = report.allHydrogens;
  json["shapes"] = report.shapes;
  json["turn"] = FirstTurn(report);
  json["score"] = report.score ? Json(*report.score) : Json(nullptr);
  json["curve"] = nullptr;
  if (report.curve) json["curve"] = {{"x", report.curve->x}, {"y", report.curve->y}};
  // A '<' occurs in texts alone, and in a page it could end the script that holds them.
  const std::string plain = json.dump(-1, ' ', false, Json::error_handler_t::replace);
  std::string safe;
  safe.reserve(plain.size());
  for (const char c : plain) c == '<' ? safe += "\\u003c" : safe += c;
  return safe;
}

void WriteReport(const Report& report, std::ostream& out) {
  constexpr std::string_view kPlace = "{{data}}";
  const std::string_view page = ReportPage();
  const size_t place = page.find(kPlace);
  out << page.substr(0, place) << ReportJson(report) << page.substr(place + kPlace.size());
}

bool WriteReport(const Report& report, const std::string& path) {
  std::ofstream out(path, std::ios::binary);
  WriteReport(report, out);
  out.close();
  return !out.fail();
}

}  // namespace QXTools
