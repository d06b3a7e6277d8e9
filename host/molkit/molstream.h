#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "host/molkit/mol.h"

namespace QXMolKit {

/// The molecule files that can be read and written; MOL2 can be read only.
enum class QXMolFormat {
  Auto,    ///< by the extension of the file name, in capital or small letters
  SDF,     ///< .sdf, .sd: V2000 and V3000, one record a conformer
  MOL,     ///< .mol: as SDF, but a file that is written holds one record
  MOL2,    ///< .mol2
  PDB,     ///< .pdb
  SMILES,  ///< .smi: one SMILES and a title a line
  QXB,     ///< .qxb: the toolkit's own binary format, which keeps everything
};

/// The format that an extension stands for; Auto when it stands for none.
QXMolFormat QXGetMolFormat(const std::string& fileName);

/// A record that could not be read.
struct QXSkippedRecord {
  std::string file;    ///< its name as given
  size_t record = 0;   ///< its number in the file, from 1
  size_t line = 0;     ///< its first line, from 1; in a binary file its first byte, from 0
  std::string title;   ///< as far as it could be read
  std::string reason;  ///< what is wrong, for people
};

/// Molecules from a file, one record in memory at a time.
///
///     qxmolistream in("ligands.sdf");
///     QXMol mol;
///     while (QXReadMolecule(in, mol)) Use(mol);
///
/// A file that cannot be opened is reported as an error, once, and reads as an empty one. A record
/// that cannot be read is reported as a warning, noted, and passed over. What is wrong with records
/// that can be read, as partial charges that do not fit, is reported of the first five of them. A
/// report has the form "file:record: what is wrong: what to do".
class qxmolistream {
 public:
  /// Opens the file. What is wrong with it is reported as an error: see Error.
  explicit qxmolistream(const std::string& fileName, QXMolFormat format = QXMolFormat::Auto);
  ~qxmolistream();
  qxmolistream(qxmolistream&&) noexcept;
  qxmolistream& operator=(qxmolistream&&) noexcept;

  /// True when the file was opened and its format is known.
  explicit operator bool() const;
  /// The report about the file as a whole; empty when there is none.
  const std::string& Error() const;
  /// The number of the record read last, skipped ones counted; 0 before the first.
  size_t RecordNumber() const;
  const std::vector<QXSkippedRecord>& SkippedRecords() const;

 private:
  friend bool QXReadMolecule(qxmolistream& in, QXMol& mol);
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// Reads the next molecule that can be read; false at the end of the file, and `mol` is then as it
/// was. The SD data of a record stands on the conformer. Hydrogens are kept. No bond order is
/// changed and no valence is judged: a structure that makes no chemical sense is still a shape.
///
/// Partial charges come from MOL2's own column; from the SD data `atom.dprop.PartialCharge` or
/// `PartialCharges`, one number an atom, separated by blanks (a wrong count or a text that is no
/// finite number is a warning, and all charges stay 0); from .qxb files. Otherwise they are 0.
bool QXReadMolecule(qxmolistream& in, QXMol& mol);

/// A file of molecules to write. A file that cannot be opened, and the first failure to write, are
/// reported as an error, once; after that nothing is written.
class qxmolostream {
 public:
  /// Opens the file, and overwrites what it holds; not where its format is not known.
  explicit qxmolostream(const std::string& fileName, QXMolFormat format = QXMolFormat::Auto);
  /// Closes the file.
  ~qxmolostream();
  qxmolostream(qxmolostream&&) noexcept;
  qxmolostream& operator=(qxmolostream&&) = delete;

  /// True while all went well.
  explicit operator bool() const;
  const std::string& Error() const;
  /// Writes what is still held back; false when that or anything before failed. The result of a
  /// second call is that of the first.
  bool close();

 private:
  friend bool QXWriteMolecule(qxmolostream& out, const QXMCMolBase& mol);
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// Writes one molecule with all conformers; false when it could not be written.
///
/// SDF: one record a conformer, with the text of QXGetRecordText; V3000 for over 999 atoms or bonds
/// and for coordinates that do not fit the columns of V2000; four decimals. Line breaks and angle
/// brackets in tags and line breaks in titles become blanks or underscores. Values keep their
/// lines; a line that is empty, or that begins with "$$$$", gets a blank in front, as it would end
/// the value or the record. Non-zero partial charges are written as `PartialCharges`, unless a tag
/// that tells the same is there.
/// PDB: one MODEL a conformer. SMILES: canonical, hydrogens implied. QXB: everything, of attached
/// data only values of the type std::vector<double>.
bool QXWriteMolecule(qxmolostream& out, const QXMCMolBase& mol);

}  // namespace QXMolKit
