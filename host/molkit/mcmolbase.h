#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/molkit/molbase.h"

namespace QXMolKit {

class QXMol;

/// One conformer: the coordinates of all atoms of a molecule, in single precision, with attached
/// data and SD text of its own. Atoms, bonds, title and dimension are those of its molecule. It
/// lives as long as the molecule keeps it.
class QXConfBase : public QXMolBase {
 public:
  QXConfBase& operator=(const QXMolBase& other) override;
  QXConfBase& operator=(const QXConfBase& other) {
    return *this = static_cast<const QXMolBase&>(other);
  }

  QXConfBase* GetActive() const override { return const_cast<QXConfBase*>(this); }
  QXMCMolBase& GetMolecule() const override { return *molecule_; }

  /// The 3 NumAtoms() coordinates as they are stored.
  std::span<float> Coords() const { return {const_cast<float*>(coords_.data()), coords_.size()}; }

 private:
  friend class QXMCMolBase;
  explicit QXConfBase(QXMCMolBase* molecule) : molecule_(molecule) {}
  /// Takes over coordinates, attached data and SD text.
  void CopyContents(const QXConfBase& other);

  QXMCMolBase* molecule_;
  std::vector<float> coords_;
};

/// A molecule with its conformers. As a single-conformer view it shows the first.
class QXMCMolBase : public QXMolBase {
 public:
  QXMCMolBase() = default;
  QXMCMolBase(const QXMCMolBase& other);
  /// A molecule of the one conformer that `view` shows, if any. Data and SD text of the molecule
  /// and of that conformer come along, each in its place.
  explicit QXMCMolBase(const QXMolBase& view);
  ~QXMCMolBase() override;

  /// All conformers and data.
  QXMCMolBase& operator=(const QXMCMolBase& other);
  QXMCMolBase& operator=(const QXMol& other);
  QXMCMolBase& operator=(const QXMolBase& view) override;

  /// The number of conformers.
  unsigned int NumConfs() const { return static_cast<unsigned int>(confs_.size()); }
  /// All conformers, the active one first; null when there are none.
  QXIterator<QXConfBase>* GetConfs() const;
  /// Appends a copy of a conformer, with its attached data and SD text. Its molecule must have as
  /// many atoms as this one; else, or for null, an error is reported and the result is null.
  QXConfBase* NewConf(const QXConfBase* conf);
  /// Appends a conformer with all atoms at the origin.
  QXConfBase* NewConf();
  /// Takes one conformer of this molecule away; false for any other pointer.
  bool DeleteConf(const QXConfBase* conf);

  QXConfBase* GetActive() const override { return confs_.empty() ? nullptr : confs_[0].get(); }
  QXMCMolBase& GetMolecule() const override { return const_cast<QXMCMolBase&>(*this); }

  /// All atoms and all bonds, in their order; valid until one is added or taken away.
  std::span<QXAtom> Atoms() const { return {const_cast<QXAtom*>(atoms_.data()), atoms_.size()}; }
  std::span<QXBond> Bonds() const { return {const_cast<QXBond*>(bonds_.data()), bonds_.size()}; }

  /// Sets storage aside for so many atoms and bonds.
  void Reserve(size_t numAtoms, size_t numBonds);
  /// Deletes the atoms for which `doomed`, of NumAtoms() values, is true, with their bonds.
  void DeleteAtoms(const std::vector<bool>& doomed);

 private:
  friend class QXMolBase;
  QXAtom* AppendAtom(unsigned int atomicNum);
  void CopyShared(const QXMCMolBase& other);
  void Swap(QXMCMolBase& other) noexcept;
  void CorrectChirality(const std::vector<bool>& doomed);
  std::vector<unsigned int> BondsOf(unsigned int atom) const;

  std::string title_;
  std::vector<QXAtom> atoms_;
  std::vector<QXBond> bonds_;
  std::vector<std::unique_ptr<QXConfBase>> confs_;
  unsigned int dimension_ = 0;
  bool chiralFlag_ = false;
};

}  // namespace QXMolKit
