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

using Change = std::function<void(QXMolKit::QXMol&)>;

/// Copies the record, each molecule changed. False when not all of it could be copied.
bool CopyChanged(const std::string& from, const std::string& to, const Change& change) {
  QXMolKit::qxmolistream in(from);
  QXMolKit::qxmolostream out(to, QXMolKit::QXMolFormat::QXB);
  QXMolKit::QXMol mol(1);
  bool written = static_cast<bool>(in);
  while (written && QXMolKit::QXReadMolecule(in, mol)) {
    change(mol);
    written = QXMolKit::QXWriteMolecule(out, mol);
  }
  return out.close() && written && in && in.SkippedRecords().empty();
}

}  // namespace

RecordsFolder::RecordsFolder(const std::string& path, Console& console)
    : path_(path), console_(console) {
  std::error_code failure;
  fs::create_directories(path, failure);
  if (!fs::is_directory(path, failure)) {
    error_ = fmt::format("{}: not a folder, and none can be made: give another --records", path);
    return;
  }
  std::string work = (fs::path(path) / ".qxhermite-XXXXXX").string();
  if (::mkdtemp(work.data()) == nullptr) {
    error_ = fmt::format("{}: cannot be written to: give another --records", path);
    return;
  }
  work_ = work;
  console_.ShowAs(work_, path_);
}

RecordsFolder::~RecordsFolder() {
  std::error_code ignored;
  if (!work_.empty()) fs::remove_all(work_, ignored);
}

std::string RecordsFolder::NextTitle(const std::string& title) {
  return (fs::path(work_) / fmt::format("{:06}_{}", ++count_, FileNamePart(title))).string();
}

bool RecordsFolder::Finish(const std::string& workingTitle, const Change& complete) {
  const fs::path record = workingTitle + kEnding;
  std::error_code failure;
  const fs::path kept = fs::path(path_) / record.filename();
  const fs::path completed = fs::path(work_) / "completed";
  const fs::file_type there = fs::symlink_status(kept, failure).type();
  bool done = false;
  if (there != fs::file_type::not_found && there != fs::file_type::regular) {
    console_.Say(fmt::format("{}: not a regular file: remove it", kept.string()));
  } else if (CopyChanged(record.string(), completed.string(), complete)) {
    fs::rename(completed, kept, failure);
    done = !failure;
    if (!done) {
      console_.Say(fmt::format("{}: cannot be written ({}): give another --records", kept.string(),
                               failure.message()));
    }
  }
  fs::remove(completed, failure);
  fs::remove(record, failure);
  return done;
}

}  // namespace QXTools
