#pragma once

#include <string>
#include <vector>

#include "host/molkit/mol.h"
#include "host/molkit/molstream.h"

namespace QXTools {

/// A molecule with its conformers, and where in the file they came from.
struct MoleculeGroup {
  QXMolKit::QXMol mol;
  std::vector<unsigned int> records;  ///< the record number of each conformer, from 1
  /// The partial charges of the atoms in each conformer. In `mol` they are those of the first.
  std::vector<std::vector<double>> charges;
};

/// Reads a molecule file group by group: consecutive records with the same title and the same
/// atoms and bonds (elements, formal charges, bond orders, in the same order) are conformers of one
/// molecule. Records that cannot be read are reported and skipped by the stream.
class GroupReader {
 public:
  /// With group false, every record is a group of its own.
  GroupReader(const std::string& path, bool group);

  /// False when the file could not be opened, which the stream has reported.
  bool IsOpen() const { return static_cast<bool>(stream_); }
  /// The next molecule; false at the end of the file.
  bool Next(MoleculeGroup& next);
  /// Records read so far, skipped ones included.
  size_t RecordsRead() const { return stream_.RecordNumber(); }
  /// Records that could not be read, so far, and how many.
  const std::vector<QXMolKit::QXSkippedRecord>& Skipped() const { return stream_.SkippedRecords(); }
  size_t RecordsSkipped() const { return stream_.SkippedRecords().size(); }

 private:
  void ReadAhead();

  QXMolKit::qxmolistream stream_;
  bool group_;
  QXMolKit::QXMol ahead_;
  unsigned int aheadRecord_ = 0;
  bool hasAhead_ = false;
};

/// How many records a regular file holds, by its record marks alone; 0 when the format has none.
/// An estimate for a progress bar.
size_t CountRecords(const std::string& path);

}  // namespace QXTools
