#pragma once

#include <gtest/gtest.h>

#include <sstream>

#include "host/molkit/molstream.h"
#include "support/check.h"
#include "support/messages.h"
#include "support/molecules.h"

namespace QXMolKit {

using QXTest::Conformers;
using QXTest::Coords;
using QXTest::ReadFile;
using QXTest::TemporaryFolder;
using QXTest::WriteFile;

inline std::string TestFile(const std::string& name) {
  return std::string(QX_TEST_DATA) + "/molkit/" + name;
}

inline std::vector<QXMol> ReadAll(const std::string& name) {
  qxmolistream in(name);
  std::vector<QXMol> all;
  for (QXMol mol; QXReadMolecule(in, mol);) all.push_back(mol);
  return all;
}

inline void WriteAll(const std::string& name, const std::vector<QXMol>& all) {
  qxmolostream out(name);
  for (const QXMol& mol : all) EXPECT_TRUE(QXWriteMolecule(out, mol)) << name;
  EXPECT_TRUE(out.close()) << name;
}

/// Everything a molecule holds, as one text to compare.
inline std::string Describe(const QXMCMolBase& mol) {
  std::ostringstream out;
  out.precision(17);
  const auto extras = [&out](const QXMolBase& holder) {
    const QXSDText& text = holder.GetOwnText();
    for (size_t i = 0; i < text.Size(); ++i) out << text.Tag(i) << "=" << text.Value(i) << "\n";
    for (const unsigned int tag : holder.GetTags()) {
      out << "data " << QXCore::QXGetTagName(tag) << ":";
      for (const double value : holder.GetData<std::vector<double>>(tag)) out << " " << value;
      out << "\n";
    }
  };
  out << mol.GetTitle() << "\n" << mol.GetDimension() << mol.GetChiralFlag() << "\n";
  extras(mol);
  for (const QXAtom& a : mol.Atoms()) {
    const QXAtomMarks& m = a.GetMarks();
    out << a.GetIdx() << " " << a.GetAtomicNum() << " " << a.GetName() << " "
        << a.GetPartialCharge() << " " << a.GetFormalCharge() << " " << m.isotope << " "
        << +m.radicals << " " << +m.hydrogens << " " << m.noMoreHydrogens << " " << +m.parity << " "
        << static_cast<int>(m.chirality) << " " << m.mapNumber << "\n";
  }
  for (const QXBond& b : mol.Bonds()) {
    out << b.begin << "-" << b.end << " " << static_cast<int>(b.order) << " "
        << static_cast<int>(b.stereo) << "\n";
  }
  for (const QXConfBase* conf : Conformers(mol)) {
    out << "conformer";
    for (const float value : conf->Coords()) out << " " << value;
    out << "\n";
    extras(*conf);
  }
  return out.str();
}

/// Ethanol with all hydrogens, O and a hydrogen in the middle, and two conformers with data.
inline QXMol MakeMolecule() {
  QXMol mol;
  mol.SetTitle("ethanol");
  for (const unsigned int element : {1u, 6u, 1u, 8u, 6u, 1u, 1u, 1u, 1u}) mol.NewAtom(element);
  for (const auto& [begin, end] :
       {std::pair{1u, 0u}, {1u, 2u}, {1u, 3u}, {1u, 4u}, {4u, 5u}, {4u, 6u}, {4u, 7u}, {3u, 8u}})
    mol.NewBond(begin, end, QXBondOrder::Single);
  std::vector<double> coords(27);
  for (size_t i = 0; i < coords.size(); ++i) coords[i] = 0.125 * static_cast<double>(i);
  mol.SetCoords(coords.data());
  mol.GetAtom(3)->SetPartialCharge(-0.4);
  mol.SetData("grid", std::vector<double>{1, 2});
  QXSetSDData(*mol.GetActive(), "Score", "first");
  mol.GetActive()->SetData("", std::vector<double>{3, 4, 5});

  QXConfBase* second = mol.NewConf(mol.GetActive());
  for (float& value : second->Coords()) value = -value;
  QXSetSDData(*second, "Score", "second");
  second->SetData("", std::vector<double>{6});
  return mol;
}

}  // namespace QXMolKit
