#include "tools/overlay_arguments.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <cmath>
#include <filesystem>

#include "host/molkit/molstream.h"

namespace QXTools {
namespace {

namespace fs = std::filesystem;

constexpr const char* kExamples = R"(Examples:
  qxhermite overlay --ref ref.sdf --fit library.sdf --out hits.sdf
  qxhermite overlay --ref ref.sdf --ref-record 3 --fit a.sdf b.mol2 --out hits.sdf --csv hits.csv
  qxhermite overlay --ref ref.sdf --fit library.sdf --out hits.sdf --npolymax 8 --poses 4
  qxhermite overlay --ref site.sdf --fit docked.sdf --out hits.sdf --in-place

Exit status: 0 all well; 1 wrong usage, or nothing could be done; 2 done, but records were skipped.)";

[[noreturn]] void Refuse(const std::string& option, const std::string& value,
                         const std::string& expected) {
  throw CLI::ValidationError(option, fmt::format("'{}' is not {}", value, expected));
}

/// An option with a whole number of at least `least`.
void AddCount(CLI::App& app, const std::string& name, unsigned int& value, unsigned int least,
              const std::string& help) {
  const std::string shown = fmt::format("{}", value);
  app.add_option_function<std::string>(
         name,
         [&value, name, least](const std::string& text) {
           unsigned int parsed = 0;
           const char* end = text.data() + text.size();
           const auto result = std::from_chars(text.data(), end, parsed);
           if (result.ec != std::errc() || result.ptr != end || parsed < least) {
             Refuse(name, text, fmt::format("a whole number of at least {}", least));
           }
           value = parsed;
         },
         help)
      ->type_name("N")
      ->default_str(shown);
}

void AddTolerance(CLI::App& app, double& value) {
  const std::string name = "--tolerance";
  app.add_option_function<std::string>(
         name,
         [&value, name](const std::string& text) {
           double parsed = 0.0;
           const char* end = text.data() + text.size();
           const auto result = std::from_chars(text.data(), end, parsed);
           if (result.ec != std::errc() || result.ptr != end || !std::isfinite(parsed) ||
               parsed <= 0.0) {
             Refuse(name, text, "a positive number");
           }
           value = parsed;
         },
         "Relative change of the overlap at which a minimisation stops")
      ->type_name("X")
      ->default_str(fmt::format("{}", value));
}

void AddExpansionOptions(CLI::App& app, QXHermiteMath::QXHermiteOptions& options) {
  for (size_t place = 0; place < options.NumParameters(); ++place) {
    QXCore::QXParameter* parameter = options.GetParameter(place);
    const std::string name = "-" + parameter->GetOption();
    const std::string legal = parameter->GetLegalText();
    std::string brief = parameter->GetBrief();
    if (!legal.empty()) brief += fmt::format(" Legal values: {}.", legal);
    const bool isFlag = dynamic_cast<QXCore::QXBoolParameter*>(parameter) != nullptr;
    const std::string expected = isFlag ? "true or false" : legal.empty() ? "a number" : legal;
    app.add_option_function<std::string>(
           name,
           [parameter, name, expected](const std::string& text) {
             if (parameter->SetFromText(text)) return;
             Refuse(name, text, expected);
           },
           brief)
        ->type_name("VALUE")
        ->default_str(parameter->GetText())
        ->group("Expansion");
  }
}

std::string RefuseEmpty(const std::string& name) {
  return name.empty() ? "'' is not a name" : "";
}

bool SameFile(const fs::path& a, const fs::path& b) {
  std::error_code ignored;
  if (fs::equivalent(a, b, ignored)) return true;
  return fs::weakly_canonical(fs::absolute(a, ignored), ignored) ==
         fs::weakly_canonical(fs::absolute(b, ignored), ignored);
}

bool LiesIn(const std::string& file, const std::string& folder) {
  const fs::path own = fs::path(file).parent_path();
  return SameFile((own.empty() ? "." : own) / "", fs::path(folder) / "");
}

}  // namespace

