// `qxhermite charges fit`: a charge density fitted to a potential and a field.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <numeric>
#include <optional>

#include "host/molkit/molstream.h"
#include "tools/arguments.h"
#include "tools/charge_density_file.h"
#include "tools/charge_potential.h"
#include "tools/command.h"
#include "tools/console.h"
#include "tools/electrostatic_data.h"
#include "tools/electrostatic_fit.h"
#include "tools/expansion_file.h"
#include "tools/inertial_frame.h"
#include "tools/interrupt.h"
#include "tools/output_file.h"
#include "tools/points_file.h"
#include "tools/stage.h"
#include "tools/text.h"

namespace QXTools {
namespace {

using QXHermiteMath::QXHermiteChargeDensity;
using QXHermiteMath::QXMultiHermiteParameters;

constexpr const char* kExamples = R"(Examples:
  qxhermite charges fit water.json --out density.json
  qxhermite charges fit water.json --out density.json --npolymax 3 --relaxed --target-error 0.05
  qxhermite charges fit molecule.sdf --out density.json --sites heavy --actives 30

Exit status: 0 all well; 1 wrong usage, or nothing could be done.)";

constexpr unsigned int kLargestDegree = 10;
/// Widths that are tried, in 1/angstrom. Wider functions make the field worse; narrower ones do not
/// reach the points, so that all are alike.
constexpr double kLeastWidth = 0.9, kLargestWidth = 2.2;
constexpr unsigned int kWidths = 8;
constexpr double kDebye = 4.80320471;  ///< debye in one e angstrom

struct ChargesFitArguments {
  std::string file;
  std::string output;
  std::string curve;  ///< empty: none
  unsigned int record = 1;
  std::string sites = "all";
  unsigned int degree = 2;
  double width = 0.0;        ///< 0: the best
  unsigned int actives = 0;  ///< 0: by the target error, or all
  double targetError = 0.0;  ///< 0: none
  bool relaxed = false;
  bool pruned = false;
  unsigned int memory = 2048;  ///< for the matrices of the fit, in MiB
  QXHermiteMath::QXLassoChargeDensityOptions regression;
};

/// A density along the path.
struct Step {
  unsigned int functions;  ///< so many of the path
  QXHermiteChargeDensity density;
  RelativeErrors fitted, heldOut;
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
  std::optional<std::vector<double>> Sites(const ElectrostaticData& data, Console& console) const;
  /// Those to be fitted, or those held out: all but what lies too close to a site.
  std::vector<size_t> Places(const ElectrostaticData& data, const std::vector<double>& sites,
                             bool heldOut, Console& console) const;
  ElectrostaticFit Fit(const ElectrostaticSample& sample, const std::vector<double>& sites,
                       double width) const;
  double BestWidth(const ElectrostaticSample& fitted, const std::vector<double>& sites) const;
  std::vector<Step> Path(const ElectrostaticData& data, const std::vector<double>& sites,
                         Console& console) const;
  /// The step that is asked for.
  const Step& Choose(const std::vector<Step>& path, Console& console) const;
  bool ReachesTarget(const RelativeErrors& errors) const;
  /// Of what is fitted.
  double Total(const RelativeErrors& errors) const;
  bool WriteCurve(const std::vector<Step>& path, const std::string& file) const;
  std::string Place() const;

