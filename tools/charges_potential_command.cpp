// `qxhermite charges potential`: potential and field of a charge density, at points or on a grid.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <optional>

#include "host/grid/grid_file.h"
#include "tools/arguments.h"
#include "tools/charge_density_file.h"
#include "tools/charge_potential.h"
#include "tools/charge_report.h"
#include "tools/command.h"
#include "tools/console.h"
#include "tools/grid_density.h"
#include "tools/grid_shape.h"
#include "tools/interrupt.h"
#include "tools/output_file.h"
#include "tools/points_file.h"
#include "tools/site_cube.h"
#include "tools/stage.h"

namespace QXTools {
namespace {

using QXCore::QXScalarGrid;

constexpr const char* kExamples = R"(Examples:
  qxhermite charges potential water.json --points points.csv --out values.csv
  qxhermite charges potential water.json --grid potential.cube --spacing 0.3 --report water.html
  qxhermite charges potential water.json --grid potential.ccp4 --like density.ccp4

Exit status: 0 all well; 1 wrong usage, or nothing could be done.)";

constexpr const char* kHeader =
    "x [angstrom],y [angstrom],z [angstrom],V [kcal/mol/e],Ex [kcal/mol/e/angstrom],"
    "Ey [kcal/mol/e/angstrom],Ez [kcal/mol/e/angstrom]\n";
constexpr unsigned int kLargestDim = 400;  ///< of a cube
constexpr size_t kBlock = 65536;           ///< points that are evaluated together

class ChargesPotentialCommand : public Command {
 public:
  std::string Name() const override { return "charges potential"; }
  std::string Brief() const override {
    return "Potential and field of a charge density, at points or on a grid.";
  }
  void Declare(CLI::App& app) override;
  std::string Check() const override;
  ExitStatus Run() override;

 private:
  bool WritePoints(const ChargePotential& potential, const std::vector<double>& points,
                   const std::string& path, Console& console) const;
  /// Nothing, as false above, when that cannot be done, which the console is told.
  std::optional<QXScalarGrid> FillGrid(const ChargePotential& potential,
                                       const ChargeDensity& density, Console& console) const;
  bool TellNotFinite(Console& console) const;
  bool WritePage(const ChargeDensity& density, OutputFile& page, Console& console) const;
  /// Where to write: the values, or the grid.
  const std::string& Output() const { return points_.empty() ? grid_ : output_; }

