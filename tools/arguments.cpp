#include "tools/arguments.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <cmath>
#include <filesystem>

#include "tools/report.h"

namespace QXTools {
namespace {

namespace fs = std::filesystem;

/// False unless the whole text is one number.
template <typename Number>
bool Parse(const std::string& text, Number& value) {
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  return result.ec == std::errc() && result.ptr == end;
}

std::string RefuseEmpty(const std::string& name) {
  return name.empty() ? "'' is not a name" : "";
}

template <typename Value>
CLI::Option* AddName(CLI::App& app, const std::string& name, Value& value,
                     const std::string& help) {
  return app.add_option(name, value, help)->check(RefuseEmpty)->type_name("FILE");
}

}  // namespace

void Refuse(const std::string& option, const std::string& value, const std::string& expected) {
  throw CLI::ValidationError(option, fmt::format("'{}' is not {}", value, expected));
}

CLI::Option* AddFile(CLI::App& app, const std::string& name, std::string& file,
                     const std::string& help) {
  return AddName(app, name, file, help);
}

CLI::Option* AddFile(CLI::App& app, const std::string& name, std::vector<std::string>& files,
                     const std::string& help) {
  return AddName(app, name, files, help);
}

void AddCount(CLI::App& app, const std::string& name, unsigned int& value, unsigned int least,
              const std::string& help, const std::string& zeroMeans) {
  const std::string shown = value == 0 && !zeroMeans.empty() ? zeroMeans : fmt::format("{}", value);
  app.add_option_function<std::string>(
         name,
         [&value, name, least](const std::string& text) {
           unsigned int parsed = 0;
           if (!Parse(text, parsed) || parsed < least) {
             Refuse(name, text, fmt::format("a whole number of at least {}", least));
           }
           value = parsed;
         },
         help)
      ->type_name("N")
      ->default_str(shown);
}

void AddNumber(CLI::App& app, const std::string& name, double& value, double above,
               const std::string& help, const std::string& zeroMeans) {
  const std::string expected = above == 0.0        ? "a positive number"
                               : std::isinf(above) ? "a finite number"
                                                   : fmt::format("a number greater than {}", above);
  app.add_option_function<std::string>(
         name,
         [&value, name, above, expected](const std::string& text) {
           double parsed = 0.0;
           if (!Parse(text, parsed) || !std::isfinite(parsed) || parsed <= above) {
             Refuse(name, text, expected);
           }
           value = parsed;
         },
         help)
      ->type_name("X")
      ->default_str(value == 0.0 ? zeroMeans : fmt::format("{}", value));
}

void AddParameters(CLI::App& app, QXCore::QXOptions& options, const std::string& group) {
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
             if (!parameter->SetFromText(text)) Refuse(name, text, expected);
             // The numbers among the parameters are widths.
             const auto* width = dynamic_cast<QXCore::QXDoubleParameter*>(parameter);
             double value = 1.0;
             if (width != nullptr) width->GetValue(value, false);
             if (!(value > 0.0) || !std::isfinite(value)) Refuse(name, text, "a positive number");
           },
           brief)
        ->type_name("VALUE")
        ->default_str(parameter->GetText())
        ->group(group);
  }
}

void AddExpansionOptions(CLI::App& app, QXHermiteMath::QXHermiteOptions& options) {
  AddParameters(app, options, "Expansion");
  // The library would take the smallest of the three, two of which nobody asked for.
  app.parse_complete_callback([&options] {
    const double width = options.GetLambdaX();
    if (options.GetUseSingleLambda()) SetLambdas(options, width, width, width);
  });
}

std::string CheckCsvName(const std::string& file) {
  return CLI::detail::to_lower(file).ends_with(".csv")
             ? ""
             : fmt::format("{}: not the name of a table: name it .csv", file);
}

void AddReport(CLI::App& app, std::string& file) {
  AddFile(app, "--report", file, "File for a page to look at the results in a browser: .html");
}

std::string CheckReport(const std::string& file) {
  if (!ReportsAreBuilt()) {
    return "this qxhermite was built without reports: build it with -DQXHERMITE_WITH_REPORT=ON";
  }
  const std::string name = CLI::detail::to_lower(file);
  return name.ends_with(".html") || name.ends_with(".htm")
             ? ""
             : fmt::format("{}: not the name of a page: name it .html", file);
}

std::vector<std::pair<std::string, std::string>> SettingsOf(const CLI::App& app) {
  std::vector<std::pair<std::string, std::string>> settings;
  for (const CLI::Option* option : app.get_options()) {
    std::string name = option->get_name();
    if (name == "--help" || name == "--report") continue;
    const bool isFlag = option->get_type_size() == 0;
    std::string value = option->get_default_str();
    if (isFlag) {
      value = option->count() > 0 ? "yes" : "";
    } else if (option->count() > 0) {
      value = CLI::detail::join(option->results(), " ");
    }
    if (!value.empty()) settings.emplace_back(std::move(name), std::move(value));
  }
  return settings;
}

bool SameFile(const std::string& a, const std::string& b) {
  std::error_code ignored;
  if (fs::equivalent(a, b, ignored)) return true;
  return fs::weakly_canonical(fs::absolute(a, ignored), ignored) ==
         fs::weakly_canonical(fs::absolute(b, ignored), ignored);
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
