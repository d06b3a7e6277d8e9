#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace QXTools {

/// One line of progress on stderr: bar, records done, rate and time left. Redrawn ten times a
/// second at most.
class Progress {
 public:
  /// total: the number of records to come, as far as known.
  explicit Progress(size_t total) : total_(total) {}
  ~Progress() { Clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Update(size_t done);
  /// Removes the line, so that other text can be written; the next Update draws it again.
  void Clear();

 private:
  using Clock = std::chrono::steady_clock;

  bool drawn_ = false;
  size_t total_;
  Clock::time_point start_ = Clock::now();
  Clock::time_point last_ = start_;
};

/// The line itself: "[====>     ]  45% 120/267 records, 85.1/s, 00:00:02 left".
std::string ProgressLine(size_t done, size_t total, double seconds);

}  // namespace QXTools
