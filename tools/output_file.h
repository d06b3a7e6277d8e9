#pragma once

#include <string>

#include "tools/atomic_file.h"
#include "tools/console.h"

namespace QXTools {

/// A file that appears complete or not at all, see AtomicFile, and tells the console of its
/// problems. Reports of the library about the temporary file come out under the name asked for.
class OutputFile {
 public:
  OutputFile(const std::string& path, Console& console);

  bool IsOpen() const { return file_.Error().empty(); }
  /// Where to write until Commit.
  const std::string& TemporaryPath() const { return file_.TemporaryPath(); }
  /// Gives the file its name; false when that fails.
  bool Commit();

 private:
  AtomicFile file_;
  Console& console_;
};

}  // namespace QXTools
