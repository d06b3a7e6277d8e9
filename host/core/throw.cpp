#include "host/core/throw.h"

#include <cstdio>
#include <utility>

namespace QXCore {

// Constant initialisation: constructors of other static objects may already report.
constinit QXErrorHandler QXThrow;

namespace {

const char* LevelName(QXErrorLevel level) {
  switch (level) {
    case QXErrorLevel::Debug:
      return "Debug";
    case QXErrorLevel::Warning:
      return "Warning";
    case QXErrorLevel::Error:
      return "Error";
    case QXErrorLevel::Fatal:
      return "Fatal";
  }
  return "Error";
}

std::string Format(const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  std::string text;
  if (length < 0) {
    text = format;  // an encoding error in an argument: the bare format says more than nothing
  } else {
    text.resize(static_cast<size_t>(length));
    std::vsnprintf(text.data(), text.size() + 1, format, again);
  }
  va_end(again);
  return text;
}

}  // namespace

void QXErrorHandler::Debug(const char* format, ...) {
  if (!debug_.load(std::memory_order_relaxed)) return;
  va_list arguments;
  va_start(arguments, format);
  Report(QXErrorLevel::Debug, format, arguments);
  va_end(arguments);
}

void QXErrorHandler::Warning(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Report(QXErrorLevel::Warning, format, arguments);
  va_end(arguments);
}

void QXErrorHandler::Error(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Report(QXErrorLevel::Error, format, arguments);
  va_end(arguments);
}

void QXErrorHandler::Fatal(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Report(QXErrorLevel::Fatal, format, arguments);
  va_end(arguments);
}

QXErrorHandler::Handler QXErrorHandler::SetHandler(Handler handler) {
  std::shared_ptr<const Handler> next;
  if (handler) next = std::make_shared<const Handler>(std::move(handler));
  {
    const std::lock_guard lock(mutex_);
    handler_.swap(next);
  }
  return next ? *next : Handler();
}

void QXErrorHandler::Report(QXErrorLevel level, const char* format, va_list arguments) {
  std::shared_ptr<const Handler> handler;
  {
    const std::lock_guard lock(mutex_);
    handler = handler_;
  }
  const std::string text = Format(format, arguments);
  if (handler) {
    (*handler)(level, text);
  } else {
    // One call, so that lines of several threads do not mix.
    std::fprintf(stderr, "%s: %s\n", LevelName(level), text.c_str());
  }
}

}  // namespace QXCore
