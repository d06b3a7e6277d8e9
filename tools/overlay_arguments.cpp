#include "tools/overlay_arguments.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>

#include "host/molkit/molstream.h"
#include "tools/arguments.h"
#include "tools/grid_density.h"
#include "tools/grid_fit.h"

namespace QXTools {
namespace {

namespace fs = std::filesystem;

constexpr const char* kExamples = R"(Examples:
  qxhermite overlay --ref ref.sdf --fit library.sdf --out hits.sdf
  qxhermite overlay --ref ref.sdf --ref-record 3 --fit a.sdf b.mol2 --out hits.sdf --csv hits.csv
  qxhermite overlay --ref ref.sdf --fit library.sdf --out hits.sdf --report hits.html
  qxhermite overlay --ref ref.sdf --fit library.sdf --out hits.sdf --npolymax 8 --poses 4
  qxhermite overlay --ref ref.sdf --fit library.sdf --out hits.sdf --starts 24 --polish 8
  qxhermite overlay --ref site.sdf --fit docked.sdf --out hits.sdf --in-place
  qxhermite overlay --ref ref.sdf --fit library.sdf --out hits.sdf --charge-weight 0.5
  qxhermite overlay --ref map.ccp4 --fit ligand.sdf --out placed.sdf
  qxhermite overlay --ref map.ccp4 --fit other.cube --out moved.ccp4

Exit status: 0 all well; 1 wrong usage, or nothing could be done; 2 done, but records were skipped.)";

bool LiesIn(const std::string& file, const std::string& folder) {
  const fs::path own = fs::path(file).parent_path();
  return SameFile((own.empty() ? fs::path(".") : own) / "", fs::path(folder) / "");
}

// Unless another is asked for: the density of a ring has sixfold symmetry, which degree 5 does not
// see.
constexpr unsigned int kGridDegree = 8;

// The first one makes charge take part, the others say how.
constexpr const char* kChargeOptions[] = {"--charge-weight", "--charge-offset", "--charge-sigma",
                                          "--charges"};

constexpr const char* kSearchOptions[] = {"--starts", "--coarse", "--polish"};

// At which 24 starts are searched first: it tells basins apart, and costs half of degree 5.
constexpr unsigned int kCoarseDegree = 4;

constexpr double kLargestWeight = 1000000;
// A far larger one would leave no digits for the score.
constexpr double kLargestOffset = 100.0;
// Wider charges of both signs cancel, down to rounding errors.
constexpr double kLargestSigma = 100.0;

// The files that are written, but for the records.
std::vector<std::string> Outputs(const OverlayArguments& arguments) {
  std::vector<std::string> outputs;
  if (!arguments.csv.empty()) outputs.push_back(arguments.csv);
  if (!arguments.report.empty()) outputs.push_back(arguments.report);
  const size_t ranks = IsGridFile(arguments.fits.front()) ? arguments.fits.size() : 1;
  for (size_t rank = 1; rank <= ranks; ++rank) {
    outputs.push_back(RankedName(arguments.output, rank));
  }
  return outputs;
}

void AddChargeOptions(CLI::App& app, OverlayArguments& arguments) {
  constexpr double kAny = -std::numeric_limits<double>::infinity();
  AddNumber(app, "--charge-weight", arguments.chargeWeight, 0.0,
            fmt::format("Weigh charge too, at most {}: rank by shape Tanimoto + weight * (charge "
                        "Tanimoto + offset)",
                        kLargestWeight),
            "by shape alone");
  AddNumber(app, "--charge-offset", arguments.chargeOffset, kAny,
            fmt::format("Added to every charge Tanimoto, {} to {}; it changes no pose and no order",
                        -kLargestOffset, kLargestOffset),
            "0");
  AddNumber(app, "--charge-sigma", arguments.chargeSigma, 0.0,
            fmt::format("Width of the charge of an atom, a standard deviation in angstrom, at most "
                        "{}",
                        kLargestSigma));
  app.add_option("--charges", arguments.charges,
                 "Partial charges of reference and fits: those that the files tell (file), or "
                 "computed ones (gasteiger)")
      ->transform(CLI::IsMember({"file", "gasteiger"}, CLI::ignore_case))
      ->capture_default_str()
      ->type_name("SOURCE");
  for (const char* name : kChargeOptions) app.get_option(name)->group("Charge");
}

void AddSearchOptions(CLI::App& app, OverlayArguments& arguments) {
  app.add_option(
         "--starts", arguments.starts,
         fmt::format("Starts of each conformer: the half turns about the inertial axes (4), "
                     "or every way to lay axes on axes (24), which are searched at degree "
                     "{} first",
                     kCoarseDegree))
      ->check([](const std::string& text) {
        return text == "4" || text == "24" ? "" : fmt::format("'{}' is not 4 or 24", text);
      })
      ->capture_default_str()
      ->type_name("4|24");
  AddCount(app, "--coarse", arguments.coarseDegree, 1,
           "Search at this degree first, and take the best few poses on to --NPolyMax",
           "no coarse search");
  AddCount(
      app, "--polish", arguments.polish, 0,
      "Of each molecule, bring this many of the best poses to the optimum of the exact overlap "
      "of its atoms, and rank by it; 0 ranks by the expansions");
}

// What is wrong with how poses are to be searched for, or an empty text.
std::string CheckSearch(const OverlayArguments& arguments, bool fitsAreGrids) {
  const bool asked = arguments.starts > 4 || arguments.coarseDegree > 0 || arguments.polish > 0;
  const bool byShape = !fitsAreGrids && arguments.chargeOption.empty();
  if (!byShape && asked && !arguments.searchOption.empty()) {
    return fmt::format("{}: is for overlays of molecules by shape: leave it out",
                       arguments.searchOption);
  }
  if (arguments.coarseDegree > 0 && arguments.coarseDegree >= arguments.expansion.GetNPolyMax()) {
    return fmt::format("--coarse: must be below --NPolyMax, {}: leave it out",
                       arguments.expansion.GetNPolyMax());
  }
  if (arguments.starts > 4 && !arguments.expansion.GetUseSingleLambda()) {
    return "--starts 24: axes are exchanged, which needs one width: leave --UseSingleLambda true";
  }
  return {};
}

// An option that would do nothing, or an empty text.
std::string IdleOption(const OverlayArguments& arguments) {
  const OverlayArguments fresh;
  if (HasGrid(arguments) && !arguments.chargeOption.empty()) return arguments.chargeOption;
  if (IsGridFile(arguments.reference) && arguments.referenceRecord != fresh.referenceRecord) {
    return "--ref-record";
  }
  if (!IsGridFile(arguments.fits.front())) return {};
  if (arguments.poses != fresh.poses) return "--poses";
  if (arguments.group != fresh.group) return "--no-group";
  return arguments.recordsFolder.empty() ? "" : "--records";
}

}  // namespace