  std::string density_, points_, output_, grid_, report_;
  GridShape shape_;
  const CLI::App* app_ = nullptr;
};

void ChargesPotentialCommand::Declare(CLI::App& app) {
  app_ = &app;
  app.option_defaults()->ignore_case();
  app.footer(kExamples);
  AddFile(app, "FILE", density_, "Charge density (.json), of qxhermite charges fit")->required();
  CLI::Option* const points =
      AddFile(app, "--points", points_, "Points: a line x,y,z for each, in angstrom (.csv)");
  CLI::Option* const out =
      AddFile(app, "--out", output_,
              "Values: x,y,z,V,Ex,Ey,Ez for each, in angstrom, kcal/mol/e and kcal/mol/e/angstrom")
          ->needs(points);
  points->needs(out);
  CLI::Option* const grid = AddFile(
      app, "--grid", grid_, "Grid of the potential, in kcal/mol/e: .ccp4, .map, .mrc, .cube, .cub");
  grid->excludes(points);
  DeclareGridShape(app, shape_);
  AddReport(app, report_);
  for (const char* name : {"--like", "--spacing", "--width"}) app.get_option(name)->needs(grid);
}

std::string ChargesPotentialCommand::Check() const {
  if (points_.empty() && grid_.empty()) {
    return "nothing to compute: give --points and --out, or --grid";
  }
  if (std::string problem = CheckGridName(grid_); !grid_.empty() && !problem.empty()) {
    return problem;
  }
  if (const std::string problem = CheckCsvName(output_); !output_.empty() && !problem.empty()) {
    return problem;
  }
  if (const std::string problem = CheckReport(report_); !report_.empty() && !problem.empty()) {
    return problem;
  }
  for (const std::string& output : {Output(), report_}) {
    for (const std::string& input : {density_, points_, shape_.like}) {
      if (input.empty() || output.empty() || !SameFile(output, input)) continue;
      return fmt::format("{}: is both read and written: give another name", output);
    }
  }
  return {};
}

bool ChargesPotentialCommand::TellNotFinite(Console& console) const {
  console.Say(fmt::format("{}: its values are not finite: check the coefficients and the widths",
                          density_));
  return false;
}

bool ChargesPotentialCommand::WritePoints(const ChargePotential& potential,
                                          const std::vector<double>& points,
                                          const std::string& path, Console& console) const {
  std::ofstream out(path, std::ios::binary);
  out << kHeader;
  for (size_t first = 0; first < points.size(); first += 3 * kBlock) {
    const size_t end = std::min(first + 3 * kBlock, points.size());
    const std::vector<double> block(&points[first], points.data() + end);
    const std::vector<double> V = potential.Potential(block), E = potential.Field(block);
    for (size_t i = 0; i < V.size(); ++i) {
      const double* const p = &block[3 * i];
      const double* const e = &E[3 * i];
      if (!std::isfinite(V[i] + e[0] + e[1] + e[2])) return TellNotFinite(console);
      out << fmt::format("{},{},{},{:.10g},{:.10g},{:.10g},{:.10g}\n", p[0], p[1], p[2], V[i], e[0],
                         e[1], e[2]);
    }
  }
  out.close();
  if (out.fail()) console.Say(fmt::format("{}: cannot be written: check the disk", output_));
  return !out.fail();
}

std::optional<QXScalarGrid> ChargesPotentialCommand::FillGrid(const ChargePotential& potential,
                                                              const ChargeDensity& density,
                                                              Console& console) const {
  const SiteCube cube = CubeOfSites(density.density.GetParams());
  std::optional<QXScalarGrid> grid =
      MakeGrid(shape_, {density_, cube.centre, cube.width, kLargestDim}, console);
  if (!grid) return grid;
  const Stage stage(console, density_, "evaluating");
  std::vector<double> block;
  float* values = grid->GetValues();
  const auto flush = [&] {
    const std::vector<double> V = potential.Potential(block);
    values = std::transform(V.begin(), V.end(), values,
                            [](double value) { return static_cast<float>(value); });
    block.clear();
  };
  QXCore::QXForEachElement(*grid, [&](float, double x, double y, double z) {
    block.insert(block.end(), {x, y, z});
    if (block.size() == 3 * kBlock) flush();
  });
  flush();
  if (QXCore::QXCountNonFinite(*grid) > 0) {
    TellNotFinite(console);
    return std::nullopt;
  }
  grid->SetTitle("potential [kcal/mol/e]: " + density.title);
  if (density.mol.NumAtoms() > 0) grid->SetData(QXCore::kQXGridMoleculeTag, density.mol);
  return grid;
}

bool ChargesPotentialCommand::WritePage(const ChargeDensity& density, OutputFile& page,
                                        Console& console) const {
  Report report = ReportOfDensity(density);
  report.settings = SettingsOf(*app_);
  if (WriteReport(report, page.TemporaryPath())) return true;
  console.Say(fmt::format("{}: cannot be written: is the disk full?", report_));
  return false;
}

ExitStatus ChargesPotentialCommand::Run() {
  Console console;
  OutputFile out(Output(), console);
  std::optional<OutputFile> page;
  if (!report_.empty()) page.emplace(report_, console);
  if (!out.IsOpen() || (page && !page->IsOpen())) return kNothingDone;
  const std::optional<ChargeDensity> density = ReadChargeDensity(density_, console);
  if (!density) return kNothingDone;
  const ChargePotential potential(density->density);
  std::string summary;
  if (points_.empty()) {
    const std::optional<QXScalarGrid> grid = FillGrid(potential, *density, console);
    const QXCore::QXGridFormat format = QXCore::QXGetGridFormat(grid_);
    if (!grid || !QXCore::QXWriteGrid(out.TemporaryPath(), *grid, format)) return kNothingDone;
    summary = fmt::format("{} x {} x {} elements, spacing {:.6g} A", grid->GetXDim(),
                          grid->GetYDim(), grid->GetZDim(), grid->GetSpacing());
  } else {
    const std::optional<std::vector<double>> points = ReadPoints(points_, console);
    if (!points) return kNothingDone;
    const Stage stage(console, points_, "evaluating");
    if (!WritePoints(potential, *points, out.TemporaryPath(), console)) return kNothingDone;
    summary = fmt::format("{} points", points->size() / 3);
  }
  if (page && !WritePage(*density, *page, console)) return kNothingDone;
  if (WasInterrupted(console) || !out.Commit() || (page && !page->Commit())) return kNothingDone;
  std::fputs(fmt::format("{}: {}\n", Output(), summary).c_str(), stdout);
  return kAllWell;
}

}  // namespace

std::unique_ptr<Command> MakeChargesPotentialCommand() {
  return std::make_unique<ChargesPotentialCommand>();
}

}  // namespace QXTools
