// SD, MOL, MOL2, PDB and SMILES files and Gasteiger charges through RDKit. RDKit is named here and
// nowhere else.

#include <GraphMol/Conformer.h>
#include <GraphMol/FileParsers/FileParsers.h>
#include <GraphMol/FileParsers/MolFileStereochem.h>
#include <GraphMol/MolOps.h>
#include <GraphMol/MonomerInfo.h>
#include <GraphMol/PartialCharges/GasteigerCharges.h>
#include <GraphMol/PeriodicTable.h>
#include <GraphMol/RWMol.h>
#include <GraphMol/SmilesParse/SmilesParse.h>
#include <GraphMol/SmilesParse/SmilesWrite.h>
#include <RDGeneral/RDLog.h>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <set>
#include <sstream>

#include "host/core/throw.h"
#include "host/molkit/charge_text.h"
#include "host/molkit/charges.h"
#include "host/molkit/formats.h"
#include "host/molkit/mol2_record.h"
#include "host/molkit/record_splitter.h"
#include "host/molkit/sd_record.h"

namespace QXMolKit {
namespace {

namespace Prop = RDKit::common_properties;
using RDKit::Atom;
using RDKit::Bond;
using RDKit::Conformer;
using RDKit::ROMol;
using RDKit::RWMol;

/// Keeps RDKit's logs off while any thread of this process works here, and leaves them to the rest
/// of the program as it found them.
class QuietLogs {
 public:
  QuietLogs() {
    const std::lock_guard lock(mutex_);
    if (count_++ == 0) state_ = std::make_unique<RDLog::LogStateSetter>();
  }
  ~QuietLogs() {
    const std::lock_guard lock(mutex_);
    if (--count_ == 0) state_.reset();
  }
  QuietLogs(const QuietLogs&) = delete;
  QuietLogs& operator=(const QuietLogs&) = delete;

