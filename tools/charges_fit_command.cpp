// `qxhermite charges fit`: a charge density fitted to a potential and a field.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <optional>

#include "host/molkit/molstream.h"
#include "tools/arguments.h"
#include "tools/charge_density_file.h"
#include "tools/charge_fit.h"
#include "tools/charge_report.h"
#include "tools/command.h"
#include "tools/console.h"
#include "tools/electrostatic_data.h"
#include "tools/electrostatic_path.h"
#include "tools/expansion_file.h"
#include "tools/inertial_frame.h"
#include "tools/interrupt.h"
#include "tools/output_file.h"
#include "tools/points_file.h"
#include "tools/stage.h"
#include "tools/text.h"

namespace QXTools {
namespace {

constexpr const char* kExamples = R"(Examples:
  qxhermite charges fit water.json --out density.json
  qxhermite charges fit water.json --out density.json --npolymax 3 --relaxed --target-error 0.05
  qxhermite charges fit molecule.sdf --out density.json --sites heavy --actives 30

Exit status: 0 all well; 1 wrong usage, or nothing could be done.)";

constexpr double kDebye = 4.80320471;  ///< debye in one e angstrom

struct ChargesFitArguments {
  std::string file;
  std::string output;
  std::string curve;   ///< empty: none
  std::string report;  ///< empty: none
  unsigned int record = 1;
  std::string sites = "all";
  bool relaxed = false;
  bool pruned = false;
  unsigned int memory = 2048;  ///< for the matrices of the fit, in MiB
  ElectrostaticSettings fit;
};

class ChargesFitCommand : public Command {
 public:
  std::string Name() const override { return "charges fit"; }
  std::string Brief() const override {
    return "Fits a charge density to the electrostatic potential and field of a molecule.";
  }
  void Declare(CLI::App& app) override;
  std::string Check() const override;
  ExitStatus Run() override;

 private:
  std::optional<ElectrostaticData> ReadData(Console& console) const;
  /// x, y, z of each. Nothing, as with the others, when that cannot be done, which the console is
  /// told.
  std::optional<std::vector<double>> FindSites(const QXMolKit::QXMol& mol, Console& console) const;
  ElectrostaticSettings Settings() const;
  std::optional<ElectrostaticPath> Fit(const ElectrostaticData& data, Console& console) const;
  std::string Place() const;

