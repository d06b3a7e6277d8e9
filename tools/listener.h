#pragma once

#include <string>

namespace QXTools {

/// Who is told what there is to say of files and densities: people at a console, or a program.
class Listener {
 public:
  virtual ~Listener() = default;
  /// One line of text.
  virtual void Say(const std::string& text) = 0;
};

}  // namespace QXTools
