#include "host/molkit/molstream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include "host/core/throw.h"
#include "host/molkit/formats.h"

namespace QXMolKit {

using QXCore::QXThrow;

namespace {

constexpr std::pair<const char*, QXMolFormat> kExtensions[] = {
    {".sdf", QXMolFormat::SDF},   {".sd", QXMolFormat::SDF},  {".mol", QXMolFormat::MOL},
    {".mol2", QXMolFormat::MOL2}, {".pdb", QXMolFormat::PDB}, {".smi", QXMolFormat::SMILES},
    {".qxb", QXMolFormat::QXB},
};

/// A text of a file as one short printable line.
std::string Printable(const std::string& text) {
  constexpr size_t kMaxLength = 80;
  std::string line = text.substr(0, kMaxLength);
  if (text.size() > kMaxLength) {
    // Not in the middle of a UTF-8 sequence, whose bytes after the first are 10xxxxxx.
    while (!line.empty() && (text[line.size()] & 0xC0) == 0x80) line.pop_back();
    line += "...";
  }
  for (char& c : line) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
  }
  return line;
}

/// What keeps a file name from being used, with what to do; empty when nothing does.
std::string CheckFormat(const std::string& fileName, QXMolFormat format, bool write) {
  if (format == QXMolFormat::Auto) {
    return "the extension \"" + std::filesystem::path(fileName).extension().string() +
           "\" names no molecule format: use .sdf, .sd, .mol, .mol2, .pdb, .smi or .qxb";
  }
  if (format != QXMolFormat::QXB && !HasTextFormats()) {
    return "this build reads and writes .qxb files only: build with QXHERMITE_WITH_RDKIT=ON, or "
           "convert the file elsewhere";
  }
  if (write && format == QXMolFormat::MOL2) {
    return "MOL2 files are read, not written: use .sdf, .mol, .pdb, .smi or .qxb";
  }
  return {};
}

std::string CheckOpen(bool isOpen, int error, const std::string& fileName, const char* action) {
  std::error_code ignored;
  if (std::filesystem::is_directory(fileName, ignored)) {
    return "this is a directory: name a molecule file";
  }
  if (isOpen) return {};
  return std::string("cannot be opened for ") + action + " (" +
         std::generic_category().message(error) + "): check the name and the permissions";
}

}  // namespace

QXMolFormat QXGetMolFormat(const std::string& fileName) {
  std::string extension = std::filesystem::path(fileName).extension().string();
  for (char& c : extension) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  // A name that is nothing but an extension, ".qxb", is to a path a name without one.
  if (extension.empty()) extension = std::filesystem::path(fileName).filename().string();
  const auto found =
      std::ranges::find(kExtensions, extension, [](const auto& e) { return std::string(e.first); });
  return found == std::end(kExtensions) ? QXMolFormat::Auto : found->second;
}

struct qxmolistream::Impl {
  std::string fileName;
  std::ifstream file;
  std::unique_ptr<FormatReader> reader;
  std::string error;
  size_t recordNumber = 0;
  std::vector<QXSkippedRecord> skipped;
  size_t faulty = 0;  ///< records that could be read, but not all of them

  void Fail(const std::string& what) {
    error = fileName + ": " + what;
    reader.reset();
    QXThrow.Error("%s", error.c_str());
  }

  /// A whole file tends to have one fault.
  void TellFault(const std::string& fault) {
    constexpr size_t kMostTold = 5;
    if (++faulty > kMostTold + 1) return;
    QXThrow.Warning("%s:%zu: %s", fileName.c_str(), recordNumber,
                    faulty > kMostTold ? "has a fault, too: those of further records are not told"
                                       : fault.c_str());
  }

  bool Read(QXMol& mol);
};

qxmolistream::qxmolistream(const std::string& fileName, QXMolFormat format)
    : impl_(std::make_unique<Impl>()) {
  impl_->fileName = fileName;
  if (format == QXMolFormat::Auto) format = QXGetMolFormat(fileName);
  std::string problem = CheckFormat(fileName, format, false);
  if (problem.empty()) {
    impl_->file.open(fileName, std::ios::binary);
    problem = CheckOpen(impl_->file.is_open(), errno, fileName, "reading");
  }
  if (problem.empty()) {
    impl_->reader = format == QXMolFormat::QXB ? MakeQXBReader(impl_->file, problem)
                                               : MakeTextReader(impl_->file, format);
  }
  if (!problem.empty()) impl_->Fail(problem);
}

