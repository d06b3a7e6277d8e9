#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "tools/console.h"

namespace QXTools {

/// Tells on a terminal what a long computation is at, and for how long, from its first full second
/// to its end.
///
///     const Stage stage(console, "finding atoms");
class Stage {
 public:
  Stage(Console& console, std::string text);
  ~Stage();
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

 private:
  void Tell();

  Console& console_;
  std::string text_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool ended_ = false;
  std::thread teller_;
};

}  // namespace QXTools