bool HasGrid(const OverlayArguments& arguments) {
  return IsGridFile(arguments.reference) ||
         std::any_of(arguments.fits.begin(), arguments.fits.end(), IsGridFile);
}

void DeclareOverlayArguments(CLI::App& app, OverlayArguments& arguments) {
  app.option_defaults()->ignore_case();
  app.footer(kExamples);
  AddFile(app, "--ref", arguments.reference, "Molecule or grid file with the reference")
      ->required();
  AddFile(app, "--fit", arguments.fits,
          "Molecule files, or grid files, to be laid over the reference")
      ->required();
  AddFile(app, "--out", arguments.output,
          "File for the best poses, in the coordinates of the reference, best first; or for the "
          "moved grid; further ones get their rank in the name")
      ->required();
  AddFile(app, "--csv", arguments.csv, "File for the ranking, comma-separated");
  AddReport(app, arguments.report);
  AddFile(app, "--records", arguments.recordsFolder,
          "Folder to keep a .qxb record of every start and pose in")
      ->type_name("DIR");
  AddCount(app, "--ref-record", arguments.referenceRecord, 1,
           "Which record of the reference file to take");
  AddCount(app, "--poses", arguments.poses, 1, "Poses to keep of each molecule");
  AddCount(app, "--top", arguments.top, 0, "Rows of the table that is printed, 0 for all");
  AddNumber(app, "--cut", arguments.gridShare, 0.0,
            "Of a grid, cut off values above the one below which this share of the density lies; 1 "
            "cuts nothing");
  AddNumber(app, "--tolerance", arguments.tolerance, 0.0,
            "Relative change of the overlap at which a minimisation stops");
  AddCount(app, "--max-iterations", arguments.maxIterations, 1, "Iterations of one minimisation");
  app.add_flag_callback(
      "--no-group", [&arguments] { arguments.group = false; },
      "Every record is a molecule of its own; else consecutive ones may be conformers");
  app.add_flag("--in-place", arguments.inPlace,
               "Start from the frames as given, without inertial alignment");
  app.add_flag("--quiet", arguments.quiet, "Print neither the table nor the progress");
  AddSearchOptions(app, arguments);
  AddChargeOptions(app, arguments);
  AddExpansionOptions(app, arguments.expansion);
  app.callback([&app, &arguments] {
    for (const char* name : kChargeOptions) {
      if (app.get_option(name)->count() > 0) arguments.chargeOption = name;
    }
    for (const char* name : kSearchOptions) {
      if (app.get_option(name)->count() > 0) arguments.searchOption = name;
    }
    const auto given = [&app](const char* name) { return app.get_option(name)->count() > 0; };
    arguments.settings = SettingsOf(app);
    const bool grid = HasGrid(arguments);
    if (grid && !given("--NPolyMax")) arguments.expansion.SetNPolyMax(kGridDegree);
    if (grid && !given("--polish")) arguments.polish = 0;
    if (arguments.starts > 4 && !given("--coarse") &&
        kCoarseDegree < arguments.expansion.GetNPolyMax()) {
      arguments.coarseDegree = kCoarseDegree;
    }
  });
}

