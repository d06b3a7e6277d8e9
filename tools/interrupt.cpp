#include "tools/interrupt.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <string_view>

namespace QXTools {
namespace {

volatile std::sig_atomic_t arrived = 0;
volatile std::sig_atomic_t endsAtOnce = 0;
std::atomic<const char*> temporaryFiles[16];

/// Does nothing that a signal handler must not do.
void EndNow(int number) {
  for (const auto& file : temporaryFiles) {
    if (const char* path = file.load()) ::unlink(path);
  }
  // Below the line of a Stage, where there is one.
  constexpr std::string_view kText = "\ninterrupted: nothing was written\n";
  const size_t first = Console::IsTerminal() ? 0 : 1;
  if (::write(STDERR_FILENO, kText.data() + first, kText.size() - first) < 0) ::_exit(1);
  ::raise(number);  // SA_RESETHAND brought the default action back
}

void Exchange(const char* from, const char* to) {
  for (auto& file : temporaryFiles) {
    const char* expected = from;
    if (file.compare_exchange_strong(expected, to)) return;
  }
}

extern "C" void OnSignal(int number) {
  arrived = number;
  if (endsAtOnce != 0) EndNow(number);
}

}  // namespace

void WatchForInterrupts() {
  struct sigaction action = {};
  action.sa_handler = OnSignal;
  action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
  sigemptyset(&action.sa_mask);
  constexpr int watched[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
  for (const int number : watched) {
    struct sigaction inherited = {};
    sigaction(number, nullptr, &inherited);
    if (inherited.sa_handler != SIG_IGN) sigaction(number, &action, nullptr);
  }
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

EndsAtOnce::EndsAtOnce() {
  endsAtOnce = 1;
  if (arrived != 0) EndNow(arrived);
}

EndsAtOnce::~EndsAtOnce() {
  endsAtOnce = 0;
}

void RemoveWhenEnded(const char* path) {
  Exchange(nullptr, path);
}

void KeepWhenEnded(const char* path) {
  Exchange(path, nullptr);
}

bool Interrupted() {
  return arrived != 0;
}

bool WasInterrupted(Console& console) {
  if (Interrupted()) console.Say("interrupted: nothing was written");
  return Interrupted();
}

void EndByInterrupt() {
  std::raise(arrived);  // SA_RESETHAND brought the default action back
  std::_Exit(1);
}

}  // namespace QXTools
