#include "host/molkit/molbase.h"

#include <algorithm>

#include "host/core/throw.h"
#include "host/molkit/mcmolbase.h"

namespace QXMolKit {

unsigned int QXMolBase::NumAtoms() const {
  return static_cast<unsigned int>(GetMolecule().atoms_.size());
}

unsigned int QXMolBase::NumBonds() const {
  return static_cast<unsigned int>(GetMolecule().bonds_.size());
}

QXIterator<QXAtom>* QXMolBase::GetAtoms() const {
  auto& atoms = GetMolecule().atoms_;
  return QXMakeIterator<QXAtom>(atoms.begin(), atoms.end());
}

QXIterator<QXBond>* QXMolBase::GetBonds() const {
  auto& bonds = GetMolecule().bonds_;
  return QXMakeIterator<QXBond>(bonds.begin(), bonds.end());
}

QXAtom* QXMolBase::GetAtom(unsigned int index) const {
  return index < NumAtoms() ? &GetMolecule().atoms_[index] : nullptr;
}

QXBond* QXMolBase::GetBond(unsigned int index) const {
  return index < NumBonds() ? &GetMolecule().bonds_[index] : nullptr;
}

void QXMolBase::GetCoords(double* coords) const {
  if (const QXConfBase* conf = GetActive()) std::ranges::copy(conf->Coords(), coords);
}

void QXMolBase::GetCoords(const QXAtom* atom, float* coords) const {
  std::copy_n(&GetActive()->Coords()[3 * atom->GetIdx()], 3, coords);
}

void QXMolBase::GetCoords(const QXAtom* atom, double* coords) const {
  std::copy_n(&GetActive()->Coords()[3 * atom->GetIdx()], 3, coords);
}

void QXMolBase::SetCoords(const double* coords) {
  if (NumAtoms() == 0) return;
  std::transform(coords, coords + 3 * NumAtoms(), GetActive()->Coords().begin(),
                 [](double value) { return static_cast<float>(value); });
  if (GetDimension() == 0) SetDimension(3);
}

QXAtom* QXMolBase::NewAtom(unsigned int atomicNum) {
  return GetMolecule().AppendAtom(atomicNum);
}

QXBond* QXMolBase::NewBond(unsigned int begin, unsigned int end, QXBondOrder order) {
  if (begin >= NumAtoms() || end >= NumAtoms() || begin == end) {
    QXCore::QXThrow.Error(
        "A bond between the atoms %u and %u of a molecule of %u atoms is refused.", begin, end,
        NumAtoms());
    return nullptr;
  }
  return &GetMolecule().bonds_.emplace_back(QXBond{begin, end, order, QXBondStereo::None});
}

const char* QXMolBase::GetTitle() const {
  return GetMolecule().title_.c_str();
}

void QXMolBase::SetTitle(const std::string& title) {
  GetMolecule().title_ = title;
}

unsigned int QXMolBase::GetDimension() const {
  return GetMolecule().dimension_;
}

void QXMolBase::SetDimension(unsigned int dimension) {
  GetMolecule().dimension_ = dimension;
}

bool QXMolBase::GetChiralFlag() const {
  return GetMolecule().chiralFlag_;
}

void QXMolBase::SetChiralFlag(bool chiral) {
  GetMolecule().chiralFlag_ = chiral;
}

void QXSuppressHydrogens(QXMolBase& mol, bool, bool, bool) {
  QXMCMolBase& molecule = mol.GetMolecule();
  const std::span<QXAtom> atoms = molecule.Atoms();
  std::vector<bool> doomed(atoms.size());
  for (const QXAtom& atom : atoms) doomed[atom.GetIdx()] = atom.GetAtomicNum() == 1;

  std::vector<bool> aromatic(atoms.size());
  for (const QXBond& bond : molecule.Bonds()) {
    if (bond.order == QXBondOrder::Aromatic) aromatic[bond.begin] = aromatic[bond.end] = true;
  }
  for (const QXBond& bond : molecule.Bonds()) {
    if (doomed[bond.begin] == doomed[bond.end]) continue;
    QXAtom& heavy = atoms[doomed[bond.begin] ? bond.end : bond.begin];
    QXAtomMarks marks = heavy.GetMarks();
    if (!marks.noMoreHydrogens && !aromatic[heavy.GetIdx()]) continue;
    ++marks.hydrogens;
    heavy.SetMarks(marks);
  }
  molecule.DeleteAtoms(doomed);
}

}  // namespace QXMolKit
