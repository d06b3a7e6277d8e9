// `qxhermite fit-grid`: a density grid as a sparse sum of functions about several sites.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "hermite/gridatoms/lasso_atoms.h"
#include "hermite/multihermite/multi_hermite.h"
#include "host/grid/grid_file.h"
#include "host/grid/skew_grid.h"
#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/console.h"
#include "tools/expansion_file.h"
#include "tools/grid_density.h"
#include "tools/inertial_frame.h"
#include "tools/interrupt.h"
#include "tools/model_file.h"
#include "tools/output_file.h"
#include "tools/prepared_grid.h"
#include "tools/stage.h"

namespace QXTools {
namespace {

using QXCore::QXScalarGrid;
using QXHermiteMath::QXMultiHermite;

constexpr const char* kExamples = R"(Examples:
  qxhermite fit-grid map.ccp4 --out model.json
  qxhermite fit-grid map.ccp4 --out model.json --npolymax 2 --max-sites 50 --active-fraction 0.2
  qxhermite fit-grid map.cube --out model.json --write-grid residual.ccp4

Exit status: 0 all well; 1 wrong usage, or nothing could be done.)";

constexpr unsigned int kLargestDegree = 20;
constexpr double kWidestSpacing = 100.0;
constexpr double kPoorRms = 0.5;
/// RMS on the grid over that on samples further apart.
constexpr double kMuchWorse = 3.0;

struct FitGridArguments {
  GridPreparation source;
  std::string output;
  std::string residual;  ///< empty: none
  unsigned int degree = 3;
  double width = 1.8;
  double siteSpacing = 1.0;
  double valueFraction = 0.1;
  unsigned int maxSites = 100;
  double activeFraction = 0.5;
  double sampleSpacing = 0.0;  ///< 0: that of the grid, if memory allows
  unsigned int memory = 2048;  ///< for the matrix of the fit, in MiB
};

struct Fitted {
  QXMultiHermite expansion;
  QXScalarGrid samples;
};

class FitGridCommand : public Command {
 public:
  std::string Name() const override { return "fit-grid"; }
  std::string Brief() const override {
    return "Fits a density grid by few functions about several sites.";
  }
  void Declare(CLI::App& app) override;
  std::string Check() const override;
  ExitStatus Run() override;

 private:
  /// The grid, or one of a wider spacing where that is asked for, or where the samples would take
  /// more memory than allowed. Nothing when both contradict each other, which the console is told.
  /// asked: 0 for none.
  std::optional<QXScalarGrid> Sample(const QXScalarGrid& grid, const char* what, double asked,
                                     double bytesPerSample, Console& console) const;
  /// Tells what there is to say about errors such as these.
  void Judge(const Fitted& fitted, double ofSamples, double ofGrid, Console& console) const;
  /// x, y and z of each. None when that cannot be done, which the console is told.
  std::vector<double> FindSites(const QXScalarGrid& grid, Console& console) const;
  std::optional<Fitted> Fit(const QXScalarGrid& grid, const std::vector<double>& sites,
                            Console& console) const;

