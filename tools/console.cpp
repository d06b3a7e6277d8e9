#include "tools/console.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>

#include "host/core/throw.h"
#include "tools/text.h"

namespace QXTools {

Console::Console() {
  QXCore::QXThrow.SetHandler([this](QXCore::QXErrorLevel level, const std::string& text) {
    if (level != QXCore::QXErrorLevel::Debug) Say(text);
  });
}

Console::~Console() {
  QXCore::QXThrow.SetHandler({});
}

bool Console::IsTerminal() {
  return ::isatty(STDERR_FILENO) == 1;
}

void Console::Say(const std::string& text) {
  if (progress_) progress_->Clear();
  fmt::print(stderr, "{}\n", DisplayText(text));
}

void Console::UpdateProgress(size_t done) {
  if (progress_) progress_->Update(done);
}

}  // namespace QXTools
