// `qxhermite expand`: the coefficient vector of a density, and how well it holds the density.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <optional>

#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/density.h"
#include "tools/expansion_file.h"
#include "tools/interrupt.h"
#include "tools/output_file.h"
#include "tools/text.h"

namespace QXTools {
namespace {

constexpr const char* kExamples = R"(Examples:
  qxhermite expand ligand.sdf
  qxhermite expand map.ccp4 --npolymax 10 --out map.json
  qxhermite expand map.json

Exit status: 0 all well; 1 wrong usage, or nothing could be done.)";

std::string Summary(const Density& density) {
  const auto& options = density.expansion.GetOptions();
  const double held = density.expansion.GetSelfOverlap();
  const double exact = density.exactSelfOverlap;
  const std::pair<const char*, std::string> lines[] = {
      {"Density", density.source},
      {"Title", DisplayText(density.title)},
      {"Degree", fmt::format("{}, {} coefficients", options.GetNPolyMax(),
                             density.expansion.GetCoefficients().size())},
      {"Widths", fmt::format("{:.6f} {:.6f} {:.6f} 1/A", options.GetLambdaX(), options.GetLambdaY(),
                             options.GetLambdaZ())},
      {"Centre", fmt::format("{:.4f} {:.4f} {:.4f} A", density.centre[0], density.centre[1],
                             density.centre[2])},
      {"Self overlap",
       fmt::format("{:.6g}, {:.2f} % of the exact {:.6g}", held, 100.0 * held / exact, exact)}};
  std::string text;
  for (const auto& [name, value] : lines) text += fmt::format("{:<13} {}\n", name, value);
  return text;
}

class ExpandCommand : public Command {
 public:
  std::string Name() const override { return "expand"; }
  std::string Brief() const override {
    return "Expands a molecule or a grid and tells how much of it the expansion holds.";
  }
  void Declare(CLI::App& app) override {
    DeclareDensityArguments(app, density_);
    app.footer(kExamples);
    AddFile(app, "--out", output_, "File for options and coefficients, .json");
  }
  std::string Check() const override {
    if (!output_.empty() && !IsExpansionFile(output_)) {
      return fmt::format("{}: expansions are written as JSON: name it .json", output_);
    }
    if (!output_.empty() && SameFile(output_, density_.file)) {
      return fmt::format("{}: is both read and written: give another name", output_);
    }
    return CheckDensityArguments(density_);
  }
  ExitStatus Run() override;

 private:
  DensityArguments density_;
  std::string output_;
};

ExitStatus ExpandCommand::Run() {
  Console console;
  std::optional<OutputFile> out;
  if (!output_.empty()) out.emplace(output_, console);
  if (out && !out->IsOpen()) return kNothingDone;
  const std::optional<Density> density = LoadDensity(density_, console);
  if (!density) return kNothingDone;
  if (out && !WriteExpansion(*density, out->TemporaryPath())) {
    console.Say(fmt::format("{}: cannot be written: is the disk full?", output_));
    return kNothingDone;
  }
  if (WasInterrupted(console) || (out && !out->Commit())) return kNothingDone;
  std::fputs(Summary(*density).c_str(), stdout);
  return kAllWell;
}

}  // namespace

std::unique_ptr<Command> MakeExpandCommand() {
  return std::make_unique<ExpandCommand>();
}

}  // namespace QXTools