  const CLI::App* app_ = nullptr;
  ChargesFitArguments arguments_;
};

void ChargesFitCommand::Declare(CLI::App& app) {
  ChargesFitArguments& a = arguments_;
  app_ = &app;
  app.option_defaults()->ignore_case();
  app.footer(kExamples);
  AddFile(app, "FILE", a.file,
          "Potential and field at points: .json, or a molecule file with SD tags (.sdf)")
      ->required();
  AddCount(app, "--record", a.record, 1, "Which record of a molecule file to take");
  AddFile(app, "--out", a.output, "File for the charge density: .json")->required();
  AddFile(app, "--write-curve", a.curve, "File for the errors along the path: .csv");
  AddReport(app, a.report);
  AddFile(app, "--sites", a.sites, "all or heavy atoms, or a file with a line x,y,z for each")
      ->type_name("all|heavy|FILE")
      ->default_str("all");
  AddCount(app, "--npolymax", a.fit.degree, 0, "Degree of the functions about each site");
  AddNumber(app, "--lambda", a.fit.width, 0.0, "Width of the functions, in 1/angstrom",
            "that of the least error of the fitted values");
  AddCount(app, "--actives", a.fit.actives, 1, "Number of functions to take",
           "all, or by --target-error");
  AddNumber(app, "--target-error", a.fit.targetError, 0.0,
            "Take the fewest functions with relative RMS errors of the fitted values below this");
  app.get_option("--target-error")->excludes(app.get_option("--actives"));
  app.add_flag("--relaxed", a.relaxed, "Fit the functions that are taken once more, on their own");
  app.add_flag("--pruned", a.pruned,
               "Choose the functions among twice as many of the path, and fit them once more")
      ->excludes("--relaxed");
  AddCount(app, "--memory", a.memory, 1, "Memory for the matrices of the fit, in MiB");
  AddParameters(app, a.fit.regression, "Fit");
}

std::string ChargesFitCommand::Check() const {
  const ChargesFitArguments& a = arguments_;
  if (!IsExpansionFile(a.output)) {
    return fmt::format("{}: not the name of a charge density: name it .json", a.output);
  }
  const bool isMolecule = QXMolKit::QXGetMolFormat(a.file) != QXMolKit::QXMolFormat::Auto;
  if (!isMolecule && !IsElectrostaticJson(a.file)) {
    return fmt::format("{}: the extension names no format: use .json, or .sdf with SD tags",
                       a.file);
  }
  if (!isMolecule && a.record != 1) return "--record: is for molecule files: leave it out";
  if (const std::string problem = CheckReport(a.report); !a.report.empty() && !problem.empty()) {
    return problem;
  }
  for (const std::string& output : {a.output, a.curve, a.report}) {
    for (const std::string& input : {a.file, a.sites}) {
      if (output.empty() || !SameFile(output, input)) continue;
      return fmt::format("{}: is both read and written: give another name", output);
    }
  }
  if (!a.curve.empty() && SameFile(a.curve, a.output)) {
    return fmt::format("{}: is to be written twice: give another name", a.curve);
  }
  if (const std::string problem = CheckCsvName(a.curve); !a.curve.empty() && !problem.empty()) {
    return problem;
  }
  if (a.fit.degree > kLargestFitDegree)
    return fmt::format("--npolymax: is at most {}", kLargestFitDegree);
  if (!a.fit.regression.GetUsePotential() && !a.fit.regression.GetUseElectricField()) {
    return "-UsePotential, -UseElectricField: nothing to fit: set one of them true";
  }
  if (a.fit.degree == 0 && a.fit.regression.GetUseNeutralCharge()) {
    return "--npolymax 0: all its functions carry charge: give -UseNeutralCharge false, or a "
           "higher degree";
  }
  return {};
}

std::string ChargesFitCommand::Place() const {
  return IsElectrostaticJson(arguments_.file)
             ? arguments_.file
             : fmt::format("{}:{}", arguments_.file, arguments_.record);
}

std::optional<ElectrostaticData> ChargesFitCommand::ReadData(Console& console) const {
  return IsElectrostaticJson(arguments_.file)
             ? ReadElectrostaticJson(arguments_.file, console)
             : ReadElectrostaticRecord(arguments_.file, arguments_.record, console);
}

std::optional<std::vector<double>> ChargesFitCommand::FindSites(const QXMolKit::QXMol& mol,
                                                                Console& console) const {
  const std::string sites = CLI::detail::to_lower(arguments_.sites);
  if (sites != "all" && sites != "heavy") return ReadPoints(arguments_.sites, console);
  const std::vector<double> places = Coordinates(sites == "all" ? mol : HeavyAtoms(mol));
  if (!places.empty()) return places;
  console.Say(fmt::format("{}: has no {}atoms for sites: give --sites FILE", Place(),
                          sites == "all" ? "" : "heavy "));
  return std::nullopt;
}

ElectrostaticSettings ChargesFitCommand::Settings() const {
  ElectrostaticSettings settings = arguments_.fit;
  if (arguments_.relaxed) settings.method = FitMethod::Relaxed;
  if (arguments_.pruned) settings.method = FitMethod::Pruned;
  return settings;
}

std::optional<ElectrostaticPath> ChargesFitCommand::Fit(const ElectrostaticData& data,
                                                        Console& console) const {
  const std::optional<std::vector<double>> sites = FindSites(data.mol, console);
  if (!sites) return std::nullopt;
  const Stage stage(console, Place(), fmt::format("fitting at {} sites", sites->size() / 3));
  return FitCharges(data, Settings(), *sites, arguments_.memory, Place(), console);
}

/// An error, or a dash where there is none.
std::string ErrorText(double error) {
  return std::isnan(error) ? "-" : fmt::format("{:.4f}", error);
}

std::vector<std::string> CurveRow(const ElectrostaticStep& step) {
  return {fmt::format("{}", step.functions), ErrorText(step.fitted.potential),
          ErrorText(step.fitted.field), ErrorText(step.heldOut.potential),
          ErrorText(step.heldOut.field)};
}

bool WriteCurve(const ElectrostaticPath& path, const std::string& file) {
  std::ofstream out(file, std::ios::binary);
  out << "functions,fitted V [relative RMS],fitted E [relative RMS],held-out V [relative RMS],"
         "held-out E [relative RMS]\n";
  for (const ElectrostaticStep& step : path.Steps()) out << CsvLine(CurveRow(step));
  out.close();
  return !out.fail();
}

/// The errors along the path, with a star for the density chosen.
std::string CurveTable(const ElectrostaticPath& path) {
  std::vector<std::vector<std::string>> rows;
  for (const ElectrostaticStep& step : path.Steps()) {
    rows.push_back(CurveRow(step));
    rows.back().push_back(&step == &path.Chosen() ? "*" : "");
  }
  return "Relative RMS errors of the potential V and the field E\n" +
         FormatTable({"functions", "fitted V", "fitted E", "held-out V", "held-out E", ""}, rows,
                     {0, 1, 2, 3, 4});
}

/// A dipole moment in debye, with its length.
std::string DipoleText(const std::vector<double>& debye) {
  return fmt::format("{:.4f} {:.4f} {:.4f}, {:.4f} debye", debye[0], debye[1], debye[2],
                     std::hypot(debye[0], debye[1], debye[2]));
}

std::string Summary(const ElectrostaticStep& step, const ElectrostaticData& data) {
  const auto layout = step.density.GetParams();
  std::vector<double> dipole = step.density.DipoleMoment();
  for (double& component : dipole) component *= kDebye;
  std::string text = fmt::format(
      "Sites    {}\nActives  {} of {} functions, degree {}, width {:.4g} 1/A\n"
      "Charge   {:.6f} e\nDipole   {}{}\n",
      layout.NumSites(), step.density.NumActives(), layout.NumBasis(), layout.GetLargestNPolyMax(),
      layout.GetLambda(0), step.density.TotalCharge(), DipoleText(dipole),
      std::abs(step.density.TotalCharge()) > 0.01 ? ", about the origin of coordinates" : "");
  if (!data.dipole.empty()) text += fmt::format("  given  {}\n", DipoleText(data.dipole));
  return text;
}

ExitStatus ChargesFitCommand::Run() {
  Console console;
  OutputFile out(arguments_.output, console);
  std::optional<OutputFile> curve;
  if (!arguments_.curve.empty()) curve.emplace(arguments_.curve, console);
  std::optional<OutputFile> page;
  if (!arguments_.report.empty()) page.emplace(arguments_.report, console);
  if (!out.IsOpen() || (curve && !curve->IsOpen()) || (page && !page->IsOpen())) {
    return kNothingDone;
  }
  const std::optional<ElectrostaticData> data = ReadData(console);
  if (!data) return kNothingDone;
  const std::optional<ElectrostaticPath> path = Fit(*data, console);
  if (!path) return kNothingDone;
  if (!WriteChargeDensity(
          {data->title, FittedTo(*data, Settings()), data->mol, path->Chosen().density},
          out.TemporaryPath())) {
    console.Say(fmt::format("{}: cannot be written: check the disk", arguments_.output));
    return kNothingDone;
  }
  if (curve && !WriteCurve(*path, curve->TemporaryPath())) {
    console.Say(fmt::format("{}: cannot be written: check the disk", arguments_.curve));
    return kNothingDone;
  }
  if (page) {
    Report report = ReportOfPath(*path, *data);
    report.settings = SettingsOf(*app_);
    if (!WriteReport(report, page->TemporaryPath())) {
      console.Say(fmt::format("{}: cannot be written: check the disk", arguments_.report));
      return kNothingDone;
    }
  }
  if (WasInterrupted(console) || !out.Commit()) return kNothingDone;
  if (curve && !curve->Commit()) return kNothingDone;
  if (page && !page->Commit()) return kNothingDone;
  std::fputs((CurveTable(*path) + Summary(path->Chosen(), *data)).c_str(), stdout);
  return kAllWell;
}

}  // namespace

std::unique_ptr<Command> MakeChargesFitCommand() {
  return std::make_unique<ChargesFitCommand>();
}

}  // namespace QXTools
