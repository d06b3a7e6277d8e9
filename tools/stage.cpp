#include "tools/stage.h"

#include <fmt/format.h>

#include <utility>

namespace QXTools {

Stage::Stage(Console& console, std::string text) : console_(console), text_(std::move(text)) {
  if (Console::IsTerminal()) teller_ = std::thread([this] { Tell(); });
}

Stage::~Stage() {
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
    console_.DrawLine(fmt::format("{} ... {} s", text_, time.count()));
  }
}

}  // namespace QXTools