 private:
  static inline std::mutex mutex_;
  static inline int count_ = 0;
  static inline std::unique_ptr<RDLog::LogStateSetter> state_;
};

constexpr std::pair<QXBondOrder, Bond::BondType> kOrders[] = {
    {QXBondOrder::Zero, Bond::ZERO},         {QXBondOrder::Single, Bond::SINGLE},
    {QXBondOrder::Double, Bond::DOUBLE},     {QXBondOrder::Triple, Bond::TRIPLE},
    {QXBondOrder::Aromatic, Bond::AROMATIC}, {QXBondOrder::Quadruple, Bond::QUADRUPLE},
    {QXBondOrder::Dative, Bond::DATIVE},     {QXBondOrder::Any, Bond::UNSPECIFIED},
};

QXBondOrder OrderOf(Bond::BondType type) {
  for (const auto& [order, other] : kOrders) {
    if (other == type) return order;
  }
  return QXBondOrder::Any;
}

Bond::BondType TypeOf(QXBondOrder order) {
  for (const auto& [other, type] : kOrders) {
    if (other == order) return type;
  }
  return Bond::UNSPECIFIED;
}

constexpr std::pair<QXBondStereo, Bond::BondDir> kDirections[] = {
    {QXBondStereo::None, Bond::NONE},
    {QXBondStereo::Up, Bond::BEGINWEDGE},
    {QXBondStereo::Down, Bond::BEGINDASH},
    {QXBondStereo::Rising, Bond::ENDUPRIGHT},
    {QXBondStereo::Falling, Bond::ENDDOWNRIGHT}};

Bond::BondDir DirectionOf(const QXBond& bond) {
  if (bond.stereo == QXBondStereo::Either) {
    return bond.order == QXBondOrder::Double ? Bond::EITHERDOUBLE : Bond::UNKNOWN;
  }
  return std::ranges::find(kDirections, bond.stereo, [](auto& d) { return d.first; })->second;
}

/// The mark of a bond as the file has it. RDKit keeps the numbers of mol blocks as properties, of
/// V2000 (1 up, 3 either for double bonds, 4 either, 6 down) or V3000 (1 up, 2 either, 3 down).
QXBondStereo StereoOf(const Bond& bond) {
  unsigned int number = 0;
  if (bond.getPropIfPresent(Prop::_MolFileBondStereo, number)) {
    if (number == 1) return QXBondStereo::Up;
    if (number == 6) return QXBondStereo::Down;
    return number == 3 || number == 4 ? QXBondStereo::Either : QXBondStereo::None;
  }
  if (bond.getPropIfPresent(Prop::_MolFileBondCfg, number)) {
    if (number == 1) return QXBondStereo::Up;
    if (number == 3) return QXBondStereo::Down;
    return number == 2 ? QXBondStereo::Either : QXBondStereo::None;
  }
  const auto* found =
      std::ranges::find(kDirections, bond.getBondDir(), [](auto& d) { return d.second; });
  return found == std::end(kDirections) ? QXBondStereo::None : found->first;
}

QXAtomMarks MarksOf(const Atom& atom, bool withChirality) {
  QXAtomMarks marks;
  marks.isotope = static_cast<std::uint16_t>(atom.getIsotope());
  marks.radicals = static_cast<std::uint8_t>(atom.getNumRadicalElectrons());
  marks.hydrogens = static_cast<std::uint8_t>(atom.getNumExplicitHs());
  marks.noMoreHydrogens = atom.getNoImplicit();
  marks.mapNumber = static_cast<std::uint32_t>(atom.getAtomMapNum());
  if (withChirality && atom.getChiralTag() == Atom::CHI_TETRAHEDRAL_CW) {
    marks.chirality = QXChirality::Clockwise;
  } else if (withChirality && atom.getChiralTag() == Atom::CHI_TETRAHEDRAL_CCW) {
    marks.chirality = QXChirality::CounterClockwise;
  }
  return marks;
}

std::string NameOf(const Atom& atom) {
  std::string name;
  if (atom.getPropIfPresent("_TriposAtomName", name)) return name;
  if (const auto* info = atom.getMonomerInfo()) {
    name = info->getName();
    std::erase(name, ' ');
    return name;
  }
  if (atom.getAtomicNum() == 0) atom.getPropIfPresent(Prop::dummyLabel, name);
  return name;
}

/// 3 for a structure in space, 2 for a drawing, 0 when all atoms stand at the origin.
unsigned int DimensionOf(const ROMol& from) {
  if (from.getNumConformers() == 0) return 0;
  const Conformer& conf = from.getConformer();
  if (from.getNumAtoms() == 1) return conf.is3D() ? 3 : 2;
  bool anyX = false, anyZ = false;
  for (const auto& p : conf.getPositions()) {
    anyX = anyX || p.x != 0 || p.y != 0;
    anyZ = anyZ || p.z != 0;
  }
  if (anyZ) return 3;
  return anyX ? (conf.is3D() ? 3 : 2) : 0;
}

/// Takes over a structure. Returns what is wrong with it.
std::string FromRDKit(const ROMol& from, QXMCMolBase& mol) {
  mol.SetDimension(DimensionOf(from));
  const unsigned int numConfs = std::max(1u, from.getNumConformers());
  for (unsigned int i = 0; i < numConfs; ++i) mol.NewConf();
  mol.Reserve(from.getNumAtoms(), from.getNumBonds());

  for (const Atom* atom : from.atoms()) {
    QXAtom* added = mol.NewAtom(static_cast<unsigned int>(atom->getAtomicNum()));
    added->SetFormalCharge(atom->getFormalCharge());
    added->SetMarks(MarksOf(*atom, mol.GetDimension() == 0));
    added->SetName(NameOf(*atom));
  }
  for (const Bond* bond : from.bonds()) {
    mol.NewBond(bond->getBeginAtomIdx(), bond->getEndAtomIdx(), OrderOf(bond->getBondType()))
        ->stereo = StereoOf(*bond);
  }
  int chiral = 0;
  if (from.getPropIfPresent(Prop::_MolFileChiralFlag, chiral)) mol.SetChiralFlag(chiral == 1);

  const std::unique_ptr<QXIterator<QXConfBase>> confs(mol.GetConfs());
  for (auto conf = from.beginConformers(); conf != from.endConformers(); ++conf, confs->Next()) {
    float* to = confs->Get()->Coords().data();
    for (const auto& p : (*conf)->getPositions()) {
      for (const double value : {p.x, p.y, p.z}) {
        *to = static_cast<float>(value);
        if (!std::isfinite(*to++)) return "it has a coordinate that is not finite";
      }
    }
  }
  return {};
}

RWMol ToRDKit(const QXMCMolBase& mol) {
  RWMol to;
  for (const QXAtom& atom : mol.Atoms()) {
    Atom added(static_cast<int>(atom.GetAtomicNum()));
    const QXAtomMarks& marks = atom.GetMarks();
    added.setFormalCharge(atom.GetFormalCharge());
    added.setIsotope(marks.isotope);
    added.setNumRadicalElectrons(marks.radicals);
    added.setNumExplicitHs(marks.hydrogens);
    added.setNoImplicit(marks.noMoreHydrogens && atom.GetAtomicNum() != 0);
    added.setAtomMapNum(static_cast<int>(marks.mapNumber));
    if (marks.chirality == QXChirality::Clockwise) added.setChiralTag(Atom::CHI_TETRAHEDRAL_CW);
    if (marks.chirality == QXChirality::CounterClockwise) {
      added.setChiralTag(Atom::CHI_TETRAHEDRAL_CCW);
    }
    if (atom.GetAtomicNum() == 0 && *atom.GetName()) {
      added.setProp(Prop::dummyLabel, std::string(atom.GetName()));
    }
    to.addAtom(&added, false, false);
  }
  for (const QXBond& bond : mol.Bonds()) {
    to.addBond(bond.begin, bond.end, TypeOf(bond.order));
    Bond* added = to.getBondBetweenAtoms(bond.begin, bond.end);
    added->setBondDir(DirectionOf(bond));
    if (bond.order == QXBondOrder::Aromatic) {
      added->setIsAromatic(true);
      added->getBeginAtom()->setIsAromatic(true);
      added->getEndAtom()->setIsAromatic(true);
    }
  }
  const std::unique_ptr<QXIterator<QXConfBase>> confs(mol.GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) {
    auto added = std::make_unique<Conformer>(mol.NumAtoms());
    bool inSpace = mol.GetDimension() == 3;
    const auto coords = confs->Get()->Coords();
    for (unsigned int i = 0; i < mol.NumAtoms(); ++i) {
      added->setAtomPos(i, {coords[3 * i], coords[3 * i + 1], coords[3 * i + 2]});
      inSpace = inSpace || coords[3 * i + 2] != 0;
    }
    added->set3D(inSpace);
    to.addConformer(added.release(), true);
  }
  to.setProp(Prop::_Name, SafeTitle(mol.GetTitle()));
  if (mol.GetChiralFlag()) to.setProp(Prop::_MolFileChiralFlag, 1);
  to.updatePropertyCache(false);
  return to;
}

// Reading.

constexpr size_t kParityColumn = 41;

/// The parities of the atoms of a V2000 block, which RDKit passes over.
void ReadParities(const std::string& block, QXMCMolBase& mol) {
  std::istringstream in(block);
  std::string line;
  for (int i = 0; i < 4; ++i) std::getline(in, line);
  if (line.find("V3000") != line.npos) return;
  for (QXAtom& atom : mol.Atoms()) {
    if (!std::getline(in, line) || line.size() <= kParityColumn) continue;
    const char parity = line[kParityColumn];
    if (parity < '1' || parity > '3') continue;
    QXAtomMarks marks = atom.GetMarks();
    marks.parity = static_cast<std::uint8_t>(parity - '0');
    atom.SetMarks(marks);
  }
}

std::string ParseSD(const std::string& text, size_t firstLine, QXMCMolBase& mol,
                    RecordReport& report) {
  SDRecord record;
  const std::string problem = SplitSDRecord(text, record);
  report.title = record.title;
  if (!problem.empty()) return problem;
  std::istringstream block(record.block);
  auto line = static_cast<unsigned int>(firstLine - 1);
  const std::unique_ptr<RWMol> from(RDKit::MolDataStreamToMol(block, line, false, false, false));
  if (!from) return "its structure is not understood";
  const std::string wrong = FromRDKit(*from, mol);
  ReadParities(record.block, mol);
  mol.SetTitle(record.title);
  mol.GetActive()->GetOwnText() = record.data;
  const std::string charges = QXReadChargeText(record.data, mol);
  if (!charges.empty()) {
    report.problem = charges + ": all charges are left at 0, correct or remove the tag";
  }
  return wrong;
}

bool IsElement(const std::string& symbol) {
  static const std::set<std::string> symbols = [] {
    std::set<std::string> all;
    for (unsigned int i = 1; i <= 118; ++i) {
      all.insert(RDKit::PeriodicTable::getTable()->getElementSymbol(i));
    }
    return all;
  }();
  return symbols.contains(symbol);
}

std::string ParseMol2(const std::string& text, QXMCMolBase& mol, RecordReport& report) {
  Mol2Record record;
  const std::string problem = ReadMol2Record(text, IsElement, record);
  report.title = record.title;
  if (!problem.empty()) return problem;
  const std::unique_ptr<RWMol> from(RDKit::Mol2BlockToMol(record.clean, false, false));
  if (!from) return "its structure is not understood";
  const std::string wrong = FromRDKit(*from, mol);
  mol.SetTitle(record.title);
  for (QXAtom& atom : mol.Atoms()) {
    if (!record.charges.empty()) atom.SetPartialCharge(record.charges.at(atom.GetIdx()));
  }
  return wrong;
}

std::string ParsePDB(const std::string& text, QXMCMolBase& mol, RecordReport& report) {
  const std::unique_ptr<RWMol> from(RDKit::PDBBlockToMol(text, false, false));
  if (!from || from->getNumAtoms() == 0) return "it has no atoms";
  from->getPropIfPresent(Prop::_Name, report.title);
  mol.SetTitle(report.title);
  return FromRDKit(*from, mol);
}

std::string ParseSmiles(const std::string& text, QXMCMolBase& mol, RecordReport& report) {
  std::istringstream in(text);
  std::string smiles;
  in >> smiles >> std::ws;
  std::getline(in, report.title);
  RDKit::SmilesParserParams params;
  params.sanitize = false;
  params.removeHs = false;
  params.parseName = false;
  params.allowCXSMILES = false;
  const std::unique_ptr<RWMol> from(RDKit::SmilesToMol(smiles, params));
  if (!from) return "its SMILES is not understood";
  mol.SetTitle(report.title);
  return FromRDKit(*from, mol);
}

class TextReader : public FormatReader {
 public:
  TextReader(std::istream& in, QXMolFormat format) : records_(in, format), format_(format) {}

