#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/interrupt.h"
#include "tools/text.h"

namespace {

using namespace QXTools;

void Complain(const std::string& problem) {
  std::fputs(fmt::format("qxhermite: {}\n", DisplayText(problem)).c_str(), stderr);
}

int Usage(const std::string& problem, const std::string& command) {
  Complain(problem);
  std::fputs(fmt::format("Run qxhermite {}--help for the options.\n", command).c_str(), stderr);
  return kNothingDone;
}

std::vector<std::unique_ptr<Command>> MakeCommands() {
  std::vector<std::unique_ptr<Command>> commands;
  commands.push_back(MakeOverlayCommand());
  commands.push_back(MakeExpandCommand());
  commands.push_back(MakeGridCommand());
  commands.push_back(MakeAtomsCommand());
  commands.push_back(MakeFitGridCommand());
  return commands;
}

int Main(int argc, char** argv) {
  const std::vector<std::unique_ptr<Command>> commands = MakeCommands();
  CLI::App app("Compares molecules and grids by their densities as Hermite vectors.", "qxhermite");
  app.set_version_flag("--version", QX_VERSION);
  app.require_subcommand(1);
  Command* chosen = nullptr;
  CLI::App* chosenApp = &app;
  std::string names;
  for (const auto& command : commands) {
    CLI::App& one = *app.add_subcommand(command->Name(), command->Brief());
    command->Declare(one);
    names += (names.empty() ? "" : ", ") + command->Name();
    if (argc < 2 || command->Name() != argv[1]) continue;
    chosen = command.get();
    chosenApp = &one;
  }
  // Without a command there is only --help and --version.
  if (chosen == nullptr && argc > 1 && (argv[1][0] != '-' || std::string(argv[1]) == "--")) {
    return Usage(fmt::format("'{}' is not a command: choose one of {}", argv[1], names), "");
  }
  const std::string name = chosen == nullptr ? "" : chosen->Name() + " ";
  try {
    std::vector<std::string> words =
        WithLongDashes(*chosenApp, std::vector<std::string>(argv + 1, argv + argc));
    std::reverse(words.begin(), words.end());  // as the parser takes them
    app.parse(words);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);  // --help, --version
    return Usage(error.what(), name);
  }
  if (const std::string problem = chosen->Check(); !problem.empty()) return Usage(problem, name);
  WatchForInterrupts();
  return chosen->Run();
}

}  // namespace

int main(int argc, char** argv) {
  int status = kNothingDone;
  try {
    status = Main(argc, argv);
  } catch (const std::bad_alloc&) {
    Complain("not enough memory: lower --NPolyMax, or use coarser grids");
  } catch (const std::exception& error) {
    Complain(error.what());
  }
  if (Interrupted()) EndByInterrupt();
  return status;
}
