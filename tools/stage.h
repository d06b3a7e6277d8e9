#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "tools/console.h"
#include "tools/interrupt.h"

namespace QXTools {

/// A long computation for a file: from its first full second on, a terminal is told what it is at,
/// and for how long. Reports of the library come out under the name of the file. An interrupt ends
/// the process, see EndsAtOnce.
///
///     const Stage stage(console, "map.ccp4", "finding atoms");
class Stage {
 public:
  Stage(Console& console, const std::string& file, const std::string& text);
  ~Stage();
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

 private:
  void Tell();

  EndsAtOnce ends_;
  Console& console_;
  std::string text_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool ended_ = false;
  std::thread teller_;
};

}  // namespace QXTools
