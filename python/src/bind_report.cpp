#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "python/src/bindings.h"
#include "python/src/reports.h"
#include "python/src/text.h"
#include "tools/report.h"
#include "tools/report_poses.h"

namespace QXPython {

using QXMolKit::QXMol;

namespace {

/// Pairs of a row and its map, one at a time, for they can be large.
void AddMaps(QXTools::Report& report, const py::iterable& maps) {
  size_t count = 0;
  for (const py::handle& pair : maps) {
    const auto [row, map] = pair.cast<std::pair<size_t, py::object>>();
    if (row >= report.poses.size()) {
      throw py::value_error("maps: there is no pose " + std::to_string(row));
    }
    if (++count > QXTools::kMostRowGrids) {
      throw py::value_error("maps: too many for a page: give the best " +
                            std::to_string(QXTools::kMostRowGrids));
    }
    const auto& grid = map.cast<const QXCore::QXScalarGrid&>();
    Call([&] { QXTools::AddRowGrid(report, row, grid); });
  }
}

void WriteReport(const std::filesystem::path& path, const std::vector<QXMol>& poses,
                 const py::object& reference, const py::str& title, const py::dict& settings,
                 const py::iterable& maps) {
  if (!QXTools::ReportsAreBuilt()) {
    throw py::value_error(
        "reports were left out when the module was built: build it with ./dev build, or install it "
        "with CMAKE_ARGS=-DQXHERMITE_WITH_REPORT=ON in the environment");
  }
  if (poses.empty()) throw py::value_error("poses: there is nothing to report");
  if (poses.size() > QXTools::kMostReportRows) {
    throw py::value_error("poses: " + std::to_string(poses.size()) + " are too many for a page: " +
                          "give the best " + std::to_string(QXTools::kMostReportRows));
  }
  QXTools::Report report = QXTools::ReportOfPoses(poses);
  report.title = ToText(title);
  for (const auto& [name, value] : settings) {
    report.settings.emplace_back(ToText(name), ToText(value));
  }
  if (py::isinstance<QXCore::QXScalarGrid>(reference)) {
    const auto& grid = reference.cast<const QXCore::QXScalarGrid&>();
    Call([&] { QXTools::AddGrid(report, "Reference", grid); });
  } else if (py::isinstance<QXMol>(reference)) {
    QXTools::AddReference(report, reference.cast<const QXMol&>());
  } else if (!reference.is_none()) {
    throw py::type_error("reference: must be a Molecule, a ScalarGrid or None");
  }
  AddMaps(report, maps);
  if (!Call([&] { return QXTools::WriteReport(report, path.string()); })) {
    PyErr_SetString(PyExc_OSError, (path.string() + ": cannot be written").c_str());
    throw py::error_already_set();
  }
}

}  // namespace

void BindReport(py::module_& module) {
  module.def(
      "write_report", &WriteReport, py::arg("path"), py::arg("poses"), py::kw_only(),
      py::arg("reference") = py::none(), py::arg("title") = "Overlay",
      py::arg("settings") = py::dict(), py::arg("maps") = py::tuple(),
      R"(Writes one HTML page that shows molecules, best first, beside what they were laid over.

The page works offline: a 3-D viewer, a table of the data of the molecules that are numbers, and their
histogram. poses: list of Molecule; reference: a Molecule, a ScalarGrid, or None; settings: shown in
the footer; maps: pairs of the place of a pose and the ScalarGrid that it stands for, in the frame of
the reference, each taken when it is its turn. At most 10000 poses and 10 maps. OSError when the file cannot be written.)");
}

}  // namespace QXPython
