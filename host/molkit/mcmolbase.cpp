#include "host/molkit/mcmolbase.h"

#include <algorithm>

#include "host/core/throw.h"
#include "host/molkit/mol.h"

namespace QXMolKit {

using QXCore::QXThrow;

QXConfBase& QXConfBase::operator=(const QXMolBase& other) {
  const QXConfBase* source = other.GetActive();
  if (!source || source->NumAtoms() != NumAtoms()) {
    QXThrow.Error("A conformer of %u atoms cannot take over one of %u atoms.", NumAtoms(),
                  other.NumAtoms());
  } else if (source != this) {
    CopyContents(*source);
  }
  return *this;
}

void QXConfBase::CopyContents(const QXConfBase& other) {
  QXBase::operator=(other);
  text_ = other.text_;
  coords_ = other.coords_;
}

QXMCMolBase::QXMCMolBase(const QXMCMolBase& other) {
  CopyShared(other);
  confs_.reserve(other.confs_.size());
  for (const auto& conf : other.confs_) NewConf()->CopyContents(*conf);
}

QXMCMolBase::QXMCMolBase(const QXMolBase& view) {
  CopyShared(view.GetMolecule());
  if (const QXConfBase* conf = view.GetActive()) NewConf()->CopyContents(*conf);
}

QXMCMolBase::~QXMCMolBase() = default;

void QXMCMolBase::CopyShared(const QXMCMolBase& other) {
  QXBase::operator=(other);
  text_ = other.text_;
  title_ = other.title_;
  atoms_ = other.atoms_;
  bonds_ = other.bonds_;
  dimension_ = other.dimension_;
  chiralFlag_ = other.chiralFlag_;
}

void QXMCMolBase::Swap(QXMCMolBase& other) noexcept {
  std::swap(static_cast<QXBase&>(*this), static_cast<QXBase&>(other));
  std::swap(text_, other.text_);
  std::swap(title_, other.title_);
  std::swap(atoms_, other.atoms_);
  std::swap(bonds_, other.bonds_);
  std::swap(confs_, other.confs_);
  std::swap(dimension_, other.dimension_);
  std::swap(chiralFlag_, other.chiralFlag_);
  for (const auto& conf : confs_) conf->molecule_ = this;
  for (const auto& conf : other.confs_) conf->molecule_ = &other;
}

QXMCMolBase& QXMCMolBase::operator=(const QXMCMolBase& other) {
  if (this != &other) {
    QXMCMolBase copy(other);
    Swap(copy);
  }
  return *this;
}

QXMCMolBase& QXMCMolBase::operator=(const QXMol& other) {
  return *this = static_cast<const QXMCMolBase&>(other);
}

QXMCMolBase& QXMCMolBase::operator=(const QXMolBase& view) {
  QXMCMolBase copy(view);  // before anything changes: the view may show a part of this molecule
  Swap(copy);
  return *this;
}

QXIterator<QXConfBase>* QXMCMolBase::GetConfs() const {
  return QXMakeIterator<QXConfBase>(confs_.begin(), confs_.end());
}

QXConfBase* QXMCMolBase::NewConf(const QXConfBase* conf) {
  if (!conf || conf->NumAtoms() != NumAtoms()) {
    QXThrow.Error("A conformer of %u atoms cannot be added to a molecule of %u atoms.",
                  conf ? conf->NumAtoms() : 0, NumAtoms());
    return nullptr;
  }
  QXConfBase* added = NewConf();
  added->CopyContents(*conf);
  return added;
}

QXConfBase* QXMCMolBase::NewConf() {
  confs_.push_back(std::unique_ptr<QXConfBase>(new QXConfBase(this)));
  confs_.back()->coords_.resize(3 * atoms_.size());
  return confs_.back().get();
}

bool QXMCMolBase::DeleteConf(const QXConfBase* conf) {
  return std::erase_if(confs_, [conf](const auto& own) { return own.get() == conf; }) > 0;
}

QXAtom* QXMCMolBase::AppendAtom(unsigned int atomicNum) {
  if (confs_.empty()) NewConf();
  atoms_.emplace_back(atomicNum);
  atoms_.back().index_ = static_cast<std::uint32_t>(atoms_.size() - 1);
  for (const auto& conf : confs_) conf->coords_.resize(3 * atoms_.size());
  return &atoms_.back();
}

void QXMCMolBase::Reserve(size_t numAtoms, size_t numBonds) {
  atoms_.reserve(numAtoms);
  bonds_.reserve(numBonds);
  for (const auto& conf : confs_) conf->coords_.reserve(3 * numAtoms);
}

std::vector<unsigned int> QXMCMolBase::BondsOf(unsigned int atom) const {
  std::vector<unsigned int> bonds;
  for (unsigned int i = 0; i < bonds_.size(); ++i) {
    if (bonds_[i].begin == atom || bonds_[i].end == atom) bonds.push_back(i);
  }
  return bonds;
}

// The sense of a centre refers to the order of its bonds. A hydrogen that leaves a centre moves
// from its place among the neighbours to the last place; each swap on that way inverts the sense.
void QXMCMolBase::CorrectChirality(const std::vector<bool>& doomed) {
  const auto leaves = [&](unsigned int bond) {
    return doomed[bonds_[bond].begin] || doomed[bonds_[bond].end];
  };
  for (QXAtom& atom : atoms_) {
    if (atom.marks_.chirality == QXChirality::None || doomed[atom.index_]) continue;
    const std::vector<unsigned int> bonds = BondsOf(atom.index_);
    const auto gone = std::ranges::count_if(bonds, leaves);
    if (gone == 0) continue;
    const auto place = std::ranges::find_if(bonds, leaves) - bonds.begin();
    const auto numSwaps = static_cast<std::ptrdiff_t>(bonds.size()) - 1 - place;
    if (gone > 1) {
      atom.marks_.chirality = QXChirality::None;
    } else if (numSwaps % 2 != 0) {
      atom.marks_.chirality = atom.marks_.chirality == QXChirality::Clockwise
                                  ? QXChirality::CounterClockwise
                                  : QXChirality::Clockwise;
    }
  }
}

void QXMCMolBase::DeleteAtoms(const std::vector<bool>& doomed) {
  if (std::ranges::none_of(doomed, std::identity())) return;
  if (dimension_ == 0) CorrectChirality(doomed);

  std::vector<unsigned int> newIndex(atoms_.size());
  unsigned int kept = 0;
  for (size_t i = 0; i < atoms_.size(); ++i) newIndex[i] = doomed[i] ? kept : kept++;

  for (const auto& conf : confs_) {
    for (size_t i = 0; i < atoms_.size(); ++i) {
      if (!doomed[i]) std::copy_n(&conf->coords_[3 * i], 3, &conf->coords_[3 * newIndex[i]]);
    }
    conf->coords_.resize(3 * kept);
  }
  std::erase_if(bonds_, [&](const QXBond& bond) { return doomed[bond.begin] || doomed[bond.end]; });
  for (QXBond& bond : bonds_) {
    bond.begin = newIndex[bond.begin];
    bond.end = newIndex[bond.end];
  }
  std::erase_if(atoms_, [&](const QXAtom& atom) { return doomed[atom.index_]; });
  for (QXAtom& atom : atoms_) atom.index_ = newIndex[atom.index_];
}

}  // namespace QXMolKit