void DeclareOverlayArguments(CLI::App& app, OverlayArguments& arguments) {
  app.option_defaults()->ignore_case();
  app.footer(kExamples);
  app.add_option("--ref", arguments.reference, "Molecule file with the reference")
      ->required()
      ->check(RefuseEmpty)
      ->type_name("FILE");
  app.add_option("--fit", arguments.fits, "Molecule files to be laid over the reference")
      ->required()
      ->check(RefuseEmpty)
      ->type_name("FILE");
  app.add_option("--out", arguments.output,
                 "File for the best poses, in the coordinates of the reference, best first")
      ->required()
      ->check(RefuseEmpty)
      ->type_name("FILE");
  app.add_option("--csv", arguments.csv, "File for the ranking, comma-separated")
      ->check(RefuseEmpty)
      ->type_name("FILE");
  app.add_option("--records", arguments.recordsFolder,
                 "Folder to keep a .qxb record of every start and pose in")
      ->check(RefuseEmpty)
      ->type_name("DIR");
  AddCount(app, "--ref-record", arguments.referenceRecord, 1,
           "Which record of the reference file to take");
  AddCount(app, "--poses", arguments.poses, 1, "Poses to keep of each molecule");
  AddCount(app, "--top", arguments.top, 0, "Rows of the table that is printed, 0 for all");
  AddTolerance(app, arguments.tolerance);
  AddCount(app, "--max-iterations", arguments.maxIterations, 1, "Iterations of one minimisation");
  app.add_flag_callback(
      "--no-group", [&arguments] { arguments.group = false; },
      "Every record is a molecule of its own; else consecutive ones may be conformers");
  app.add_flag("--in-place", arguments.inPlace,
               "Start from the frames as given, without inertial alignment");
  app.add_flag("--quiet", arguments.quiet, "Print neither the table nor the progress");
  AddExpansionOptions(app, arguments.expansion);
}

std::string CheckOverlayArguments(const OverlayArguments& arguments) {
  const auto& expansion = arguments.expansion;
  const std::pair<const char*, double> widths[] = {{"--LambdaX", expansion.GetLambdaX()},
                                                   {"--LambdaY", expansion.GetLambdaY()},
                                                   {"--LambdaZ", expansion.GetLambdaZ()}};
  for (const auto& [name, width] : widths) {
    if (!(width > 0.0)) return fmt::format("{}: '{}' is not a positive number", name, width);
  }
  if (arguments.inPlace && expansion.GetUseCenterOfMass()) {
    return "--in-place and --UseCenterOfMass true exclude each other: leave one out";
  }
  using QXMolKit::QXMolFormat;
  const QXMolFormat format = QXMolKit::QXGetMolFormat(arguments.output);
  if (format != QXMolFormat::SDF && format != QXMolFormat::PDB && format != QXMolFormat::QXB) {
    return fmt::format("{}: poses cannot be written in this format: name it .sdf, .pdb or .qxb",
                       arguments.output);
  }
  std::vector<std::string> inputs = arguments.fits;
  inputs.push_back(arguments.reference);
  for (const std::string* output : {&arguments.output, &arguments.csv}) {
    for (const std::string& input : inputs) {
      if (!output->empty() && SameFile(*output, input)) {
        return fmt::format("{}: is both read and written: give another name", *output);
      }
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
  if (!arguments.csv.empty() && SameFile(arguments.csv, arguments.output)) {
    return fmt::format("{}: is written twice: give --csv another name", arguments.csv);
  }
  return {};
}

std::vector<std::string> WithLongDashes(const CLI::App& app, std::vector<std::string> words) {
  for (std::string& word : words) {
    if (word.size() < 3 || word[0] != '-' || word[1] == '-') continue;
    const std::string name = "-" + word.substr(0, word.find('='));
    if (app.get_option_no_throw(name) != nullptr) word.insert(0, 1, '-');
  }
  return words;
}

}  // namespace QXTools
