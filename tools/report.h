#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "host/grid/scalar_grid.h"
#include "host/molkit/mol.h"

// What a report shows, and the one HTML page that shows it. The page holds all it needs, so that it
// works from a disk and asks for nothing over a network. The same report gives the same bytes.

namespace QXTools {

/// One column of the table of a report: numbers, or texts. One of them is as long as the table.
struct ReportColumn {
  std::string name{};
  std::string unit{};  ///< "kcal/mol", or the range "0 to 1"; empty when unknown
  /// Decimals that are shown of the numbers; without them, as many digits as each number needs.
  std::optional<int> decimals{};
  std::vector<double> numbers{};  ///< NaN where there is none
  std::vector<std::string> texts{};
};

/// A scalar field that can be shown as a surface of equal values.
struct ReportField {
  std::string name{};
  std::string unit{};
  QXCore::QXScalarGrid grid{};
  double level = 0.0;      ///< of the surface at first; not positive: one that holds most of it
  bool bothSigns = false;  ///< shows the surface at minus the level too
  /// The only row that it belongs to; by default it is of all rows. Fields that belong to a row
  /// each share a button where they have one name, and then unit and signs as well.
  std::optional<size_t> row{};
  bool shown = false;  ///< at first
};

/// A curve of some columns over another one, by their places; it stands in place of the histogram.
struct ReportCurve {
  size_t x = 0;
  std::vector<size_t> y;
};

/// Rows of a table, each with a molecule to be seen when the row is chosen, and what is always
/// there to be seen with it. Coordinates in angstrom, all in one frame.
struct Report {
  std::string title;
  std::vector<std::pair<std::string, std::string>> settings;  ///< names and values for the footer
  std::vector<std::pair<std::string, std::string>> remarks;   ///< what is left out, below those
  std::string rowName = "hit";                                ///< what a row is, in the singular
  std::string referenceName = "Reference";
  QXMolKit::QXMol reference;  ///< always shown; no atoms: none
  std::vector<ReportField> fields;
  std::vector<ReportColumn> columns;   ///< the first one names the rows
  std::vector<QXMolKit::QXMol> poses;  ///< the active conformer of each is shown; or none at all
  size_t chosen = 0;                   ///< the row that is chosen at first
  bool allHydrogens = false;           ///< shows those on carbons at first, too
  bool shapes = false;                 ///< offers the shape densities of its molecules
  /// The column whose histogram is shown first; by default the first one of numbers.
  std::optional<size_t> score;
  std::optional<ReportCurve> curve;

  /// Of the table.
  size_t NumRows() const;
};

/// More rows make a page that is slow to open.
inline constexpr size_t kMostReportRows = 10000;

/// The means over blocks of so many elements an axis that at most 64 an axis are left, as a page
/// holds grids. What does not fill a block at the end of an axis is left out; what is attached to
/// the grid stays.
QXCore::QXScalarGrid Reduced(const QXCore::QXScalarGrid& grid);

/// False when the page for reports was left out of this build.
bool ReportsAreBuilt();

/// The contents of the report as JSON in one line, in which no '<' occurs: places are kept
/// to 0.001 angstrom, equal structures are stored once, fields are reduced to at most 64 elements
/// an axis, and bytes that are not UTF-8 are replaced. A molecule with a place that is not finite,
/// or more than 0.1 mm from the origin, has no picture.
std::string ReportJson(const Report& report);

/// Writes the page. Reports must be built. Failures show in the state of the stream.
void WriteReport(const Report& report, std::ostream& out);
/// The same into a file; false when it cannot be written.
bool WriteReport(const Report& report, const std::string& path);

}  // namespace QXTools
