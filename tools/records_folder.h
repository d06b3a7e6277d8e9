#pragma once

#include <string>

namespace QXTools {

/// Where the overlay puts its record of every start and pose, one `.qxb` file a molecule.
/// Records that nobody asked for lie in a temporary folder that is removed with the object.
class RecordsFolder {
 public:
  /// An empty path: a temporary folder. Otherwise the folder is made when it does not exist.
  explicit RecordsFolder(const std::string& path);
  ~RecordsFolder();
  RecordsFolder(const RecordsFolder&) = delete;
  RecordsFolder& operator=(const RecordsFolder&) = delete;

  /// Why there is no folder, in the form `path: what is wrong: what to do`; empty if there is one.
  const std::string& Error() const { return error_; }

  /// The title that the next molecule has to bear while it is overlaid, so that its record lands in
  /// this folder under a running number, whatever its own title holds.
  std::string NextTitle(const std::string& title);
  /// To be called after the overlay: gives the molecules in the record their own title back, or
  /// removes a record that is not kept. False when the record cannot be rewritten.
  bool Finish(const std::string& workingTitle, const std::string& title) const;

 private:
  std::string path_;
  std::string error_;
  bool temporary_;
  unsigned int count_ = 0;
};

}  // namespace QXTools
