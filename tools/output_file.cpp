#include "tools/output_file.h"

namespace QXTools {

OutputFile::OutputFile(const std::string& path, Console& console) : file_(path), console_(console) {
  if (IsOpen()) {
    console.ShowAs(file_.TemporaryPath(), path);
  } else {
    console.Say(file_.Error());
  }
}

bool OutputFile::Commit() {
  if (file_.Commit()) return true;
  console_.Say(file_.Error());
  return false;
}

}  // namespace QXTools
