#pragma once

#include <cstddef>
#include <istream>
#include <memory>
#include <ostream>
#include <string>

#include "host/molkit/molstream.h"

namespace QXMolKit {

/// What is known of a record besides its molecule.
struct RecordReport {
  size_t line = 0;  ///< as QXSkippedRecord::line
  std::string title;
  std::string problem;  ///< why a record cannot be read, or what was wrong with one that was
};

enum class ReadOutcome { Molecule, Skipped, End };

/// Reads the records of one format from a stream.
class FormatReader {
 public:
  virtual ~FormatReader() = default;
  /// The next record. `mol` comes in empty; after Skipped its contents mean nothing.
  virtual ReadOutcome Read(QXMCMolBase& mol, RecordReport& report) = 0;
};

/// Writes the records of one format.
class FormatWriter {
 public:
  virtual ~FormatWriter() = default;
  /// What stands before the first molecule.
  virtual std::string Begin() { return {}; }
  /// The bytes of one molecule, or a problem.
  virtual std::string Write(const QXMCMolBase& mol, std::string& problem) = 0;
};

/// Null, with a problem, when the stream does not begin as one of this format.
std::unique_ptr<FormatReader> MakeQXBReader(std::istream& in, std::string& problem);
std::unique_ptr<FormatWriter> MakeQXBWriter();

/// Whether the text formats are there at all.
bool HasTextFormats();
std::unique_ptr<FormatReader> MakeTextReader(std::istream& in, QXMolFormat format);
std::unique_ptr<FormatWriter> MakeTextWriter(QXMolFormat format);

}  // namespace QXMolKit
