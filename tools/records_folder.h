#pragma once

#include <functional>
#include <string>

#include "host/molkit/mol.h"
#include "tools/console.h"

namespace QXTools {

/// Where the overlay puts its record of every start and pose, one `.qxb` file a molecule.
///
/// The overlay writes into a private folder within, which is removed with the object. What is kept
/// moves to its place when it is complete, and replaces regular files only.
class RecordsFolder {
 public:
  /// The folder is made when it does not exist.
  /// Failures to write records are told to the console, which must outlive the object, under the
  /// names that the records are to have.
  RecordsFolder(const std::string& path, Console& console);
  ~RecordsFolder();
  RecordsFolder(const RecordsFolder&) = delete;
  RecordsFolder& operator=(const RecordsFolder&) = delete;

  /// Why there is no folder, in the form `path: what is wrong: what to do`; empty if there is one.
  const std::string& Error() const { return error_; }

  /// The title that the next molecule has to bear while it is overlaid, so that its record lands in
  /// the private folder under a running number, whatever its own title holds.
  std::string NextTitle(const std::string& title);
  /// To be called after the overlay: gives the record its place, once `complete` has given each
  /// molecule in it what the overlay does not know, such as the molecule's own title. False when it
  /// could not be kept, which the console was told.
  bool Finish(const std::string& workingTitle,
              const std::function<void(QXMolKit::QXMol&)>& complete);

 private:
  std::string path_;
  std::string work_;
  std::string error_;
  Console& console_;
  unsigned int count_ = 0;
};

}  // namespace QXTools