  ReadOutcome Read(QXMCMolBase& mol, RecordReport& report) override {
    if (!records_.Next(record_)) return ReadOutcome::End;
    report.line = record_.firstLine;
    std::string problem;
    try {
      problem = Parse(mol, report);
    } catch (const std::exception& error) {
      problem = error.what();
    }
    if (problem.empty()) return ReadOutcome::Molecule;
    report.problem = problem;
    return ReadOutcome::Skipped;
  }

 private:
  std::string Parse(QXMCMolBase& mol, RecordReport& report) {
    if (record_.tooLarge) {
      report.title = record_.text.substr(0, record_.text.find('\n'));
      return "it is larger than 64 MiB";
    }
    const QuietLogs quiet;
    switch (format_) {
      case QXMolFormat::MOL2:
        return ParseMol2(record_.text, mol, report);
      case QXMolFormat::PDB:
        return ParsePDB(record_.text, mol, report);
      case QXMolFormat::SMILES:
        return ParseSmiles(record_.text, mol, report);
      default:
        return ParseSD(record_.text, record_.firstLine, mol, report);
    }
  }

  RecordSplitter records_;
  RecordSplitter::Record record_;
  QXMolFormat format_;
};

// Writing.

/// Whether all coordinates fit the columns of V2000, %10.4f.
bool FitsColumns(const Conformer& conf) {
  return std::ranges::all_of(conf.getPositions(), [](const auto& p) {
    return std::min({p.x, p.y, p.z}) > -9999.99995 && std::max({p.x, p.y, p.z}) < 99999.99995;
  });
}

/// Puts the parities of the file read back into a V2000 block, where RDKit writes its own.
void WriteParities(const QXMCMolBase& mol, std::string& block) {
  size_t line = 0;
  for (int i = 0; i < 3; ++i) line = block.find('\n', line) + 1;
  if (block.substr(line, block.find('\n', line) - line).ends_with("V3000")) return;
  for (const QXAtom& atom : mol.Atoms()) {
    line = block.find('\n', line) + 1;
    block[line + kParityColumn] = static_cast<char>('0' + atom.GetMarks().parity);
  }
}

std::string WriteSD(const QXMCMolBase& mol, const ROMol& to) {
  std::string text;
  const std::unique_ptr<QXIterator<QXConfBase>> confs(mol.GetConfs());
  for (int i = 0; i == 0 || (confs && confs->IsValid()); ++i) {
    const bool hasConf = confs != nullptr;
    const bool inV3000 = hasConf && !FitsColumns(to.getConformer(i));
    // No stereochemistry is perceived: the marks of the file are on the bonds.
    std::string block = RDKit::MolToMolBlock(to, false, hasConf ? i : -1, false, inV3000);
    WriteParities(mol, block);
    text += block;
    QXSDText data = QXGetRecordText(hasConf ? static_cast<const QXMolBase&>(*confs->Get()) : mol);
    QXWriteChargeText(mol, data);
    text += WriteSDData(data) + "$$$$\n";
    if (!hasConf) break;
    confs->Next();
  }
  return text;
}

/// A canonical SMILES with stereochemistry, hydrogens implied; of a structure that makes no sense
/// to RDKit, its bonds as they stand.
std::string WriteSmiles(const QXMCMolBase& mol, RWMol to) {
  std::string smiles;
  try {
    RWMol sane(to);
    RDKit::MolOps::sanitizeMol(sane);
    if (mol.GetDimension() == 3) {
      RDKit::MolOps::assignStereochemistryFrom3D(sane);
    } else {
      if (mol.GetDimension() == 2) {
        RDKit::DetectAtomStereoChemistry(sane, &sane.getConformer());
        RDKit::MolOps::detectBondStereochemistry(sane);
      }
      RDKit::MolOps::assignStereochemistry(sane, true, true);
    }
    RDKit::MolOps::removeHs(sane);
    smiles = RDKit::MolToSmiles(sane);
  } catch (const std::exception&) {
    smiles = RDKit::MolToSmiles(to);
  }
  return smiles + " " + SafeTitle(mol.GetTitle()) + "\n";
}

class TextWriter : public FormatWriter {
 public:
  explicit TextWriter(QXMolFormat format) : format_(format) {}

