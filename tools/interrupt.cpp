#include "tools/interrupt.h"

#include <csignal>
#include <cstdlib>

namespace QXTools {
namespace {

volatile std::sig_atomic_t arrived = 0;

extern "C" void RememberSignal(int number) {
  arrived = number;
}

}  // namespace

void WatchForInterrupts() {
  struct sigaction action = {};
  action.sa_handler = RememberSignal;
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
