// `qxhermite charges energy`: the Coulomb energy of two charge densities.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <Eigen/Geometry>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numbers>
#include <optional>

#include "tools/arguments.h"
#include "tools/charge_density_file.h"
#include "tools/charge_report.h"
#include "tools/command.h"
#include "tools/console.h"
#include "tools/interaction_energy.h"
#include "tools/output_file.h"
#include "tools/site_cube.h"
#include "tools/stage.h"
#include "tools/text.h"

namespace QXTools {
namespace {

using Eigen::Vector3d;

constexpr const char* kExamples = R"(Examples:
  qxhermite charges energy water.json formamide.json
  qxhermite charges energy water.json formamide.json --scan z:0:10:0.5
  qxhermite charges energy water.json formamide.json --scan rx:0:360:15 --out scan.csv
  qxhermite charges energy water.json formamide.json --scan z:3:10:0.5 --report scan.html

Exit status: 0 all well; 1 wrong usage, or nothing could be done; 2 some energies of a scan could
not be computed.)";

/// A row of motions of the second density: along an axis in angstrom, or about one through the
/// middle of its sites in degrees.
struct Scan {
  std::string axis;  ///< x, y, z, rx, ry or rz
  double from = 0.0, to = 0.0, step = 0.0;

  bool IsTurn() const { return axis.size() == 2; }
  size_t Size() const { return static_cast<size_t>(std::floor((to - from) / step + 1e-9)) + 1; }
};

/// AXIS:FROM:TO:STEP. Refuses what is not like that.
Scan ParseScan(const std::string& text) {
  constexpr const char* kAxes[] = {"x", "y", "z", "rx", "ry", "rz"};
  constexpr double kMost = 1e6;
  const auto require = [&](bool condition, const char* expected) {
    if (!condition) Refuse("--scan", text, expected);
  };
  constexpr const char* kExpected = "AXIS:FROM:TO:STEP, such as z:0:10:0.5";
  Scan scan;
  const size_t colon = std::min(text.find(':'), text.size());
  scan.axis = CLI::detail::to_lower(text.substr(0, colon));
  require(std::find(std::begin(kAxes), std::end(kAxes), scan.axis) != std::end(kAxes), kExpected);
  const char* at = text.data() + colon;
  const char* const end = text.data() + text.size();
  for (double* value : {&scan.from, &scan.to, &scan.step}) {
    require(at != end && *at++ == ':', kExpected);
    const auto [stop, error] = std::from_chars(at, end, *value);
    require(error == std::errc() && std::abs(*value) <= 1e6, kExpected);
    at = stop;
  }
  require(at == end, kExpected);
  require(scan.step > 0.0 && scan.to >= scan.from, "rising, by a positive step");
  require((scan.to - scan.from) / scan.step < kMost, "of fewer than a million places");
  return scan;
}

Motion MotionOf(const Scan& scan, double value, const Vector3d& middle) {
  Motion motion;
  const Vector3d axis = Vector3d::Unit(scan.axis.back() - 'x');
  if (scan.IsTurn()) {
    motion.rotation = Eigen::AngleAxisd(value * std::numbers::pi / 180.0, axis).matrix();
    motion.translation = middle - motion.rotation * middle;
  } else {
    motion.translation = value * axis;
  }
  return motion;
}

class ChargesEnergyCommand : public Command {
 public:
  std::string Name() const override { return "charges energy"; }
  std::string Brief() const override {
    return "Coulomb energy of two charge densities, in kcal/mol.";
  }
  void Declare(CLI::App& app) override;
  std::string Check() const override;
  ExitStatus Run() override;

 private:
  /// Fills `scan` too.
  ExitStatus RunScan(InteractionEnergy& pair, const Vector3d& middle, EnergyScan& scan,
                     Console& console) const;
  /// As a table, or into the file. False when that fails, which the console is told.
  bool Write(const std::vector<std::vector<std::string>>& rows, Console& console) const;
  bool WriteScanReport(const ChargeDensity& a, const ChargeDensity& b, const EnergyScan& scan,
                       Console& console) const;
  /// False, which the console is told, for an infinity and for what is no number.
  bool IsFinite(double energy, Console& console) const;

