// `qxhermite report`: a page to look at molecules that were written earlier.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <utility>

#include "host/molkit/molstream.h"
#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/console.h"
#include "tools/grid_density.h"
#include "tools/interrupt.h"
#include "tools/output_file.h"
#include "tools/record.h"
#include "tools/report_poses.h"

namespace QXTools {
namespace {

using QXMolKit::QXMol;

constexpr const char* kExamples = R"(Examples:
  qxhermite report hits.sdf --ref ref.sdf --out hits.html
  qxhermite report hits.sdf --ref ref.sdf --density map.ccp4 --title "Second screen" --out hits.html
  qxhermite report placed.sdf --ref map.ccp4 --out placed.html

Exit status: 0 all well; 1 wrong usage, or nothing could be done; 2 done, but records were skipped.)";

class ReportCommand : public Command {
 public:
  std::string Name() const override { return "report"; }
  std::string Brief() const override {
    return "Makes a page to look at molecules and their scores in a browser.";
  }
  void Declare(CLI::App& app) override;
  std::string Check() const override;
  ExitStatus Run() override;

 private:
  const CLI::App* app_ = nullptr;
  std::string hits_, reference_, density_, title_, output_;
  unsigned int referenceRecord_ = 1;
};

void ReportCommand::Declare(CLI::App& app) {
  app_ = &app;
  app.option_defaults()->ignore_case();
  app.footer(kExamples);
  AddFile(
      app, "FILE", hits_,
      "Molecules, each conformer a row of the page; their SD data that are numbers become columns")
      ->required();
  AddFile(app, "--ref", reference_,
          "Molecule or grid file with the reference, in one frame with them");
  AddCount(app, "--ref-record", referenceRecord_, 1, "Which record of the reference file to take");
  AddFile(app, "--density", density_, "Grid file with a density, in the same frame");
  app.add_option("--title", title_, "Title of the page; by default the name of the file");
  AddFile(app, "--out", output_, "File for the page: .html")->required();
}

std::string ReportCommand::Check() const {
  if (std::string problem = CheckReport(output_); !problem.empty()) return problem;
  if (std::string problem = CheckGridName(density_); !density_.empty() && !problem.empty()) {
    return problem;
  }
  if (referenceRecord_ != 1 && (reference_.empty() || IsGridFile(reference_))) {
    return "--ref-record: there is no molecule file as reference: leave it out";
  }
  for (const std::string& input : {hits_, reference_, density_}) {
    if (input.empty() || !SameFile(output_, input)) continue;
    return fmt::format("{}: is both read and written: give another name", output_);
  }
  return {};
}

ExitStatus ReportCommand::Run() {
  Console console;
  OutputFile out(output_, console);
  if (!out.IsOpen()) return kNothingDone;
  QXMolKit::qxmolistream stream(hits_);
  std::vector<QXMol> poses;
  size_t read = 0;
  for (QXMol mol; !Interrupted() && QXMolKit::QXReadMolecule(stream, mol);) {
    const std::unique_ptr<QXMolKit::QXIterator<QXMolKit::QXConfBase>> confs(mol.GetConfs());
    for (; confs && confs->IsValid(); confs->Next(), ++read) {
      if (poses.size() < kMostReportRows) poses.emplace_back(*confs->Get(), 1);
    }
  }
  if (!stream) return kNothingDone;
  if (poses.empty()) {
    console.Say(fmt::format("{}: {}", hits_, kNoMoleculeWarning));
    return kNothingDone;
  }
  if (read > poses.size()) {
    console.Say(
        fmt::format("{}: the page shows the first {} of {} molecules", hits_, poses.size(), read));
  }
  Report report = ReportOfPoses(std::move(poses));
  report.title = title_.empty() ? std::filesystem::path(hits_).filename().string() : title_;
  report.settings = SettingsOf(*app_);
  if (!reference_.empty() &&
      !AddReference(report, reference_, referenceRecord_, "--ref-record", console)) {
    return kNothingDone;
  }
  if (!density_.empty() && !AddDensity(report, density_, console)) return kNothingDone;
  if (!WriteReport(report, out.TemporaryPath())) {
    console.Say(fmt::format("{}: cannot be written: is the disk full?", output_));
    return kNothingDone;
  }
  if (WasInterrupted(console) || !out.Commit()) return kNothingDone;
  const size_t count = report.poses.size();
  std::fputs(fmt::format("{}: {} molecule{}\n", output_, count, count == 1 ? "" : "s").c_str(),
             stdout);
  return stream.SkippedRecords().empty() ? kAllWell : kSomeSkipped;
}

}  // namespace

std::unique_ptr<Command> MakeReportCommand() {
  return std::make_unique<ReportCommand>();
}

}  // namespace QXTools
