#pragma once

#include <cstddef>
#include <istream>
#include <string>
#include <vector>

#include "host/molkit/molstream.h"

namespace QXMolKit {

/// Reads lines from a stream in blocks. Ends of lines are LF or CR LF; a byte-order mark at the
/// start of the stream is passed over. No more than `maxLine` bytes of a line are kept.
class LineReader {
 public:
  LineReader(std::istream& in, size_t maxLine);
  /// The next line without its end; false at the end of the stream.
  bool Next(std::string& line);
  /// The number of the line that Next gave last, from 1.
  size_t LineNumber() const { return lineNumber_; }
  /// True when the last line was cut.
  bool WasCut() const { return wasCut_; }

 private:
  bool Fill();

  std::istream& in_;
  size_t maxLine_;
  std::vector<char> buffer_;
  size_t at_ = 0;
  size_t end_ = 0;
  size_t lineNumber_ = 0;
  bool wasCut_ = false;
};

/// Cuts a text file into the records of its format, one in memory at a time:
/// - SDF, MOL: up to a line that begins with "$$$$";
/// - MOL2: from one "@<TRIPOS>MOLECULE" to the next;
/// - PDB: up to a line "END";
/// - SMILES: one line, blank lines passed over.
/// The last record needs no separator. Ends of lines come out as LF.
class RecordSplitter {
 public:
  struct Record {
    std::string text;
    size_t firstLine = 0;
    bool tooLarge = false;  ///< over the limit; `text` holds its beginning only
  };

  static constexpr size_t kMaxRecord = size_t{64} << 20;

  RecordSplitter(std::istream& in, QXMolFormat format, size_t maxRecord = kMaxRecord);
  /// The next record; false at the end of the stream.
  bool Next(Record& record);

 private:
  bool EndsRecord(const std::string& line) const;
  void Append(Record& record);

  LineReader lines_;
  QXMolFormat format_;
  size_t maxRecord_;
  std::string line_;
  bool hasLine_ = false;  ///< line_ begins the next record
};

}  // namespace QXMolKit
