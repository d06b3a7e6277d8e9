#include "tools/records_folder.h"

#include <fmt/format.h>
#include <stdlib.h>

#include <filesystem>
#include <system_error>

#include "host/molkit/molstream.h"
#include "tools/text.h"

namespace QXTools {
namespace {

namespace fs = std::filesystem;

constexpr const char* kEnding = ".qxb";

}  // namespace

RecordsFolder::RecordsFolder(const std::string& path) : path_(path), temporary_(path.empty()) {
  std::error_code failure;
  if (temporary_) {
    path_ = (fs::temp_directory_path(failure) / "qxhermite-XXXXXX").string();
    if (failure || ::mkdtemp(path_.data()) == nullptr) {
      error_ =
          fmt::format("{}: no temporary folder can be made: give --records or set TMPDIR", path_);
      path_.clear();
    }
    return;
  }
  fs::create_directories(path, failure);
  if (!fs::is_directory(path, failure)) {
    error_ = fmt::format("{}: not a folder, and none can be made: give another --records", path);
  }
}

RecordsFolder::~RecordsFolder() {
  std::error_code ignored;
  if (temporary_ && !path_.empty()) fs::remove_all(path_, ignored);
}

std::string RecordsFolder::NextTitle(const std::string& title) {
  return (fs::path(path_) / fmt::format("{:06}_{}", ++count_, FileNamePart(title))).string();
}

bool RecordsFolder::Finish(const std::string& workingTitle, const std::string& title) const {
  const std::string record = workingTitle + kEnding;
  std::error_code failure;
  if (temporary_) return fs::remove(record, failure);

  const std::string renamed = record + ".part";
  {
    QXMolKit::qxmolistream in(record);
    QXMolKit::qxmolostream out(renamed, QXMolKit::QXMolFormat::QXB);
    QXMolKit::QXMol mol(1);
    bool written = true;
    while (written && QXMolKit::QXReadMolecule(in, mol)) {
      mol.SetTitle(title.c_str());
      written = QXMolKit::QXWriteMolecule(out, mol);
    }
    if (!out.close() || !written) failure = std::make_error_code(std::errc::io_error);
  }
  if (!failure) fs::rename(renamed, record, failure);
  return !failure;
}

}  // namespace QXTools
