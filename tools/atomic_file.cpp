#include "tools/atomic_file.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "tools/interrupt.h"

namespace QXTools {
namespace {

namespace fs = std::filesystem;

std::string SystemText(int code) {
  return std::generic_category().message(code);
}

/// Such as /dev/stdout when the output goes to a file.
bool IsStandardStream(const std::string& path) {
  struct stat wanted = {}, stream = {};
  if (::stat(path.c_str(), &wanted) != 0) return false;
  for (int descriptor = 0; descriptor <= 2; ++descriptor) {
    if (::fstat(descriptor, &stream) == 0 && stream.st_dev == wanted.st_dev &&
        stream.st_ino == wanted.st_ino) {
      return true;
    }
  }
  return false;
}

}  // namespace

AtomicFile::AtomicFile(const std::string& path) : path_(path) {
  if (IsStandardStream(path)) {
    error_ = fmt::format("{}: is a standard stream: give the name of a file", path);
    return;
  }
  std::error_code ignored;
  if (fs::exists(path, ignored) && !fs::is_regular_file(path, ignored)) {
    error_ = fmt::format("{}: not a regular file: give the name of a file", path);
    return;
  }
  fs::path target = fs::weakly_canonical(path, ignored);
  if (target.empty()) target = path;
  // The name is left out of the temporary one: a longest legal name must still work.
  std::string name = (target.parent_path() / ".qxhermite-XXXXXX.part").string();
  const int descriptor = ::mkstemps(name.data(), 5);
  if (descriptor < 0) {
    error_ =
        fmt::format("{}: cannot be written ({}): choose another place", path, SystemText(errno));
    return;
  }
  // mkstemps makes private files; what a person asked for gets the usual permissions.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  const bool opened = ::fchmod(descriptor, 0666 & ~mask) == 0;
  ::close(descriptor);
  if (!opened) error_ = fmt::format("{}: cannot be written: choose another place", path);
  target_ = target.string();
  temporary_ = name;
  RemoveWhenEnded(temporary_.c_str());
}

AtomicFile::~AtomicFile() {
  if (temporary_.empty()) return;
  ::unlink(temporary_.c_str());
  KeepWhenEnded(temporary_.c_str());
}

bool AtomicFile::Commit() {
  if (std::rename(temporary_.c_str(), target_.c_str()) != 0) {
    error_ =
        fmt::format("{}: cannot be written ({}): choose another place", path_, SystemText(errno));
    return false;
  }
  KeepWhenEnded(temporary_.c_str());
  temporary_.clear();
  return true;
}

}  // namespace QXTools
