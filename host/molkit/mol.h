#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/molkit/mcmolbase.h"

namespace QXMolKit {

/// A molecule as a value. Copies are deep. A molecule that was moved from is empty and converts to
/// false; changing it makes it a molecule again.
///
///     QXMol mol;
///     mol.NewAtom(6);
///     const double place[3] = {0, 0, 1.5};
///     mol.SetCoords(place);
class QXMol {
 public:
  /// An empty molecule, without atoms and conformers. There is one kind, 1.
  QXMol() : QXMol(1u) {}
  explicit QXMol(unsigned int kind);
  /// A molecule of the one conformer that `mol` shows.
  QXMol(const QXMolBase& mol, unsigned int kind);
  /// A molecule with all conformers.
  QXMol(const QXMCMolBase& mol);
  QXMol(const QXMol& other);
  QXMol(QXMol&& other) noexcept = default;
  ~QXMol() = default;

  /// Copies are deep; of a view, the conformer that it shows.
  QXMol& operator=(const QXMol& other);
  QXMol& operator=(QXMol&& other) noexcept = default;
  QXMol& operator=(const QXMCMolBase& other);
  QXMol& operator=(const QXMolBase& view);

  /// The molecule as the interfaces see it.
  operator QXMolBase&() { return Get(); }
  operator const QXMolBase&() const { return Get(); }
  operator QXMCMolBase&() { return Get(); }
  operator const QXMCMolBase&() const { return Get(); }
  /// True when the implementation is there: always, but after a move from this object.
  operator bool() const { return impl_ != nullptr; }

  /// As in QXMolBase and QXMCMolBase.
  unsigned int NumAtoms() const { return Get().NumAtoms(); }
  unsigned int NumBonds() const { return Get().NumBonds(); }
  unsigned int NumConfs() const { return Get().NumConfs(); }
  QXIterator<QXAtom>* GetAtoms() const { return Get().GetAtoms(); }
  QXIterator<QXBond>* GetBonds() const { return Get().GetBonds(); }
  QXIterator<QXConfBase>* GetConfs() const { return Get().GetConfs(); }
  QXAtom* GetAtom(unsigned int index) const { return Get().GetAtom(index); }
  QXBond* GetBond(unsigned int index) const { return Get().GetBond(index); }
  QXConfBase* GetActive() const { return Get().GetActive(); }
  void GetCoords(double* coords) const { Get().GetCoords(coords); }
  void GetCoords(const QXAtom* atom, float* coords) const { Get().GetCoords(atom, coords); }
  void GetCoords(const QXAtom* atom, double* coords) const { Get().GetCoords(atom, coords); }
  void SetCoords(const double* coords) { Get().SetCoords(coords); }
  QXAtom* NewAtom(unsigned int atomicNum) { return Get().NewAtom(atomicNum); }
  QXBond* NewBond(unsigned int begin, unsigned int end, QXBondOrder order) {
    return Get().NewBond(begin, end, order);
  }
  QXConfBase* NewConf(const QXConfBase* conf) { return Get().NewConf(conf); }
  const char* GetTitle() const { return Get().GetTitle(); }
  void SetTitle(const std::string& title) { Get().SetTitle(title); }
  unsigned int GetDimension() const { return Get().GetDimension(); }
  void SetDimension(unsigned int dimension) { Get().SetDimension(dimension); }
  bool GetChiralFlag() const { return Get().GetChiralFlag(); }
  void SetChiralFlag(bool chiral) { Get().SetChiralFlag(chiral); }
  void CompactAtoms() { Get().CompactAtoms(); }

  /// As in QXCore::QXBase; Key is a name or a tag.
  template <typename Key>
  bool HasData(Key key) const {
    return Get().HasData(key);
  }
  template <typename T, typename Key>
  bool HasDataOfType(Key key) const {
    return Get().template HasDataOfType<T>(key);
  }
  template <typename T, typename Key>
  bool SetData(Key key, T value) {
    return Get().template SetData<T>(key, std::move(value));
  }
  template <typename T, typename Key>
  const T& GetData(Key key) const {
    return Get().template GetData<T>(key);
  }
  template <typename Key>
  bool DeleteData(Key key) {
    return Get().DeleteData(key);
  }
  std::vector<unsigned int> GetTags() const { return Get().GetTags(); }

 private:
  QXMCMolBase& Get();
  const QXMCMolBase& Get() const;

  std::unique_ptr<QXMCMolBase> impl_;
};

}  // namespace QXMolKit
