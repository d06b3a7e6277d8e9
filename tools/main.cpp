#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <new>

#include "tools/interrupt.h"
#include "tools/overlay_arguments.h"
#include "tools/overlay_command.h"

namespace {

using namespace QXTools;

int Usage(const std::string& problem) {
  fmt::print(stderr, "qxhermite: {}\nRun qxhermite overlay --help for the options.\n", problem);
  return kNothingDone;
}

int Main(int argc, char** argv) {
  OverlayArguments arguments;
  CLI::App app("Compares molecules by their shape densities.", "qxhermite");
  app.set_version_flag("--version", QX_VERSION);
  app.require_subcommand(1);
  CLI::App& overlay = *app.add_subcommand(
      "overlay", "Lays molecules over a reference by shape and ranks them by Tanimoto.");
  DeclareOverlayArguments(overlay, arguments);
  try {
    std::vector<std::string> words =
        WithLongDashes(overlay, std::vector<std::string>(argv + 1, argv + argc));
    std::reverse(words.begin(), words.end());  // as the parser takes them
    app.parse(words);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);  // --help, --version
    return Usage(error.what());
  }
  if (const std::string problem = CheckOverlayArguments(arguments); !problem.empty()) {
    return Usage(problem);
  }
  WatchForInterrupts();
  return RunOverlay(arguments);
}

}  // namespace

int main(int argc, char** argv) {
  int status = kNothingDone;
  try {
    status = Main(argc, argv);
  } catch (const std::bad_alloc&) {
    fmt::print(stderr, "qxhermite: not enough memory: lower --NPolyMax\n");
  } catch (const std::exception& error) {
    fmt::print(stderr, "qxhermite: {}\n", error.what());
  }
  if (Interrupted()) EndByInterrupt();
  return status;
}
