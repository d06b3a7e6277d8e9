#pragma once

#include <memory>
#include <string>

namespace CLI {
class App;
}

namespace QXTools {

enum ExitStatus : int {
  kAllWell = 0,
  kNothingDone = 1,  ///< wrong usage, or no result at all
  kSomeSkipped = 2,  ///< results, but some records or files were skipped
};

/// One subcommand of the tool, with its arguments.
class Command {
 public:
  virtual ~Command() = default;
  /// "expand", or with its group "charges fit".
  virtual std::string Name() const = 0;
  /// One sentence for the list of commands.
  virtual std::string Brief() const = 0;
  /// Declares the options on `app`, with their help, to be parsed into the arguments.
  virtual void Declare(CLI::App& app) = 0;
  /// What is wrong with the arguments together, or an empty text.
  virtual std::string Check() const { return {}; }
  /// Problems go to stderr as `file:record: what is wrong: what to do`.
  virtual ExitStatus Run() = 0;
};

std::unique_ptr<Command> MakeOverlayCommand();
std::unique_ptr<Command> MakeExpandCommand();
std::unique_ptr<Command> MakeGridCommand();
std::unique_ptr<Command> MakeAtomsCommand();
std::unique_ptr<Command> MakeFitGridCommand();
std::unique_ptr<Command> MakeChargesFitCommand();
std::unique_ptr<Command> MakeChargesPotentialCommand();
std::unique_ptr<Command> MakeChargesEnergyCommand();
std::unique_ptr<Command> MakeReportCommand();

}  // namespace QXTools