  const CLI::App* app_ = nullptr;
  std::string a_, b_, output_, report_;
  std::optional<Scan> scan_;
};

void ChargesEnergyCommand::Declare(CLI::App& app) {
  app_ = &app;
  app.option_defaults()->ignore_case();
  app.footer(kExamples);
  AddFile(app, "A", a_, "Charge density that stays (.json)")->required();
  AddFile(app, "B", b_, "Charge density that --scan moves (.json)")->required();
  app.add_option_function<std::string>(
         "--scan", [this](const std::string& text) { scan_ = ParseScan(text); },
         "Moves of B: along x, y or z in angstrom, or about rx, ry or rz through the middle of its "
         "sites in degrees")
      ->type_name("AXIS:FROM:TO:STEP");
  AddFile(app, "--out", output_, "File for the energies of a scan: .csv");
  AddReport(app, report_);
}

std::string ChargesEnergyCommand::Check() const {
  if (!output_.empty() && !scan_) return "--out: is for the energies of --scan: leave it out";
  if (!report_.empty() && !scan_) return "--report: is for the energies of --scan: leave it out";
  if (const std::string problem = CheckReport(report_); !report_.empty() && !problem.empty()) {
    return problem;
  }
  if (const std::string problem = CheckCsvName(output_); !output_.empty() && !problem.empty()) {
    return problem;
  }
  for (const std::string& output : {output_, report_}) {
    for (const std::string& input : {a_, b_}) {
      if (output.empty() || !SameFile(output, input)) continue;
      return fmt::format("{}: is both read and written: give another name", output);
    }
  }
  return {};
}

/// An energy, with as many digits as mean something.
std::string EnergyText(double energy) {
  return std::abs(energy) < 1e6 ? fmt::format("{:.6f}", energy) : fmt::format("{:.12g}", energy);
}

bool ChargesEnergyCommand::IsFinite(double energy, Console& console) const {
  if (std::isfinite(energy)) return true;
  console.Say(
      fmt::format("{}, {}: their energy is not finite: check the coefficients and the "
                  "widths",
                  a_, b_));
  return false;
}

ExitStatus ChargesEnergyCommand::RunScan(InteractionEnergy& pair, const Vector3d& middle,
                                         EnergyScan& scan, Console& console) const {
  const Stage stage(console, b_, fmt::format("computing {} energies", scan_->Size()));
  std::vector<std::vector<std::string>> rows;
  size_t tooClose = 0, inContact = 0;
  for (size_t i = 0; i < scan_->Size(); ++i) {
    const double value = scan_->from + static_cast<double>(i) * scan_->step;
    const Motion motion = MotionOf(*scan_, value, middle);
    const bool close = pair.TooClose(motion);
    const double energy = close ? 0.0 : pair.At(motion);
    if (!IsFinite(energy, console)) return kNothingDone;
    tooClose += close;
    inContact += pair.Distance(motion) < kContact;
    rows.push_back({fmt::format("{:.10g}", value), close ? "" : EnergyText(energy)});
    scan.values.push_back(value);
    scan.energies.push_back(close ? std::numeric_limits<double>::quiet_NaN() : energy);
    scan.motions.push_back(motion);
  }
  if (tooClose > 0) {
    console.Say(
        fmt::format("{}: at {} of {} places a site comes too close to one of {} for an "
                    "energy, which is left empty: shift it, or fit with a lower --npolymax",
                    b_, tooClose, rows.size(), a_));
  }
  if (inContact > 0) {
    console.Say(
        fmt::format("{}: at {} of {} places {}", b_, inContact, rows.size(), kContactWarning));
  }
  if (!Write(rows, console)) return kNothingDone;
  return tooClose == rows.size() ? kNothingDone : tooClose > 0 ? kSomeSkipped : kAllWell;
}

bool ChargesEnergyCommand::Write(const std::vector<std::vector<std::string>>& rows,
                                 Console& console) const {
  const std::vector<std::string> header = {scan_->IsTurn() ? "turn [degrees]" : "shift [angstrom]",
                                           "energy [kcal/mol]"};
  if (output_.empty()) {
    std::fputs(FormatTable(header, rows, {0, 1}).c_str(), stdout);
    return true;
  }
  OutputFile out(output_, console);
  if (!out.IsOpen()) return false;
  std::ofstream file(out.TemporaryPath(), std::ios::binary);
  file << CsvLine(header);
  for (const auto& row : rows) file << CsvLine(row);
  file.close();
  if (file.fail()) console.Say(fmt::format("{}: cannot be written: check the disk", output_));
  return !file.fail() && out.Commit();
}

bool ChargesEnergyCommand::WriteScanReport(const ChargeDensity& a, const ChargeDensity& b,
                                           const EnergyScan& scan, Console& console) const {
  OutputFile out(report_, console);
  if (!out.IsOpen()) return false;
  if (scan.values.size() > kMostReportRows) {
    console.Say(fmt::format("{}: the page shows the first {} of {} places", report_,
                            kMostReportRows, scan.values.size()));
  }
  Report report = ReportOfScan(a, b, scan);
  report.settings = SettingsOf(*app_);
  if (WriteReport(report, out.TemporaryPath())) return out.Commit();
  console.Say(fmt::format("{}: cannot be written: is the disk full?", report_));
  return false;
}

ExitStatus ChargesEnergyCommand::Run() {
  Console console;
  if (!output_.empty() && !OutputFile(output_, console).IsOpen()) return kNothingDone;
  if (!report_.empty() && !OutputFile(report_, console).IsOpen()) return kNothingDone;
  const std::optional<ChargeDensity> a = ReadChargeDensity(a_, console);
  const std::optional<ChargeDensity> b = ReadChargeDensity(b_, console);
  if (!a || !b) return kNothingDone;
  InteractionEnergy pair(a->density, b->density);
  if (scan_) {
    const SiteCube cube = CubeOfSites(b->density.GetParams());
    EnergyScan scan;
    scan.coordinate = scan_->IsTurn() ? "turn" : "shift";
    scan.unit = scan_->IsTurn() ? "degrees" : "\u00c5";
    const ExitStatus status = RunScan(pair, Vector3d::Map(cube.centre.data()), scan, console);
    if (report_.empty() || status == kNothingDone) return status;
    return WriteScanReport(*a, *b, scan, console) ? status : kNothingDone;
  }
  if (pair.TooClose({})) {
    console.Say(
        fmt::format("{}: a site lies too close to one of {} for an energy: move it, as "
                    "with --scan z:3:10:0.5, or fit with a lower --npolymax",
                    b_, a_));
    return kNothingDone;
  }
  const double energy = pair.At({});
  if (!IsFinite(energy, console)) return kNothingDone;
  if (pair.Distance({}) < kContact) console.Say(fmt::format("{}: {}", b_, kContactWarning));
  std::fputs(fmt::format("{} kcal/mol\n", EnergyText(energy)).c_str(), stdout);
  return kAllWell;
}

}  // namespace

std::unique_ptr<Command> MakeChargesEnergyCommand() {
  return std::make_unique<ChargesEnergyCommand>();
}

}  // namespace QXTools
