#pragma once

#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tools/listener.h"
#include "tools/progress.h"

namespace QXTools {

/// Messages for people on stderr, kept apart from the progress line there. While it lives, the
/// reports of the library come out here too.
class Console : public Listener {
 public:
  Console();
  ~Console() override;
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  /// One line of text. What hostile titles and names hold becomes '?', see DisplayText. A stderr
  /// that cannot be written to is no failure. Safe from any thread.
  void Say(const std::string& text) override;

  /// A line that stands on a terminal until the next text, cut to its width. Both are safe from any
  /// thread.
  void DrawLine(const std::string& text);
  void ClearLine();

  /// Reports of the library about files whose name begins with `hidden` are told with `shown` in
  /// its place, or not at all when that is empty.
  void ShowAs(const std::string& hidden, const std::string& shown) {
    names_.emplace_back(hidden, shown);
  }

  /// Reports of the library that name no file are told as about this one, unless it is empty.
  void SetSource(const std::string& file) { source_ = file; }

  /// Draws progress from now on. total: records to come, as far as known.
  void StartProgress(size_t total) { progress_ = std::make_unique<Progress>(total); }
  void UpdateProgress(size_t done);
  void EndProgress() { progress_.reset(); }

  static bool IsTerminal();

 private:
  void SayReport(std::string text);
  void Clear();

  std::mutex mutex_;    ///< of what stands on stderr
  bool drawn_ = false;  ///< a line of DrawLine
  std::unique_ptr<Progress> progress_;
  std::vector<std::pair<std::string, std::string>> names_;
  std::string source_;
  std::set<std::string> said_;  ///< reports: a file that is read again is told of once
};

}  // namespace QXTools
