#include "tools/stage.h"

#include <fmt/format.h>

namespace QXTools {

Stage::Stage(Console& console, const std::string& file, const std::string& text)
    : console_(console), text_(fmt::format("{}: {}", file, text)) {
  console.SetSource(file);
  if (Console::IsTerminal()) teller_ = std::thread([this] { Tell(); });
}

Stage::~Stage() {
  console_.SetSource({});
  if (!teller_.joinable()) return;
  {
    const std::scoped_lock lock(mutex_);
    ended_ = true;
  }
  changed_.notify_one();
  teller_.join();
  console_.ClearLine();
}

void Stage::Tell() {
  using std::chrono::seconds;
  const auto start = std::chrono::steady_clock::now();
  std::unique_lock lock(mutex_);
  const auto ended = [this] { return ended_; };
  for (seconds time(1); !changed_.wait_until(lock, start + time, ended); time += seconds(1)) {
    console_.DrawLine(fmt::format("{} s  {} ...", time.count(), text_));
  }
}

}  // namespace QXTools
