// `qxhermite atoms`: pseudo-atoms whose density stands for a grid.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "hermite/overlay/shape_overlay.h"
#include "host/molkit/molstream.h"
#include "tools/arguments.h"
#include "tools/atom_search.h"
#include "tools/command.h"
#include "tools/console.h"
#include "tools/interrupt.h"
#include "tools/output_file.h"
#include "tools/prepared_grid.h"
#include "tools/report_poses.h"
#include "tools/stage.h"

namespace QXTools {
namespace {

using QXCore::QXScalarGrid;

constexpr const char* kExamples = R"(Examples:
  qxhermite atoms map.ccp4 --out atoms.sdf
  qxhermite atoms map.ccp4 --out atoms.sdf --radius 1.2 --threshold 0.1
  qxhermite atoms map.ccp4 --out atoms.sdf --method lasso --max-atoms 60
  qxhermite atoms map.cube --out atoms.sdf --method multistart --starts 500

Exit status: 0 all well; 1 wrong usage, or nothing could be done.)";

class AtomsCommand : public Command {
 public:
  std::string Name() const override { return "atoms"; }
  std::string Brief() const override { return "Turns a density grid into pseudo-atoms."; }
  void Declare(CLI::App& app) override;
  std::string Check() const override;
  ExitStatus Run() override;

 private:
  /// What is wrong when an option is given that the method does not read.
  std::string IdleOption() const;
  bool Write(const FoundAtoms& found, const std::string& path) const;
  void Print(const FoundAtoms& found) const;

