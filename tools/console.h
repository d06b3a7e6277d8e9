#pragma once

#include <memory>
#include <string>

#include "tools/progress.h"

namespace QXTools {

/// Messages for people on stderr, kept apart from the progress line there. While it lives, the
/// reports of the library come out here too.
class Console {
 public:
  Console();
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  /// One line of text. Control characters, as hostile titles and names hold them, become '?'.
  void Say(const std::string& text);

  /// Draws progress from now on. total: records to come, as far as known.
  void StartProgress(size_t total) { progress_ = std::make_unique<Progress>(total); }
  void UpdateProgress(size_t done);
  void EndProgress() { progress_.reset(); }

  static bool IsTerminal();

 private:
  std::unique_ptr<Progress> progress_;
};

}  // namespace QXTools
