#include "tools/console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>

#include "host/core/throw.h"
#include "tools/text.h"

namespace QXTools {

Console::Console() {
  QXCore::QXThrow.SetHandler([this](QXCore::QXErrorLevel level, const std::string& text) {
    if (level != QXCore::QXErrorLevel::Debug) SayReport(text);
  });
}

Console::~Console() {
  QXCore::QXThrow.SetHandler({});
}

bool Console::IsTerminal() {
  return ::isatty(STDERR_FILENO) == 1;
}

void Console::Say(const std::string& text) {
  const std::scoped_lock lock(mutex_);
  Clear();
  std::fputs((DisplayText(text) + '\n').c_str(), stderr);
}

void Console::DrawLine(const std::string& text) {
  const std::scoped_lock lock(mutex_);
  struct winsize size = {};
  const bool known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 10;
  std::fputs(("\r" + DisplayText(text, known ? size.ws_col - 1u : 79u) + "\033[K").c_str(), stderr);
  std::fflush(stderr);
  drawn_ = true;
}

void Console::ClearLine() {
  const std::scoped_lock lock(mutex_);
  Clear();
}

void Console::Clear() {
  if (progress_) progress_->Clear();
  if (!drawn_) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  drawn_ = false;
}

void Console::SayReport(std::string text) {
  for (const auto& [hidden, shown] : names_) {
    if (!text.starts_with(hidden)) continue;
    if (shown.empty()) return;
    text.replace(0, hidden.size(), shown);
    break;
  }
  if (!source_.empty() && !text.starts_with(source_)) text = source_ + ": " + text;
  if (said_.insert(text).second) Say(text);
}

void Console::UpdateProgress(size_t done) {
  if (progress_) progress_->Update(done);
}

}  // namespace QXTools
