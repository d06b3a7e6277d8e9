#pragma once

#include <string>
#include <utility>
#include <vector>

#include "hermite/foundations/options.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

// What the arguments of several commands have in common.

namespace QXTools {

/// Throws the parser's error "OPTION: 'value' is not EXPECTED".
[[noreturn]] void Refuse(const std::string& option, const std::string& value,
                         const std::string& expected);

/// An option with a file name; an empty name is refused.
CLI::Option* AddFile(CLI::App& app, const std::string& name, std::string& file,
                     const std::string& help);
CLI::Option* AddFile(CLI::App& app, const std::string& name, std::vector<std::string>& files,
                     const std::string& help);

/// An option with a whole number of at least `least`. With `zeroMeans`, the help shows that text as
/// the default while the value is 0.
void AddCount(CLI::App& app, const std::string& name, unsigned int& value, unsigned int least,
              const std::string& help, const std::string& zeroMeans = {});

/// An option with a finite number greater than `above`. With `zeroMeans`, the help shows that text
/// as the default while the value is 0.
void AddNumber(CLI::App& app, const std::string& name, double& value, double above,
               const std::string& help, const std::string& zeroMeans = {});

/// Every parameter of the options under its own name, see WithLongDashes, in a group of the help.
/// Illegal values are refused, and widths that are not positive.
void AddParameters(CLI::App& app, QXCore::QXOptions& options, const std::string& group);

/// The same for options of an expansion. With -UseSingleLambda, -LambdaX speaks for all three.
void AddExpansionOptions(CLI::App& app, QXHermiteMath::QXHermiteOptions& options);

/// An empty text, or that this is not the name of a file of comma-separated values.
std::string CheckCsvName(const std::string& file);

/// An option --report with the name of an HTML page.
void AddReport(CLI::App& app, std::string& file);
/// An empty text, or what is wrong with such a page: its name, or that reports are not built.
std::string CheckReport(const std::string& file);
/// The options of a command by name, as they were given or else by default, for its report.
std::vector<std::pair<std::string, std::string>> SettingsOf(const CLI::App& app);

/// True when both names lead to one file, existing or not.
bool SameFile(const std::string& a, const std::string& b);

/// The command line with a second dash put before every long option of `app` that has only one
/// (-LambdaX 1.2), in any case of its letters.
std::vector<std::string> WithLongDashes(const CLI::App& app, std::vector<std::string> words);

}  // namespace QXTools