  std::string Write(const QXMCMolBase& mol, std::string& problem) override {
    if (format_ == QXMolFormat::MOL && (hasWritten_ || mol.NumConfs() > 1)) {
      problem = "a MOL file holds one molecule of one conformer: use .sdf";
      return {};
    }
    const QuietLogs quiet;
    try {
      const RWMol to = ToRDKit(mol);
      hasWritten_ = true;
      switch (format_) {
        case QXMolFormat::PDB:
          return RDKit::MolToPDBBlock(to);
        case QXMolFormat::SMILES:
          return WriteSmiles(mol, to);
        default:
          return WriteSD(mol, to);
      }
    } catch (const std::exception& error) {
      problem = std::string(error.what()) + ": correct its structure";
      return {};
    }
  }

 private:
  QXMolFormat format_;
  bool hasWritten_ = false;
};

}  // namespace

bool HasTextFormats() {
  return true;
}

std::unique_ptr<FormatReader> MakeTextReader(std::istream& in, QXMolFormat format) {
  return std::make_unique<TextReader>(in, format);
}

std::unique_ptr<FormatWriter> MakeTextWriter(QXMolFormat format) {
  return std::make_unique<TextWriter>(format);
}

bool QXAssignGasteigerCharges(QXMolBase& mol) {
  const QuietLogs quiet;
  try {
    RWMol to = ToRDKit(mol.GetMolecule());
    RDKit::MolOps::sanitizeMol(to);
    std::vector<double> charges(to.getNumAtoms());
    RDKit::computeGasteigerCharges(to, charges, 12, true);
    for (const Atom* atom : to.atoms()) {
      double hydrogens = 0;
      atom->getPropIfPresent(Prop::_GasteigerHCharge, hydrogens);
      charges[atom->getIdx()] += hydrogens;
      if (!std::isfinite(charges[atom->getIdx()])) throw std::runtime_error("no finite charges");
    }
    for (QXAtom& atom : mol.GetMolecule().Atoms()) atom.SetPartialCharge(charges[atom.GetIdx()]);
    return true;
  } catch (const std::exception& error) {
    QXCore::QXThrow.Error("\"%s\": Gasteiger charges are impossible (%s): give charges in the file",
                          mol.GetTitle(), error.what());
    return false;
  }
}

}  // namespace QXMolKit
