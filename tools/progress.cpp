#include "tools/progress.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

namespace QXTools {
namespace {

constexpr size_t kBarWidth = 30;
constexpr std::chrono::milliseconds kInterval(100);

std::string ClockText(double seconds) {
  const auto whole = static_cast<unsigned long>(std::min(seconds, 359999.0));
  return fmt::format("{:02}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
}

}  // namespace

std::string ProgressLine(size_t done, size_t total, double seconds) {
  total = std::max(total, done);  // an estimate that proved too small
  const double share = total > 0 ? static_cast<double>(done) / static_cast<double>(total) : 0.0;
  const double rate = seconds > 0 ? static_cast<double>(done) / seconds : 0.0;
  const auto filled = static_cast<size_t>(share * kBarWidth);
  std::string line = fmt::format("[{:=<{}}{: <{}}] {:3.0f}% {}/{} records", "", filled, "",
                                 kBarWidth - filled, 100.0 * share, done, total);
  if (rate > 0) {
    const double left = static_cast<double>(total - done) / rate;
    line += fmt::format(", {:.1f}/s, {} left", rate, ClockText(left));
  }
  return line;
}

void Progress::Update(size_t done) {
  const auto now = Clock::now();
  if (now - last_ < kInterval) return;
  last_ = now;
  const std::chrono::duration<double> elapsed = now - start_;
  std::fputs(fmt::format("\r{}\033[K", ProgressLine(done, total_, elapsed.count())).c_str(),
             stderr);
  std::fflush(stderr);
  drawn_ = true;
}

void Progress::Clear() {
  if (!drawn_) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  drawn_ = false;
}

}  // namespace QXTools