std::string CheckOverlayArguments(const OverlayArguments& arguments) {
  if (arguments.inPlace && arguments.expansion.GetUseCenterOfMass()) {
    return "--in-place and --UseCenterOfMass true exclude each other: leave one out";
  }
  using QXMolKit::QXMolFormat;
  const size_t grids =
      static_cast<size_t>(std::count_if(arguments.fits.begin(), arguments.fits.end(), IsGridFile));
  if (grids > 0 && grids < arguments.fits.size()) {
    return "--fit: molecules and grids: overlay them in two runs, the results differ in kind";
  }
  if (const std::string idle = IdleOption(arguments); !idle.empty()) {
    return fmt::format("{}: is for molecules: leave it out", idle);
  }
  if (!arguments.chargeOption.empty() && arguments.chargeWeight == 0.0) {
    return fmt::format("{}: is for overlays that weigh charge: give --charge-weight too",
                       arguments.chargeOption);
  }
  if (const std::string wrong = CheckSearch(arguments, grids > 0); !wrong.empty()) return wrong;
  if (IsGridFile(arguments.reference) && arguments.polish > 0) {
    return "--polish: a grid has no atoms: leave it out";
  }
  if (arguments.chargeWeight > kLargestWeight) {
    return fmt::format("--charge-weight: a weight is at most {}", kLargestWeight);
  }
  if (arguments.chargeSigma > kLargestSigma) {
    return fmt::format("--charge-sigma: a width is at most {} angstrom", kLargestSigma);
  }
  if (std::fabs(arguments.chargeOffset) > kLargestOffset) {
    return fmt::format("--charge-offset: an offset is {} to {}", -kLargestOffset, kLargestOffset);
  }
  if (!HasGrid(arguments) && arguments.gridShare != OverlayArguments().gridShare) {
    return "--cut: is for grids: leave it out";
  }
  if (arguments.gridShare > 1.0) return "--cut: a share is at most 1";
  if (HasGrid(arguments) && !arguments.expansion.GetUseSingleLambda()) {
    return "--UseSingleLambda false: grids are overlaid with one width: leave it out";
  }
  if (grids > 0 && !IsGridFile(arguments.output)) {
    return fmt::format(
        "{}: moved grids cannot be written in this format: name it .ccp4, .map, .mrc, .cube or "
        ".cub",
        arguments.output);
  }
  const QXMolFormat format = QXMolKit::QXGetMolFormat(arguments.output);
  if (grids == 0 && format != QXMolFormat::SDF && format != QXMolFormat::PDB &&
      format != QXMolFormat::QXB) {
    return fmt::format("{}: poses cannot be written in this format: name it .sdf, .pdb or .qxb",
                       arguments.output);
  }
  if (const std::string wrong = CheckReport(arguments.report);
      !arguments.report.empty() && !wrong.empty()) {
    return wrong;
  }
  std::vector<std::string> inputs = arguments.fits;
  inputs.push_back(arguments.reference);
  const std::vector<std::string> outputs = Outputs(arguments);
  for (auto output = outputs.begin(); output != outputs.end(); ++output) {
    const auto same = [&](const std::string& other) { return SameFile(*output, other); };
    if (std::any_of(inputs.begin(), inputs.end(), same)) {
      return fmt::format("{}: is both read and written: give another name", *output);
    }
    const auto twice = std::find_if(outputs.begin(), output, same);
    if (twice != output) {
      return fmt::format("{}: is written twice: give {} another name", *twice,
                         *twice == arguments.csv ? "--csv" : "--report");
    }
  }
  for (const std::string& input : inputs) {
    if (!arguments.recordsFolder.empty() && LiesIn(input, arguments.recordsFolder)) {
      return fmt::format("{}: lies in the folder of --records: give another folder", input);
    }
  }
  for (const std::string& output : {arguments.output, arguments.csv}) {
    if (!arguments.recordsFolder.empty() && QXMolKit::QXGetMolFormat(output) == QXMolFormat::QXB &&
        LiesIn(output, arguments.recordsFolder)) {
      return fmt::format("{}: could be overwritten by one of --records: give another folder",
                         output);
    }
  }
  return {};
}

}  // namespace QXTools
