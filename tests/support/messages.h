#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/core/throw.h"

namespace QXTest {

/// Collects what is reported through QXThrow while it lives.
class Messages {
 public:
  using Message = std::pair<QXCore::QXErrorLevel, std::string>;

  Messages()
      : previous_(
            QXCore::QXThrow.SetHandler([this](QXCore::QXErrorLevel level, const std::string& text) {
              all.emplace_back(level, text);
            })) {}
  ~Messages() { QXCore::QXThrow.SetHandler(previous_); }
  Messages(const Messages&) = delete;
  Messages& operator=(const Messages&) = delete;

  std::vector<Message> all;

 private:
  QXCore::QXErrorHandler::Handler previous_;
};

}  // namespace QXTest
