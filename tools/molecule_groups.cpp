#include "tools/molecule_groups.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <system_error>
#include <utility>

#include "tools/partial_charges.h"

namespace QXTools {
namespace {

using QXMolKit::QXAtom;
using QXMolKit::QXBond;
using QXMolKit::QXMCMolBase;
using QXMolKit::QXMol;

bool SameStructure(const QXMol& a, const QXMol& b) {
  const QXMCMolBase& first = a;
  const QXMCMolBase& second = b;
  const auto sameAtom = [](const QXAtom& x, const QXAtom& y) {
    return x.GetAtomicNum() == y.GetAtomicNum() && x.GetFormalCharge() == y.GetFormalCharge();
  };
  const auto sameBond = [](const QXBond& x, const QXBond& y) {
    return x.begin == y.begin && x.end == y.end && x.order == y.order;
  };
  return std::strcmp(a.GetTitle(), b.GetTitle()) == 0 &&
         std::ranges::equal(first.Atoms(), second.Atoms(), sameAtom) &&
         std::ranges::equal(first.Bonds(), second.Bonds(), sameBond);
}

void AppendConformers(const QXMol& from, QXMol& to) {
  const std::unique_ptr<QXMolKit::QXIterator<QXMolKit::QXConfBase>> confs(from.GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) to.NewConf(confs->Get());
}

}  // namespace

GroupReader::GroupReader(const std::string& path, bool group) : stream_(path), group_(group) {
  if (IsOpen()) ReadAhead();
}

void GroupReader::ReadAhead() {
  hasAhead_ = QXMolKit::QXReadMolecule(stream_, ahead_);
  aheadRecord_ = static_cast<unsigned int>(stream_.RecordNumber());
}

bool GroupReader::Next(MoleculeGroup& next) {
  if (!hasAhead_) return false;
  next.mol = std::move(ahead_);
  next.records.assign(next.mol.NumConfs(), aheadRecord_);
  next.charges.assign(next.mol.NumConfs(), GetPartialCharges(next.mol));
  ReadAhead();
  while (group_ && hasAhead_ && SameStructure(next.mol, ahead_)) {
    AppendConformers(ahead_, next.mol);
    next.records.resize(next.mol.NumConfs(), aheadRecord_);
    next.charges.resize(next.mol.NumConfs(), GetPartialCharges(ahead_));
    ReadAhead();
  }
  return true;
}

size_t CountRecords(const std::string& path) {
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(path, ignored)) return 0;  // a pipe is read only once
  std::string ending = std::filesystem::path(path).extension().string();
  std::ranges::transform(ending, ending.begin(),
                         [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  const bool sd = ending == ".sdf" || ending == ".sd";
  if (!sd && ending != ".mol2") return 0;
  const std::string mark = sd ? "$$$$" : "@<TRIPOS>MOLECULE";
  std::ifstream file(path, std::ios::binary);
  size_t records = 0;
  for (std::string line; std::getline(file, line);) records += line.starts_with(mark);
  return records;
}

}  // namespace QXTools
