#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <new>

#include "tools/interrupt.h"
#include "tools/overlay_arguments.h"
#include "tools/overlay_command.h"
#include "tools/text.h"

namespace {

using namespace QXTools;

void Complain(const std::string& problem) {
  std::fputs(fmt::format("qxhermite: {}\n", DisplayText(problem)).c_str(), stderr);
}

int Usage(const std::string& problem) {
  Complain(problem);
  std::fputs("Run qxhermite overlay --help for the options.\n", stderr);
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
  if (argc > 1 && argv[1][0] != '-' && argv[1] != overlay.get_name()) {
    return Usage(fmt::format("'{}' is not a command: the only one is overlay", argv[1]));
  }
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
    Complain("not enough memory: lower --NPolyMax");
  } catch (const std::exception& error) {
    Complain(error.what());
  }
  if (Interrupted()) EndByInterrupt();
  return status;
}