  const CLI::App* app_ = nullptr;
  GridPreparation source_;
  std::string output_, report_;
  AtomSearch search_;
};

void AtomsCommand::Declare(CLI::App& app) {
  app_ = &app;
  app.option_defaults()->ignore_case();
  app.footer(kExamples);
  DeclareGridPreparation(app, source_);
  AddFile(app, "--out", output_, "File for the atoms: .sdf, .pdb or .qxb")->required();
  AddReport(app, report_);
  // IsMember brings the words to small letters.
  app.add_option("--method", search_.method,
                 "refine: all atoms at once, from many places on the density; lasso: few of many "
                 "fixed places that together give the density, fast; multistart: one atom at a "
                 "time, from random places")
      ->transform(CLI::IsMember({"refine", "lasso", "multistart"}, CLI::ignore_case))
      ->type_name("METHOD");
  AddNumber(app, "--radius", search_.radius, 0.0,
            "Radius of the atoms, in angstrom (refine, lasso)");
  AddNumber(app, "--start-distance", search_.startDistance, 0.0,
            "Least distance of the atoms to start from, in angstrom; larger where they would be "
            "more than 200 (refine)");
  AddNumber(app, "--min-distance", search_.minDistance, 0.0,
            "Least distance of two atoms, in angstrom (refine, lasso)");
  AddNumber(app, "--threshold", search_.threshold, 1e-6,
            "Least value under an atom, or under a random place to start from, as a fraction of "
            "the largest (refine, multistart)");
  AddNumber(app, "--value-fraction", search_.valueFraction, 0.0,
            "Least value at a place for an atom, as a fraction of the largest (lasso)");
  AddCount(app, "--max-atoms", search_.maxAtoms, 1, "Largest number of atoms (lasso)");
  app.add_option("--metric", search_.metric,
                 "What the number of atoms makes largest: the cosine with the grid, or the "
                 "tanimoto, for grids on the scale of atoms, 2.7 at each (lasso)")
      ->transform(CLI::IsMember({"cosine", "tanimoto"}, CLI::ignore_case))
      ->type_name("METRIC");
  AddCount(app, "--starts", search_.starts, 1, "Number of random places (multistart)");
  AddExpansionOptions(app, search_.expansion);
}

std::string AtomsCommand::IdleOption() const {
  const std::pair<std::string, std::string> readBy[] = {
      {"--radius", "refine lasso"},
      {"--min-distance", "refine lasso"},
      {"--threshold", "refine multistart"},
      {"--start-distance", "refine"},
      {"--starts", "multistart"},
      {"--value-fraction", "lasso"},
      {"--max-atoms", "lasso"},
      {"--metric", "lasso"},
  };
  const std::string& method = search_.method;
  for (const CLI::Option* option : app_->get_options()) {
    if (option->count() == 0) continue;
    bool read = method != "lasso" || option->get_group() != "Expansion";
    for (const auto& [name, methods] : readBy) {
      if (option->get_name() == name) read = methods.find(method) != std::string::npos;
    }
    if (!read) {
      return fmt::format("{}: is not for --method {}: leave it out", option->get_name(), method);
    }
  }
  return {};
}

std::string AtomsCommand::Check() const {
  if (const std::string problem = CheckGridPreparation(source_); !problem.empty()) return problem;
  for (const std::string& output : {output_, report_}) {
    if (output.empty() || !SameFile(output, source_.file)) continue;
    return fmt::format("{}: is both read and written: give another name", output);
  }
  if (const std::string problem = CheckReport(report_); !report_.empty() && !problem.empty()) {
    return problem;
  }
  if (const std::string problem = IdleOption(); !problem.empty()) return problem;
  using QXMolKit::QXMolFormat;
  const QXMolFormat format = QXMolKit::QXGetMolFormat(output_);
  if (format != QXMolFormat::SDF && format != QXMolFormat::PDB && format != QXMolFormat::QXB) {
    return fmt::format("{}: atoms cannot be written in this format: name it .sdf, .pdb or .qxb",
                       output_);
  }
  if (search_.threshold > 1.0) return "--threshold: a fraction is at most 1";
  if (search_.valueFraction >= 1.0) return "--value-fraction: a fraction is below 1";
  if (search_.expansion.GetUseCenterOfMass()) {
    return "--UseCenterOfMass true: the grid is centred anyway: leave it out";
  }
  return {};
}

bool AtomsCommand::Write(const FoundAtoms& found, const std::string& path) const {
  QXMolKit::QXMol atoms = found.mol;
  atoms.SetTitle(std::filesystem::path(source_.file).stem().string());
  const auto set = [&atoms](const std::string& tag, double value) {
    QXMolKit::QXSetSDData(*atoms.GetActive(), tag, fmt::format("{:.6f}", value));
  };
  if (found.objective) set("Objective", *found.objective);
  if (found.score) set("Score", *found.score);
  set("Cosine", found.cosine);
  QXMolKit::qxmolostream out(path, QXMolKit::QXGetMolFormat(output_));
  return QXMolKit::QXWriteMolecule(out, atoms) && out.close();
}

void AtomsCommand::Print(const FoundAtoms& found) const {
  std::string text = fmt::format("Atoms      {}\n", found.mol.NumAtoms());
  if (found.objective) {
    text += fmt::format(
        "Objective  {:.6f}, 1 - cosine of the expansions, degree {}, width {:.4f} 1/A\n",
        *found.objective, found.expansion.GetNPolyMax(), found.expansion.GetLambdaX());
  }
  if (found.score) {
    text += fmt::format("Score      {:.6f}, {} of the densities on the grid, radius {} A\n",
                        *found.score, search_.metric, QXHermiteMath::kOverlayAtomRadius);
  }
  text += fmt::format("Cosine     {:.6f}, of the densities on the grid, radius {} A\n",
                      found.cosine, found.radius);
  std::fputs(text.c_str(), stdout);
}

ExitStatus AtomsCommand::Run() {
  Console console;
  OutputFile out(output_, console);
  std::optional<OutputFile> page;
  if (!report_.empty()) page.emplace(report_, console);
  if (!out.IsOpen() || (page && !page->IsOpen())) return kNothingDone;
  std::optional<QXScalarGrid> grid = ReadPreparedGrid(source_, console);
  if (!grid) return kNothingDone;
  std::optional<FoundAtoms> found;
  {
    const Stage stage(console, source_.file, "finding atoms");
    found = FindAtoms(*grid, search_, source_.file, console);
  }
  if (!found) return kNothingDone;
  if (!Write(*found, out.TemporaryPath())) return kNothingDone;
  if (page) {
    Report report = ReportOfAtoms(found->mol, *grid);
    report.title = "Atoms for " + std::filesystem::path(source_.file).filename().string();
    report.settings = SettingsOf(*app_);
    if (!WriteReport(report, page->TemporaryPath())) {
      console.Say(fmt::format("{}: cannot be written: is the disk full?", report_));
      return kNothingDone;
    }
  }
  if (WasInterrupted(console) || !out.Commit()) return kNothingDone;
  if (page && !page->Commit()) return kNothingDone;
  Print(*found);
  return kAllWell;
}

}  // namespace

std::unique_ptr<Command> MakeAtomsCommand() {
  return std::make_unique<AtomsCommand>();
}

}  // namespace QXTools
