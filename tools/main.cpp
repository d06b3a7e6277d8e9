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
  commands.push_back(MakeChargesFitCommand());
  commands.push_back(MakeChargesPotentialCommand());
  commands.push_back(MakeChargesEnergyCommand());
  commands.push_back(MakeReportCommand());
  return commands;
}

/// Nothing when there is no such subcommand.
CLI::App* Find(CLI::App& app, const std::string& name) {
  const auto found =
      app.get_subcommands([&](const CLI::App* one) { return one->get_name() == name; });
  return found.empty() ? nullptr : found[0];
}

/// The one app of a command, under its group where its name has one.
CLI::App& Declare(Command& command, CLI::App& root) {
  const std::string name = command.Name();
  const size_t blank = name.find(' ');
  CLI::App* parent = &root;
  if (blank != std::string::npos) {
    const std::string group = name.substr(0, blank);
    parent = Find(root, group);
    if (parent == nullptr) {
      parent = root.add_subcommand(group, "Charge densities and their electrostatics.");
      parent->require_subcommand(1);
    }
  }
  CLI::App& app = *parent->add_subcommand(name.substr(blank == std::string::npos ? 0 : blank + 1),
                                          command.Brief());
  command.Declare(app);
  return app;
}

/// The command that the words begin with, as far as they go: of groups, "charges fit".
std::string CommandOf(const std::vector<std::string>& words, CLI::App& root) {
  if (words.empty()) return {};
  const CLI::App* const first = Find(root, words[0]);
  const bool isGroup = first != nullptr && first->get_require_subcommand_min() > 0;
  return isGroup && words.size() > 1 ? words[0] + " " + words[1] : words[0];
}

bool IsOption(const std::string& word) {
  return word[0] == '-' && word != "--";
}

int Main(int argc, char** argv) {
  const std::vector<std::unique_ptr<Command>> commands = MakeCommands();
  std::vector<std::string> words(argv + 1, argv + argc);
  CLI::App app("Compares molecules and grids by their densities as Hermite vectors.", "qxhermite");
  app.set_version_flag("--version", QX_VERSION);
  app.require_subcommand(1);
  std::vector<CLI::App*> apps;
  for (const auto& command : commands) apps.push_back(&Declare(*command, app));
  const std::string wanted = CommandOf(words, app);
  Command* chosen = nullptr;
  CLI::App* chosenApp = &app;
  std::string names;
  for (size_t i = 0; i < commands.size(); ++i) {
    const std::string name = commands[i]->Name();
    names += (names.empty() ? "" : ", ") + name;
    if (name != wanted) continue;
    chosen = commands[i].get();
    chosenApp = apps[i];
  }
  // Without a command there is only --help and --version, of groups too.
  const std::string last = wanted.substr(wanted.find(' ') + 1);
  const bool isGroup = wanted == last && Find(app, wanted) != nullptr;
  if (chosen == nullptr && !words.empty() && !isGroup && !IsOption(last)) {
    return Usage(fmt::format("'{}' is not a command: choose one of {}", wanted, names), "");
  }
  const std::string name = chosen == nullptr ? "" : chosen->Name() + " ";
  try {
    words = WithLongDashes(*chosenApp, std::move(words));
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
