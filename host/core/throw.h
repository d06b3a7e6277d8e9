#pragma once

#include <atomic>
#include <cstdarg>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace QXCore {

/// How grave a report is.
enum class QXErrorLevel { Debug, Warning, Error, Fatal };

/// The reporting channel of the toolkit, used through the one global object `QXThrow`.
///
/// A report never throws, prints nothing but itself and always returns, `Fatal` included: the code
/// behind a `Fatal` gives back a failure of its own. Without a handler a report is one line on
/// stderr, "Warning: the text". Safe to use from many threads.
///
///     QXThrow.Warning("%s has no charges", title.c_str());
class QXErrorHandler {
 public:
  using Handler = std::function<void(QXErrorLevel, const std::string&)>;

  /// Progress messages: dropped unless SetDebug(true) asked for them.
  [[gnu::format(printf, 2, 3)]] void Debug(const char* format, ...);
  /// Something was changed or left out, and the work goes on.
  [[gnu::format(printf, 2, 3)]] void Warning(const char* format, ...);
  /// The work goes on with an empty result.
  [[gnu::format(printf, 2, 3)]] void Error(const char* format, ...);
  /// The operation gives up and returns a failure.
  [[gnu::format(printf, 2, 3)]] void Fatal(const char* format, ...);

  /// Lets debug reports through (true) or drops them (false, the default).
  void SetDebug(bool on) { debug_.store(on, std::memory_order_relaxed); }

  /// Sends every report to `handler` and returns the handler that was there before; an empty
  /// function stands for the lines on stderr, in both directions. The handler is called on the
  /// reporting thread, on several at once if several report, and may itself report. A handler that
  /// was replaced may still be running on another thread when this returns.
  Handler SetHandler(Handler handler);

 private:
  void Report(QXErrorLevel level, const char* format, va_list arguments);

  std::atomic<bool> debug_{false};
  std::mutex mutex_;  ///< guards handler_, never held while it runs
  std::shared_ptr<const Handler> handler_;
};

/// The channel of the process.
extern QXErrorHandler QXThrow;

}  // namespace QXCore
