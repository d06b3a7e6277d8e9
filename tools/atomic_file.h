#pragma once

#include <string>

namespace QXTools {

/// A file that appears under its name complete or not at all.
///
/// The constructor makes an empty temporary file in the folder of the final name, so that a folder
/// that cannot be written to is noticed before any work is done. Commit renames it; a file that
/// was not committed is removed by the destructor. A symbolic link is followed, not replaced.
/// Refused is what a rename would destroy: a device, a pipe, a file that is a standard stream.
class AtomicFile {
 public:
  explicit AtomicFile(const std::string& path);
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  /// Why the file cannot be made, in the form `path: what is wrong: what to do`; empty if it can.
  const std::string& Error() const { return error_; }
  /// Where to write until Commit.
  const std::string& TemporaryPath() const { return temporary_; }
  /// Gives the file its name; false when that fails, and Error tells why.
  bool Commit();

 private:
  std::string path_;    ///< as it was given
  std::string target_;  ///< behind all links
  std::string temporary_;
  std::string error_;
};

}  // namespace QXTools
