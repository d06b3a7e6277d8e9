#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace QXTest {

inline std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteFile(const std::string& path, const std::string& bytes) {
  std::filesystem::remove(path);  // some file systems write a truncated file out at once
  std::ofstream(path, std::ios::binary) << bytes;
}

/// An empty folder that goes with the test.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    if (!mkdtemp(path_.data())) throw std::runtime_error("no temporary folder");
  }
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_ = (std::filesystem::temp_directory_path() / "qxtestXXXXXX").string();
};

}  // namespace QXTest