qxmolistream::~qxmolistream() = default;
qxmolistream::qxmolistream(qxmolistream&&) noexcept = default;
qxmolistream& qxmolistream::operator=(qxmolistream&&) noexcept = default;

qxmolistream::operator bool() const {
  return impl_->error.empty();
}

const std::string& qxmolistream::Error() const {
  return impl_->error;
}

size_t qxmolistream::RecordNumber() const {
  return impl_->recordNumber;
}

const std::vector<QXSkippedRecord>& qxmolistream::SkippedRecords() const {
  return impl_->skipped;
}

bool qxmolistream::Impl::Read(QXMol& mol) {
  while (reader) {
    QXMol next;
    RecordReport report;
    const ReadOutcome outcome = reader->Read(next, report);
    if (outcome == ReadOutcome::End) {
      if (file.bad()) Fail("reading failed before the end of the file: check the disk");
      return false;
    }
    ++recordNumber;
    const std::string problem = Printable(report.problem);
    if (outcome == ReadOutcome::Skipped) {
      QXThrow.Warning("%s:%zu: \"%s\" cannot be read, %s: skipped, correct or remove the record",
                      fileName.c_str(), recordNumber, Printable(report.title).c_str(),
                      problem.c_str());
      skipped.push_back({fileName, recordNumber, report.line, report.title, report.problem});
      continue;
    }
    if (!report.problem.empty()) TellFault(report.problem);
    mol = std::move(next);
    return true;
  }
  return false;
}

bool QXReadMolecule(qxmolistream& in, QXMol& mol) {
  return in.impl_->Read(mol);
}

struct qxmolostream::Impl {
  std::string fileName;
  std::ofstream file;
  std::unique_ptr<FormatWriter> writer;
  std::string error;

  void Fail(const std::string& what) {
    if (error.empty()) {
      error = fileName + ": " + what;
      QXThrow.Error("%s", error.c_str());
    }
  }

  void Write(const std::string& bytes) {
    errno = 0;
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    Check();
  }

  void Check() {
    if (file.good()) return;
    const std::string why = errno != 0 ? std::generic_category().message(errno) : "no reason given";
    Fail("writing failed (" + why + "): make room on the disk and write the file again");
  }

  bool Close() {
    if (file.is_open()) {
      errno = 0;
      file.close();
      Check();
    }
    return error.empty();
  }
};

qxmolostream::qxmolostream(const std::string& fileName, QXMolFormat format)
    : impl_(std::make_unique<Impl>()) {
  impl_->fileName = fileName;
  if (format == QXMolFormat::Auto) format = QXGetMolFormat(fileName);
  std::string problem = CheckFormat(fileName, format, true);
  if (problem.empty()) {
    impl_->file.open(fileName, std::ios::binary | std::ios::trunc);
    problem = CheckOpen(impl_->file.is_open(), errno, fileName, "writing");
  }
  if (!problem.empty()) {
    impl_->Fail(problem);
    return;
  }
  impl_->writer = format == QXMolFormat::QXB ? MakeQXBWriter() : MakeTextWriter(format);
  impl_->Write(impl_->writer->Begin());
}

qxmolostream::~qxmolostream() {
  if (impl_) impl_->Close();
}

qxmolostream::qxmolostream(qxmolostream&&) noexcept = default;

qxmolostream::operator bool() const {
  return impl_->error.empty();
}

const std::string& qxmolostream::Error() const {
  return impl_->error;
}

bool qxmolostream::close() {
  return impl_->Close();
}

bool QXWriteMolecule(qxmolostream& out, const QXMCMolBase& mol) {
  qxmolostream::Impl& impl = *out.impl_;
  if (!impl.error.empty()) return false;
  if (!impl.file.is_open()) {
    impl.Fail("the file is closed: write before closing it");
    return false;
  }
  std::string problem;
  const std::string bytes = impl.writer->Write(mol, problem);
  if (!problem.empty()) {
    QXThrow.Error("%s: \"%s\" cannot be written, %s", impl.fileName.c_str(),
                  Printable(mol.GetTitle()).c_str(), problem.c_str());
    return false;
  }
  impl.Write(bytes);
  return impl.error.empty();
}

}  // namespace QXMolKit