  ChargesFitArguments arguments_;
};

void ChargesFitCommand::Declare(CLI::App& app) {
  ChargesFitArguments& a = arguments_;
  app.option_defaults()->ignore_case();
  app.footer(kExamples);
  AddFile(app, "FILE", a.file,
          "Potential and field at points: .json, or a molecule file with SD tags (.sdf)")
      ->required();
  AddCount(app, "--record", a.record, 1, "Which record of a molecule file to take");
  AddFile(app, "--out", a.output, "File for the charge density: .json")->required();
  AddFile(app, "--write-curve", a.curve, "File for the errors along the path: .csv");
  AddFile(app, "--sites", a.sites, "all or heavy atoms, or a file with a line x,y,z for each")
      ->type_name("all|heavy|FILE")
      ->default_str("all");
  AddCount(app, "--npolymax", a.degree, 0, "Degree of the functions about each site");
  AddNumber(app, "--lambda", a.width, 0.0, "Width of the functions, in 1/angstrom",
            "that of the least error of the fitted values");
  AddCount(app, "--actives", a.actives, 1, "Number of functions to take");
  AddNumber(app, "--target-error", a.targetError, 0.0,
            "Take the fewest functions with relative RMS errors of the fitted values below this");
  app.get_option("--target-error")->excludes(app.get_option("--actives"));
  app.add_flag("--relaxed", a.relaxed, "Fit the functions that are taken once more, on their own");
  app.add_flag("--pruned", a.pruned,
               "Choose the functions among twice as many of the path, and fit them once more")
      ->excludes("--relaxed");
  AddCount(app, "--memory", a.memory, 1, "Memory for the matrices of the fit, in MiB");
  AddParameters(app, a.regression, "Fit");
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
  for (const std::string& output : {a.output, a.curve}) {
    for (const std::string& input : {a.file, a.sites}) {
      if (output.empty() || !SameFile(output, input)) continue;
      return fmt::format("{}: is both read and written: give another name", output);
    }
  }
  if (!a.curve.empty() && SameFile(a.curve, a.output)) {
    return fmt::format("{}: is to be written twice: give another name", a.curve);
  }
  if (a.degree > kLargestDegree) return fmt::format("--npolymax: is at most {}", kLargestDegree);
  if (!a.regression.GetUsePotential() && !a.regression.GetUseElectricField()) {
    return "-UsePotential, -UseElectricField: nothing to fit: set one of them true";
  }
  if (a.degree == 0 && a.regression.GetUseNeutralCharge()) {
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
  std::optional<ElectrostaticData> data =
      IsElectrostaticJson(arguments_.file)
          ? ReadElectrostaticJson(arguments_.file, console)
          : ReadElectrostaticRecord(arguments_.file, arguments_.record, console);
  if (!data) return data;
  const auto& regression = arguments_.regression;
  if (regression.GetUsePotential() && data->potential.empty()) {
    console.Say(fmt::format("{}: has no potential: add it, or give -UsePotential false", Place()));
    return std::nullopt;
  }
  if (regression.GetUseElectricField() && data->field.empty()) {
    console.Say(
        fmt::format("{}: has no electric field: add it, or give -UseElectricField false", Place()));
    return std::nullopt;
  }
  if (std::abs(data->totalCharge) > 0.5 && regression.GetUseNeutralCharge()) {
    console.Say(
        fmt::format("{}: its charge is {:g}, but a neutral density is fitted: give "
                    "-UseNeutralCharge false",
                    Place(), data->totalCharge));
  }
  return data;
}

std::optional<std::vector<double>> ChargesFitCommand::FindSites(const QXMolKit::QXMol& mol,
                                                                Console& console) const {
  const std::string& sites = arguments_.sites;
  if (sites != "all" && sites != "heavy") return ReadPoints(sites, console);
  const std::vector<double> places = Coordinates(sites == "all" ? mol : HeavyAtoms(mol));
  if (!places.empty()) return places;
  console.Say(fmt::format("{}: has no {}atoms for sites: give --sites FILE", Place(),
                          sites == "all" ? "" : "heavy "));
  return std::nullopt;
}

std::optional<std::vector<double>> ChargesFitCommand::Sites(const ElectrostaticData& data,
                                                            Console& console) const {
  const std::optional<std::vector<double>> sites = FindSites(data.mol, console);
  if (!sites) return sites;
  const double functions = static_cast<double>(QXHermiteMath::SizeOfBasis(arguments_.degree)) *
                           static_cast<double>(sites->size() / 3);
  // The matrix of potential and field, and a copy of it.
  const double bytes = 2.0 * 8.0 * 4.0 * static_cast<double>(data.NumPoints()) * functions;
  if (bytes <= arguments_.memory * 1048576.0) return sites;
  console.Say(
      fmt::format("{}: {} functions at {} points need {:.0f} MiB: raise --memory, or "
                  "lower --npolymax",
                  Place(), functions, data.NumPoints(), std::ceil(bytes / 1048576.0)));
  return std::nullopt;
}

std::vector<size_t> ChargesFitCommand::Places(const ElectrostaticData& data,
                                              const std::vector<double>& sites, bool heldOut,
                                              Console& console) const {
  const double width = arguments_.width > 0.0 ? arguments_.width : kLeastWidth;
  const double least = LeastDistance(arguments_.degree + 1, width * width);
  std::vector<size_t> places, close;
  for (size_t i = 0; i < data.NumPoints(); ++i) {
    if (data.heldOut[i] != heldOut) continue;
    bool isClose = false;
    for (size_t s = 0; s < sites.size(); s += 3) {
      const double* const p = &data.points[3 * i];
      isClose |= std::hypot(p[0] - sites[s], p[1] - sites[s + 1], p[2] - sites[s + 2]) < least;
    }
    (isClose ? close : places).push_back(i);
  }
  if (!close.empty()) {
    console.Say(
        fmt::format("{}: {} point{}, the first of them number {}, closer than {:.2g} A to "
                    "a site: left out",
                    Place(), close.size(), close.size() == 1 ? "" : "s", close[0] + 1, least));
  }
  return places;
}

bool ChargesFitCommand::ReachesTarget(const RelativeErrors& errors) const {
  const auto& regression = arguments_.regression;
  const auto reaches = [this](double error) { return error <= arguments_.targetError; };
  return (!regression.GetUsePotential() || reaches(errors.potential)) &&
         (!regression.GetUseElectricField() || reaches(errors.field));
}

double ChargesFitCommand::Total(const RelativeErrors& errors) const {
  return std::hypot(arguments_.regression.GetUsePotential() ? errors.potential : 0.0,
                    arguments_.regression.GetUseElectricField() ? errors.field : 0.0);
}

ElectrostaticFit ChargesFitCommand::Fit(const ElectrostaticSample& sample,
                                        const std::vector<double>& sites, double width) const {
  const FitMethod method = arguments_.relaxed  ? FitMethod::Relaxed
                           : arguments_.pruned ? FitMethod::Pruned
                                               : FitMethod::Lasso;
  return FitSample(sample, QXMultiHermiteParameters(arguments_.degree, width, sites),
                   arguments_.regression, method);
}

double ChargesFitCommand::BestWidth(const ElectrostaticSample& fitted,
                                    const std::vector<double>& sites) const {
  // By the functions that it takes to reach the target, then by the error.
  std::pair<unsigned int, double> best;
  double bestWidth = 0.0;
  for (unsigned int i = 0; i < kWidths; ++i) {
    const double width =
        kLeastWidth * std::pow(kLargestWidth / kLeastWidth, double(i) / (kWidths - 1));
    const ElectrostaticFit fit = Fit(fitted, sites, width);
    if (fit.maxFunctions == 0) continue;
    std::vector<unsigned int> steps = {std::min(arguments_.actives, fit.maxFunctions)};
    if (arguments_.targetError > 0.0) steps = StepsUpTo(fit.maxFunctions);
    if (steps.back() == 0) steps = {fit.maxFunctions};
    std::pair<unsigned int, double> quality;
    for (const unsigned int functions : steps) {
      const RelativeErrors errors = ErrorsOf(fit.density(functions), fitted);
      quality = {ReachesTarget(errors) ? functions : ~0u, Total(errors)};
      if (ReachesTarget(errors)) break;
    }
    if (bestWidth > 0.0 && quality >= best) continue;
    best = quality;
    bestWidth = width;
  }
  return bestWidth > 0.0 ? bestWidth : kLeastWidth;
}

std::vector<Step> ChargesFitCommand::Path(const ElectrostaticData& data,
                                          const std::vector<double>& sites,
                                          Console& console) const {
  const ElectrostaticSample fitted = TakePoints(data, Places(data, sites, false, console));
  const ElectrostaticSample heldOut = TakePoints(data, Places(data, sites, true, console));
  const Stage stage(console, Place(), fmt::format("fitting at {} sites", sites.size() / 3));
  const double width = arguments_.width > 0.0 ? arguments_.width : BestWidth(fitted, sites);
  const ElectrostaticFit fit = Fit(fitted, sites, width);
  std::vector<unsigned int> steps = StepsUpTo(fit.maxFunctions);
  if (arguments_.actives > 0 && arguments_.actives < fit.maxFunctions) {
    steps.push_back(arguments_.actives);
    std::sort(steps.begin(), steps.end());
    steps.erase(std::unique(steps.begin(), steps.end()), steps.end());
  }
  std::vector<Step> path;
  for (const unsigned int functions : steps) {
    const QXHermiteChargeDensity density = fit.density(functions);
    if (density.NumActives() == 0) continue;
    path.push_back({functions, density, ErrorsOf(density, fitted), ErrorsOf(density, heldOut)});
  }
  if (path.empty()) {
    console.Say(
        fmt::format("{}: there is nothing to fit: check that its values differ, and that "
                    "not all of them are held out",
                    Place()));
  }
  return path;
}

const Step& ChargesFitCommand::Choose(const std::vector<Step>& path, Console& console) const {
  const ChargesFitArguments& a = arguments_;
  if (a.actives > 0) {
    const auto step = std::find_if(path.begin(), path.end(),
                                   [&](const Step& one) { return one.functions >= a.actives; });
    if (step != path.end()) return *step;
    console.Say(fmt::format("{}: --actives {}: the path ends with {}, which are taken", Place(),
                            a.actives, path.back().functions));
  }
  if (a.targetError > 0.0) {
    const auto step = std::find_if(path.begin(), path.end(),
                                   [&](const Step& one) { return ReachesTarget(one.fitted); });
    if (step != path.end()) return *step;
    console.Say(
        fmt::format("{}: --target-error {}: is not reached, all {} functions are taken: "
                    "raise --npolymax, or choose another --lambda",
                    Place(), a.targetError, path.back().functions));
  }
  return path.back();
}

/// An error, or a dash where there is none.
std::string ErrorText(double error) {
  return std::isnan(error) ? "-" : fmt::format("{:.4f}", error);
}

std::vector<std::string> CurveHeader() {
  return {"functions", "fitted V", "fitted E", "held-out V", "held-out E"};
}

std::vector<std::string> CurveRow(const Step& step) {
  return {fmt::format("{}", step.functions), ErrorText(step.fitted.potential),
          ErrorText(step.fitted.field), ErrorText(step.heldOut.potential),
          ErrorText(step.heldOut.field)};
}

bool ChargesFitCommand::WriteCurve(const std::vector<Step>& path, const std::string& file) const {
  std::ofstream out(file, std::ios::binary);
  out << CsvLine(CurveHeader());
  for (const Step& step : path) out << CsvLine(CurveRow(step));
  out.close();
  return !out.fail();
}

/// A dipole moment in debye, with its length.
std::string DipoleText(const std::vector<double>& debye) {
  return fmt::format("{:.4f} {:.4f} {:.4f}, {:.4f} debye", debye[0], debye[1], debye[2],
                     std::hypot(debye[0], debye[1], debye[2]));
}

std::string Summary(const Step& step, const ElectrostaticData& data) {
  const auto layout = step.density.GetParams();
  std::vector<double> dipole = step.density.DipoleMoment();
  for (double& component : dipole) component *= kDebye;
  std::string text = fmt::format(
      "Sites    {}\nActives  {} of {} functions, degree {}, width {:.4g} 1/A\n"
      "Charge   {:.6f} e\nDipole   {}\n",
      layout.NumSites(), step.density.NumActives(), layout.NumBasis(), layout.GetLargestNPolyMax(),
      layout.GetLambda(0), step.density.TotalCharge(), DipoleText(dipole));
  if (!data.dipole.empty()) text += fmt::format("  given  {}\n", DipoleText(data.dipole));
  return text;
}

ExitStatus ChargesFitCommand::Run() {
  Console console;
  OutputFile out(arguments_.output, console);
  std::optional<OutputFile> curve;
  if (!arguments_.curve.empty()) curve.emplace(arguments_.curve, console);
  if (!out.IsOpen() || (curve && !curve->IsOpen())) return kNothingDone;
  const std::optional<ElectrostaticData> data = ReadData(console);
  if (!data) return kNothingDone;
  const std::optional<std::vector<double>> sites = Sites(*data, console);
  if (!sites) return kNothingDone;
  const std::vector<Step> path = Path(*data, *sites, console);
  if (path.empty()) return kNothingDone;
  const Step& chosen = Choose(path, console);
  const std::string source =
      fmt::format("{} points with{}{}", data->NumPoints(),
                  arguments_.regression.GetUsePotential() ? " potential" : "",
                  arguments_.regression.GetUseElectricField() ? " field" : "");
  if (!WriteChargeDensity({data->title, source, data->mol, chosen.density}, out.TemporaryPath())) {
    console.Say(fmt::format("{}: cannot be written: check the disk", arguments_.output));
    return kNothingDone;
  }
  if (curve && !WriteCurve(path, curve->TemporaryPath())) {
    console.Say(fmt::format("{}: cannot be written: check the disk", arguments_.curve));
    return kNothingDone;
  }
  if (WasInterrupted(console) || !out.Commit()) return kNothingDone;
  if (curve && !curve->Commit()) return kNothingDone;
  std::vector<std::vector<std::string>> rows;
  for (const Step& step : path) {
    rows.push_back(CurveRow(step));
    rows.back().push_back(&step == &chosen ? "*" : "");
  }
  std::vector<std::string> header = CurveHeader();
  header.push_back("");
  std::fputs((FormatTable(header, rows, {0, 1, 2, 3, 4}) + Summary(chosen, *data)).c_str(), stdout);
  return kAllWell;
}

}  // namespace

std::unique_ptr<Command> MakeChargesFitCommand() {
  return std::make_unique<ChargesFitCommand>();
}

}  // namespace QXTools