  FitGridArguments arguments_;
};

void FitGridCommand::Declare(CLI::App& app) {
  app.option_defaults()->ignore_case();
  app.footer(kExamples);
  DeclareGridPreparation(app, arguments_.source);
  AddFile(app, "--out", arguments_.output, "File for the model: .json")->required();
  AddFile(app, "--write-grid", arguments_.residual,
          "Grid file for what the model leaves: grid minus model, at the elements of the grid");
  AddCount(app, "--npolymax", arguments_.degree, 0, "Degree of the functions about each site");
  AddNumber(app, "--lambda", arguments_.width, 0.0, "Width of the functions, in 1/angstrom");
  AddNumber(app, "--site-spacing", arguments_.siteSpacing, 0.0,
            "Least distance of two sites, in angstrom");
  AddNumber(app, "--value-fraction", arguments_.valueFraction, 0.0,
            "Least value at a site, as a fraction of the largest");
  AddCount(app, "--max-sites", arguments_.maxSites, 1, "Largest number of sites");
  AddNumber(app, "--active-fraction", arguments_.activeFraction, 0.0,
            "Largest share of the functions that may take part");
  AddNumber(app, "--sample-spacing", arguments_.sampleSpacing, 0.0,
            "Distance of the samples that are fitted, in angstrom",
            "that of the grid, or what --memory allows");
  AddCount(app, "--memory", arguments_.memory, 1, "Memory for the matrix of the fit, in MiB");
}

std::string FitGridCommand::Check() const {
  const FitGridArguments& a = arguments_;
  if (const std::string problem = CheckGridPreparation(a.source); !problem.empty()) return problem;
  if (!IsExpansionFile(a.output)) {
    return fmt::format("{}: not the name of a model: name it .json", a.output);
  }
  if (SameFile(a.output, a.source.file)) {
    return fmt::format("{}: is both read and written: give another name", a.output);
  }
  if (!a.residual.empty() && !IsGridFile(a.residual)) return CheckGridName(a.residual);
  if (!a.residual.empty() && SameFile(a.residual, a.source.file)) {
    return fmt::format("{}: is both read and written: give another name", a.residual);
  }
  if (!a.residual.empty() && SameFile(a.residual, a.output)) {
    return fmt::format("{}: is to be written twice: give another name", a.residual);
  }
  if (a.degree == 1) return "--npolymax: degree 1 gives no more functions than 0: give 0 or 2";
  if (a.degree > kLargestDegree) return fmt::format("--npolymax: is at most {}", kLargestDegree);
  if (a.valueFraction >= 1.0) return "--value-fraction: a fraction is below 1";
  if (a.sampleSpacing > kWidestSpacing || a.siteSpacing > kWidestSpacing) {
    return fmt::format("--sample-spacing, --site-spacing: are at most {} A", kWidestSpacing);
  }
  if (a.activeFraction > 1.0) return "--active-fraction: a share is at most 1";
  return {};
}

size_t NumPositive(const QXScalarGrid& grid) {
  const float* const values = grid.GetValues();
  return static_cast<size_t>(
      std::count_if(values, values + grid.GetSize(), [](float value) { return value > 0.0f; }));
}

QXScalarGrid Resampled(const QXScalarGrid& grid, double spacing) {
  QXScalarGrid samples;
  QXCore::QXMakeRegularGrid(samples, QXCore::QXSkewGrid(grid), static_cast<float>(spacing));
  return samples;
}

std::optional<QXScalarGrid> FitGridCommand::Sample(const QXScalarGrid& grid, const char* what,
                                                   double asked, double bytesPerSample,
                                                   Console& console) const {
  const double allowed = arguments_.memory * 1048576.0;
  const double own = grid.GetSpacing();
  // The spacing at which the positive part of the grid just fits in.
  const double least =
      own * std::cbrt(bytesPerSample * static_cast<double>(NumPositive(grid)) / allowed);
  if (least <= own && asked <= own) return grid;  // between its elements a grid tells nothing
  if (asked >= least) return Resampled(grid, asked);
  if (asked > 0.0) {
    console.Say(fmt::format(
        "--sample-spacing {}: needs more than {} MiB: give at least {:.3f}, or raise --memory",
        asked, arguments_.memory, std::ceil(least * 1000) / 1000));
    return std::nullopt;
  }
  console.Say(
      fmt::format("{}: {} every {:.3f} A instead of {:.3f}, to take {} MiB: raise --memory "
                  "for all elements",
                  arguments_.source.file, what, least, own, arguments_.memory));
  return Resampled(grid, least);
}

std::vector<double> FitGridCommand::FindSites(const QXScalarGrid& grid, Console& console) const {
  constexpr double kBytesPerSample = 512.0;  // of the search, which stores no matrix
  const auto samples = Sample(grid, "searched for sites", 0.0, kBytesPerSample, console);
  const Stage stage(console, arguments_.source.file, "finding sites");
  QXHermiteMath::QXLassoAtoms search;
  search.SetupGrid(*samples, 0.0);
  QXMolKit::QXMol sites;
  search.FindAtoms(sites, 0.5 * arguments_.siteSpacing, arguments_.siteSpacing,
                   arguments_.valueFraction, arguments_.maxSites);
  if (sites.NumAtoms() == 0) {
    console.Say(fmt::format("{}: no sites found: lower --value-fraction, or raise --site-spacing",
                            arguments_.source.file));
  }
  return Coordinates(sites);
}

std::optional<Fitted> FitGridCommand::Fit(const QXScalarGrid& grid,
                                          const std::vector<double>& sites,
                                          Console& console) const {
  const QXHermiteMath::QXMultiHermiteParameters layout(arguments_.degree, arguments_.width, sites);
  std::optional<QXScalarGrid> samples =
      Sample(grid, "fitted", arguments_.sampleSpacing, 8.0 * layout.NumBasis(), console);
  if (!samples) return std::nullopt;
  QXHermiteMath::QXLassoAtoms source;
  source.SetupGrid(*samples, 0.0);
  Fitted fitted{QXMultiHermite(layout), std::move(*samples)};
  const Stage stage(
      console, arguments_.source.file,
      fmt::format("fitting {} functions at {} sites", layout.NumBasis(), layout.NumSites()));
  fitted.expansion.Setup(source.GetGridCoordinates(), source.GetGridValues(),
                         static_cast<unsigned int>(layout.NumBasis() * arguments_.activeFraction));
  // Without those that entered last and have no weight yet, and those that left.
  fitted.expansion.SetCoefficients(fitted.expansion.GetDenseCoefficients());
  if (fitted.expansion.NumActives() > 0) return fitted;
  console.Say(
      fmt::format("{}: no function takes part: raise --active-fraction, or choose another --lambda",
                  arguments_.source.file));
  return std::nullopt;
}

/// Root mean square of the errors over that of the values, of the elements that `counts` accepts.
template <typename Counts>
double RelativeRms(const QXScalarGrid& model, const QXScalarGrid& grid, Counts counts) {
  double errors = 0.0, values = 0.0;
  for (unsigned int i = 0; i < grid.GetSize(); ++i) {
    const double value = grid.GetValues()[i];
    if (!counts(value)) continue;
    const double error = model.GetValues()[i] - value;
    errors += error * error;
    values += value * value;
  }
  return std::sqrt(errors / values);
}

void FitGridCommand::Judge(const Fitted& fitted, double ofSamples, double ofGrid,
                           Console& console) const {
  const std::string& file = arguments_.source.file;
  if (NumPositive(fitted.samples) < fitted.expansion.GetParams().NumBasis()) {
    console.Say(
        fmt::format("{}: there are fewer samples than functions, and between them the model "
                    "means nothing: lower --npolymax, or raise --memory",
                    file));
  } else if (ofGrid > kMuchWorse * ofSamples) {
    console.Say(
        fmt::format("{}: the model is far worse between the samples: raise --memory, or "
                    "lower --sample-spacing or --npolymax",
                    file));
  }
  if (ofGrid >= kPoorRms) {
    console.Say(fmt::format(
        "{}: the model {}: choose another --lambda, raise --active-fraction, or give {}", file,
        ofGrid < 1.0 ? "leaves much of it" : "is no better than none, and is not written",
        kCorePeaksRemedy));
  }
}

ExitStatus FitGridCommand::Run() {
  Console console;
  OutputFile out(arguments_.output, console);
  std::optional<OutputFile> residual;
  if (!arguments_.residual.empty()) residual.emplace(arguments_.residual, console);
  if (!out.IsOpen() || (residual && !residual->IsOpen())) return kNothingDone;
  std::optional<QXScalarGrid> grid = ReadPreparedGrid(arguments_.source, console);
  if (!grid) return kNothingDone;
  const std::vector<double> sites = FindSites(*grid, console);
  if (sites.empty()) return kNothingDone;
  std::optional<Fitted> fitted = Fit(*grid, sites, console);
  if (!fitted) return kNothingDone;

  QXMultiHermite& expansion = fitted->expansion;
  const QXScalarGrid& samples = fitted->samples;
  QXScalarGrid onGrid = *grid, onSamples = samples;
  {
    const Stage stage(console, arguments_.source.file, "evaluating the model");
    expansion.EvaluateOnGrid(onGrid);
    if (samples.GetSpacing() == grid->GetSpacing()) {  // they are the grid
      onSamples = onGrid;
    } else {
      expansion.EvaluateOnGrid(onSamples);
    }
  }
  const double ofSamples =
      RelativeRms(onSamples, samples, [](double value) { return value > 0.0; });
  const double ofGrid = RelativeRms(onGrid, *grid, [](double) { return true; });
  Judge(*fitted, ofSamples, std::isfinite(ofGrid) ? ofGrid : HUGE_VAL, console);
  if (!(ofGrid < 1.0)) return kNothingDone;

  const std::string source =
      fmt::format("grid, {} x {} x {} elements, spacing {:.6g} A", grid->GetXDim(), grid->GetYDim(),
                  grid->GetZDim(), grid->GetSpacing());
  if (!WriteModel({grid->GetTitle(), source, expansion}, out.TemporaryPath())) return kNothingDone;
  if (residual) {
    std::transform(grid->GetValues(), grid->GetValues() + grid->GetSize(), onGrid.GetValues(),
                   onGrid.GetValues(), std::minus<float>());
    const QXCore::QXGridFormat format = QXCore::QXGetGridFormat(arguments_.residual);
    if (!QXCore::QXWriteGrid(residual->TemporaryPath(), onGrid, format)) return kNothingDone;
  }
  if (WasInterrupted(console) || !out.Commit()) return kNothingDone;
  if (residual && !residual->Commit()) return kNothingDone;
  const auto layout = expansion.GetParams();
  std::fputs(fmt::format("Sites         {}\n"
                         "Functions     {}, degree {}, width {} 1/A\n"
                         "Actives       {}\n"
                         "Samples       {}, {:.4g} A apart\n"
                         "Relative RMS  {:.4f} on the samples, {:.4f} on the whole grid\n",
                         layout.NumSites(), layout.NumBasis(), arguments_.degree, arguments_.width,
                         expansion.NumActives(), NumPositive(samples), samples.GetSpacing(),
                         ofSamples, ofGrid)
                 .c_str(),
             stdout);
  return kAllWell;
}

}  // namespace

std::unique_ptr<Command> MakeFitGridCommand() {
  return std::make_unique<FitGridCommand>();
}

}  // namespace QXTools
