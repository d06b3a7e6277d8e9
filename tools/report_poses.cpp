#include "tools/report_poses.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <utility>

#include "host/grid/grid_file.h"
#include "tools/drawn_bonds.h"
#include "tools/grid_density.h"
#include "tools/hits.h"
#include "tools/record.h"

namespace QXTools {
namespace {

using QXMolKit::QXMol;

/// The scores of overlays, in the order of their columns.
constexpr const char* kScores[] = {kComboText, kExactText, kShapeText, kChargeText};
constexpr int kScoreDecimals = 4;
constexpr int kMostDecimals = 6;
constexpr size_t kMostColumns = 40;

/// The values of one tag, as long as they are numbers.
struct Numbers {
  bool areNumbers = true;
  bool areNames = false;       ///< digits that a number would not keep
  int decimals = 0;            ///< the most that a value has
  bool needsDigits = false;    ///< decimals tell too little
  std::vector<double> values;  ///< up to the last molecule that has one
};

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view Trimmed(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

/// Its place among the scores of overlays, or behind them.
ptrdiff_t ScorePlace(const std::string& tag) {
  return std::find(std::begin(kScores), std::end(kScores), tag) - std::begin(kScores);
}

bool IsScore(const std::string& tag) {
  return ScorePlace(tag) < std::ssize(kScores);
}

/// One finite number.
std::optional<double> Parse(std::string_view text) {
  double value = 0.0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool whole = result.ec == std::errc() && result.ptr == text.data() + text.size();
  return whole && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

/// Whether a number is written in digits alone that it would not keep: too many, or a zero first.
bool IsName(std::string_view text, double value) {
  constexpr double kLargestWhole = 9007199254740992.0;  // 2^53
  if (text.find_first_not_of("-0123456789") != std::string_view::npos) return false;
  return std::fabs(value) > kLargestWhole || (text.size() > 1 && text[0] == '0');
}

/// A score that is no finite number is one that is missing.
void Note(Numbers& numbers, size_t row, std::string_view text, bool isScore) {
  text = Trimmed(text);
  const std::optional<double> value = Parse(text);
  if (text.empty() || (isScore && !value)) return;
  numbers.areNumbers &= value.has_value();
  if (!numbers.areNumbers) return;
  constexpr double kSmall = 1e-3;  // of which the most decimals show few digits
  const size_t point = text.find('.');
  const int given = point == std::string_view::npos ? 0 : static_cast<int>(text.size() - point - 1);
  numbers.decimals = std::min(kMostDecimals, std::max(numbers.decimals, given));
  numbers.needsDigits |= text.find_first_of("eE") != std::string_view::npos ||
                         (given > kMostDecimals && *value != 0.0 && std::fabs(*value) < kSmall);
  numbers.areNames |= IsName(text, *value);
  numbers.values.resize(row + 1, std::numeric_limits<double>::quiet_NaN());
  numbers.values[row] = *value;
}

std::vector<std::string> TextsOf(const std::vector<QXMol>& poses, const std::string& tag) {
  std::vector<std::string> texts;
  for (const QXMol& pose : poses) {
    texts.emplace_back(Trimmed(QXMolKit::QXGetSDData(pose, tag)));
  }
  return texts;
}

/// By tag, and the tags in the order in which they occur.
std::pair<std::map<std::string, Numbers>, std::vector<std::string>> ReadNumbers(
    const std::vector<QXMol>& poses) {
  std::map<std::string, Numbers> found;
  std::vector<std::string> order;
  for (size_t row = 0; row < poses.size(); ++row) {
    const QXMolKit::QXSDText text = QXMolKit::QXGetRecordText(poses[row]);
    for (size_t i = 0; i < text.Size(); ++i) {
      const auto [at, isNew] = found.try_emplace(std::string(text.Tag(i)));
      if (isNew) order.push_back(at->first);
      Note(at->second, row, text.Value(i), IsScore(at->first));
    }
  }
  return {std::move(found), std::move(order)};
}

/// From the largest down, missing ones aside.
bool Falls(std::vector<double> values) {
  std::erase_if(values, [](double value) { return std::isnan(value); });
  return std::is_sorted(values.begin(), values.end(), std::greater<>());
}

}  // namespace

Report ReportOfPoses(std::vector<QXMol> poses) {
  Report report;
  report.shapes = true;
  if (poses.size() > kMostReportRows) poses.resize(kMostReportRows);
  ReportColumn titles{.name = "Title"};
  for (const QXMol& pose : poses) titles.texts.push_back(pose.GetTitle());
  report.columns.push_back(std::move(titles));

  auto read = ReadNumbers(poses);
  auto& found = read.first;
  auto& order = read.second;
  std::erase_if(order, [&found](const std::string& tag) {
    return !found.at(tag).areNumbers || found.at(tag).values.empty();
  });
  std::stable_sort(order.begin(), order.end(), [](const std::string& a, const std::string& b) {
    return ScorePlace(a) < ScorePlace(b);
  });
  if (order.size() > kMostColumns) {
    report.remarks.emplace_back(
        "Columns left out", fmt::format("{}: the first {} of {} tags that are numbers are shown",
                                        order.size() - kMostColumns, kMostColumns, order.size()));
    order.resize(kMostColumns);
  }
  for (const std::string& tag : order) {
    Numbers& numbers = found.at(tag);
    ReportColumn& column = report.columns.emplace_back(ReportColumn{.name = tag});
    if (numbers.areNames && !IsScore(tag)) {
      column.texts = TextsOf(poses, tag);
      continue;
    }
    numbers.values.resize(poses.size(), std::numeric_limits<double>::quiet_NaN());
    column.numbers = std::move(numbers.values);
    if (!numbers.needsDigits) column.decimals = numbers.decimals;
    if (!IsScore(tag)) continue;
    column.decimals = kScoreDecimals;
    if (tag != kComboText && tag != kChargeText) column.unit = "0 to 1";
    if (!report.score || (!Falls(report.columns[*report.score].numbers) && Falls(column.numbers))) {
      report.score = report.columns.size() - 1;
    }
  }
  report.poses = std::move(poses);
  return report;
}

Report ReportOfHits(const std::vector<Hit>& hits) {
  std::vector<QXMol> poses;
  for (const Hit& hit : hits) poses.push_back(hit.pose);
  Report report = ReportOfPoses(std::move(poses));
  ReportColumn scores{.name = "Tanimoto", .unit = "0 to 1", .decimals = kScoreDecimals};
  ReportColumn files{.name = "File"};
  ReportColumn records{.name = "Record", .decimals = 0},
      conformers{.name = "Conformer", .decimals = 0};
  bool fromMany = false;
  for (const Hit& hit : hits) {
    scores.numbers.push_back(hit.score);
    files.texts.push_back(hit.file);
    records.numbers.push_back(hit.record);
    conformers.numbers.push_back(hit.conformer);
    fromMany |= hit.file != hits.front().file;
  }
  if (!report.score) {  // moved grids tell none
    report.score = 1;
    report.columns.insert(report.columns.begin() + 1, std::move(scores));
  }
  report.columns.push_back(std::move(conformers));
  report.columns.push_back(std::move(records));
  if (fromMany) report.columns.push_back(std::move(files));
  return report;
}

Report ReportOfAtoms(const QXMol& atoms, const QXCore::QXScalarGrid& density) {
  Report report;
  report.rowName = "atom";
  report.referenceName = "All atoms";
  report.reference = atoms;
  report.fields.push_back({.name = "Density of the grid", .grid = density});
  ReportColumn names{.name = "Atom"}, values{.name = "Density", .unit = "at its place"};
  ReportColumn places[] = {{.name = "x", .unit = "\u00c5", .decimals = 3},
                           {.name = "y", .unit = "\u00c5", .decimals = 3},
                           {.name = "z", .unit = "\u00c5", .decimals = 3}};
  for (unsigned int i = 0; i < atoms.NumAtoms(); ++i) {
    double place[3];
    atoms.GetCoords(atoms.GetAtom(i), place);
    names.texts.push_back(fmt::format("C{}", i + 1));
    for (size_t axis = 0; axis < 3; ++axis) places[axis].numbers.push_back(place[axis]);
    values.numbers.push_back(QXCore::QXLinearInterpolate(
        density, static_cast<float>(place[0]), static_cast<float>(place[1]),
        static_cast<float>(place[2]), std::numeric_limits<float>::quiet_NaN()));
    QXMol& one = report.poses.emplace_back();
    one.NewAtom(atoms.GetAtom(i)->GetAtomicNum());
    one.SetCoords(place);
  }
  report.columns = {std::move(names), std::move(values)};
  for (ReportColumn& column : places) report.columns.push_back(std::move(column));
  report.score = 1;
  return report;
}

bool AddReference(Report& report, const std::string& path, unsigned int record,
                  const std::string& option, Listener& listener) {
  if (IsGridFile(path)) return AddDensity(report, path, listener);
  std::optional<QXMol> mol = ReadRecord(path, record, option, listener);
  if (!mol) return false;
  AddReference(report, std::move(*mol));
  return true;
}

void AddReference(Report& report, QXMol mol) {
  const std::string title = mol.GetTitle();
  report.referenceName = title.empty() ? "Reference" : title;
  report.reference = std::move(mol);
}

bool AddDensity(Report& report, const std::string& path, Listener& listener) {
  const std::optional<QXCore::QXScalarGrid> grid = ReadDensityGrid(path, listener);
  if (grid) AddGrid(report, std::filesystem::path(path).filename().string(), *grid);
  return grid.has_value();
}

void AddGrid(Report& report, const std::string& name, const QXCore::QXScalarGrid& grid) {
  if (report.reference.NumAtoms() == 0 && grid.HasDataOfType<QXMol>(QXCore::kQXGridMoleculeTag)) {
    report.reference = WithBonds(grid.GetData<QXMol>(QXCore::kQXGridMoleculeTag));
    report.referenceName = "Atoms of the grid";
  }
  // A grid is what a grid stands for; a molecule has its atoms.
  const bool isAll = report.fields.empty() && report.reference.NumAtoms() == 0;
  report.fields.push_back({.name = name, .grid = Reduced(grid), .shown = isAll});
}

void AddRowGrid(Report& report, size_t row, const QXCore::QXScalarGrid& grid) {
  QXMol& pose = report.poses[row];
  if (pose.NumAtoms() == 0 && grid.HasDataOfType<QXMol>(QXCore::kQXGridMoleculeTag)) {
    pose = WithBonds(grid.GetData<QXMol>(QXCore::kQXGridMoleculeTag));
  }
  for (ReportField& field : report.fields) field.shown = true;
  report.fields.push_back(
      {.name = "Chosen grid", .grid = Reduced(grid), .row = row, .shown = true});
}

}  // namespace QXTools
