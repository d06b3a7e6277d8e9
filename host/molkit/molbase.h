#pragma once

#include <string>

#include "host/core/base.h"
#include "host/molkit/atom.h"
#include "host/molkit/iterator.h"
#include "host/molkit/sdtext.h"

namespace QXMolKit {

class QXConfBase;
class QXMCMolBase;

/// A molecule seen with one conformer: either a conformer, or a whole molecule with its active
/// conformer. Coordinates are in angstrom; arrays hold x, y, z of atom 0, of atom 1, and so on.
///
/// Reading members are const, but hand out elements that can be changed: constness is that of the
/// view, as of a pointer.
class QXMolBase : public QXCore::QXBase {
 public:
  ~QXMolBase() override = default;
  QXMolBase(const QXMolBase&) = delete;

  /// Replaces the contents by those of a single-conformer view: atoms, bonds, title, data, and the
  /// one conformer shown. A conformer takes over coordinates, data and SD text only, and only from
  /// a view with as many atoms; else it reports an error and stays as it is.
  virtual QXMolBase& operator=(const QXMolBase& other) = 0;

  /// Those of the molecule, hydrogens included where they are atoms of their own.
  unsigned int NumAtoms() const;
  unsigned int NumBonds() const;
  /// The atoms in atom order; null when there are none.
  QXIterator<QXAtom>* GetAtoms() const;
  QXIterator<QXBond>* GetBonds() const;
  /// One atom or bond by its place; null past the end.
  QXAtom* GetAtom(unsigned int index) const;
  QXBond* GetBond(unsigned int index) const;

  /// Writes 3 NumAtoms() values.
  void GetCoords(double* coords) const;
  /// Writes the three coordinates of one atom of this molecule.
  void GetCoords(const QXAtom* atom, float* coords) const;
  void GetCoords(const QXAtom* atom, double* coords) const;
  /// Reads 3 NumAtoms() values, each narrowed to single precision. A molecule without dimension
  /// becomes three-dimensional.
  void SetCoords(const double* coords);

  /// Appends an atom, at the origin in every conformer. A molecule without conformers gets one.
  QXAtom* NewAtom(unsigned int atomicNum);
  /// Appends a bond between two atoms of this molecule, given by index. Null, with an error, when
  /// an index is out of range or both are equal.
  QXBond* NewBond(unsigned int begin, unsigned int end, QXBondOrder order);

  /// The title, possibly empty. A conformer has that of its molecule.
  const char* GetTitle() const;
  void SetTitle(const std::string& title);

  /// 3 for a structure in space, 2 for a drawing, 0 when no coordinates were given.
  unsigned int GetDimension() const;
  void SetDimension(unsigned int dimension);

  /// The chiral flag of SD files: the marked centres are absolute.
  bool GetChiralFlag() const;
  void SetChiralFlag(bool chiral);

  /// Settles deletions. Deleted atoms leave at once here, so that nothing is left to do; callers
  /// written for lazy deletion call it all the same.
  void CompactAtoms() {}

  /// The conformer that this view shows; null for a molecule without conformers.
  virtual QXConfBase* GetActive() const = 0;
  /// The molecule whose atoms this view shows: itself, or that of the conformer.
  virtual QXMCMolBase& GetMolecule() const = 0;
  /// The SD text that stands on just this object.
  const QXSDText& GetOwnText() const { return text_; }
  QXSDText& GetOwnText() { return text_; }

 protected:
  QXMolBase() = default;

  QXSDText text_;
};

/// Deletes all hydrogen atoms (atomic number 1, isotopes included) with their bonds, in all
/// conformers; a molecule of hydrogens only ends up without atoms. The hydrogens are implied
/// afterwards by the valences of the atoms left, or stated on atoms where valence does not tell.
/// The three flags select nothing here; callers pass false, false, true.
void QXSuppressHydrogens(QXMolBase& mol, bool, bool, bool);

}  // namespace QXMolKit
