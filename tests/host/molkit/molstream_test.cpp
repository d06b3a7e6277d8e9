#include "host/molkit/molstream.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cmath>
#include <map>
#include <numeric>
#include <random>

#include "host/molkit/charges.h"
#include "host/molkit/record_splitter.h"
#include "molkit_testing.h"

namespace QXMolKit {
namespace {

using QXCore::QXErrorLevel;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

std::vector<std::string> Titles(const std::vector<QXMol>& all) {
  std::vector<std::string> titles;
  for (const QXMol& mol : all) titles.emplace_back(mol.GetTitle());
  return titles;
}

/// A record of one carbon, with data items.
std::string Record(const std::string& title, const std::string& data) {
  return title +
         "\n     test          3D\n\n  1  0  0  0  0  0  0  0  0  0999 V2000\n"
         "    1.0000    2.0000    3.0000 C   0  0\nM  END\n" +
         data + "$$$$\n";
}

std::string SmilesOf(const QXMol& mol) {
  const TemporaryFolder folder;
  WriteAll(folder / "one.smi", {mol});
  const std::string line = ReadFile(folder / "one.smi");
  return line.substr(0, line.find(' '));
}

TEST(Reading, GivesTheWellFormedRecordsOfHostileFiles) {
  const std::map<std::string, std::vector<std::string>> wellFormed = {
      {"coincident_atoms.sdf", {"toluene", "all_at_origin", "glycine"}},
      {"counts_too_many.sdf", {"ethanol", "glycine"}},
      {"crlf.mol2", {"toluene", "glycine"}},
      {"crlf.sdf", {"ethanol", "toluene"}},
      {"dummy_atoms.mol2", {"toluene", "glycine", "ethanol"}},
      {"duplicate_and_blank_titles.sdf", {"ligand", "ligand", "", ""}},
      {"flat_2d.sdf", {"acetanilide_2d", "linear_collinear", "acetonitrile"}},
      {"huge_counts.sdf", {"acetonitrile"}},
      {"missing_final_separator.sdf", {"ethanol", "toluene"}},
      {"nan_inf_coordinates.sdf", {"ethanol", "acetonitrile"}},
      {"one_atom.sdf", {"argon", "sodium_cation", "oxygen"}},
      {"only_hydrogens.sdf", {"H2", "H_atom", "H_cloud", "glycine"}},
      {"truncated.mol2", {"ethanol"}},
      {"truncated_atom_block.sdf", {"ethanol"}},
      {"utf8_title.sdf", {"éthanol – α-Ligand エタノール 🧪", "toluol_äöü"}},
      {"v3000.sdf", {"toluene", "glycine", "ethanol"}},
      {"zero_atoms.sdf", {"ethanol", "nothing", "glycine"}},
  };
  for (const auto& [file, titles] : wellFormed) {
    const QXTest::Messages messages;
    const std::vector<QXMol> all = ReadAll(TestFile("hostile/" + file));
    EXPECT_EQ(Titles(all), titles) << file;
    for (const QXMol& mol : all) {
      EXPECT_EQ(mol.NumAtoms() == 0, mol.GetTitle() == std::string("nothing")) << file;
      for (const double value : Coords(mol)) EXPECT_LT(std::fabs(value), 100) << file;
    }
  }
}

TEST(Reading, ReportsWhatItSkipsAndGoesOn) {
  const std::string file = TestFile("hostile/nan_inf_coordinates.sdf");
  const QXTest::Messages messages;
  qxmolistream in(file);
  QXMol mol;
  std::vector<size_t> numbers;
  while (QXReadMolecule(in, mol)) numbers.push_back(in.RecordNumber());
  EXPECT_TRUE(in);
  EXPECT_THAT(numbers, ElementsAre(1, 5));
  EXPECT_STREQ(mol.GetTitle(), "acetonitrile") << "the end leaves the last molecule";
  ASSERT_EQ(in.SkippedRecords().size(), 3u);
  const QXSkippedRecord& skipped = in.SkippedRecords()[0];
  EXPECT_EQ(skipped.file, file);
  EXPECT_EQ(skipped.record, 2u);
  EXPECT_EQ(skipped.line, 27u);
  EXPECT_EQ(skipped.title, "toluene");
  EXPECT_EQ(skipped.reason, "Cannot process coordinates on line 33");
  ASSERT_EQ(messages.all.size(), 3u);
  EXPECT_EQ(messages.all[0].first, QXErrorLevel::Warning);
  EXPECT_EQ(messages.all[0].second,
            file +
                ":2: \"toluene\" cannot be read, Cannot process coordinates on line 33: "
                "skipped, correct or remove the record");
}

TEST(Reading, RefusesFilesThatAreNone) {
  const TemporaryFolder folder;
  WriteFile(folder / "molecules.xyz", "");
  const QXTest::Messages messages;
  for (const std::string& name : {folder / "none.sdf", folder / "molecules.xyz", folder / ""}) {
    qxmolistream in(name);
    EXPECT_FALSE(in);
    QXMol mol;
    EXPECT_FALSE(QXReadMolecule(in, mol));
    EXPECT_EQ(in.Error(), messages.all.back().second);
  }
  ASSERT_EQ(messages.all.size(), 3u) << "one report each";
  EXPECT_EQ(messages.all[0].second,
            folder / "none.sdf" + std::string(": cannot be opened for reading (No such file "
                                              "or directory): check the name and the "
                                              "permissions"));
  EXPECT_THAT(messages.all[1].second, HasSubstr("the extension \".xyz\" names no molecule format"));
  std::filesystem::create_directory(folder / "folder.sdf");
  EXPECT_THAT(qxmolistream(folder / "folder.sdf").Error(), HasSubstr("this is a directory"));

  WriteFile(folder / "molecules.xyz", Record("renamed", ""));
  qxmolistream named(folder / "molecules.xyz", QXMolFormat::SDF);
  QXMol mol;
  EXPECT_TRUE(QXReadMolecule(named, mol));
  EXPECT_EQ(QXGetMolFormat("A.B/LIGANDS.SdF"), QXMolFormat::SDF);
  EXPECT_EQ(QXGetMolFormat(".qxb"), QXMolFormat::QXB) << "the record of a molecule without title";
}

TEST(Reading, TakesPartialChargesFromTheFile) {
  const TemporaryFolder folder;
  const std::string tag = ">  <PartialCharges>\n";
  WriteFile(folder / "charges.sdf",
            Record("plain", tag + "+0.25\n\n") + Record("none", "") +
                Record("count", tag + "0.1 0.2\n\n") + Record("word", tag + "0.1x\n\n") +
                Record("nan", tag + "nan\n\n") +
                Record("atom", ">  <atom.dprop.PartialCharge>\n-0.5\n\n" + tag + "0.1\n\n"));
  const QXTest::Messages messages;
  std::vector<double> charges;
  for (const QXMol& mol : ReadAll(folder / "charges.sdf"))
    charges.push_back(mol.GetAtom(0)->GetPartialCharge());
  EXPECT_THAT(charges, ElementsAre(0.25, 0, 0, 0, 0, -0.5));
  ASSERT_EQ(messages.all.size(), 3u);
  EXPECT_EQ(messages.all[0].second,
            folder / "charges.sdf" +
                std::string(":3: PartialCharges has 2 values for 1 atoms: all charges are left at "
                            "0, correct or remove the tag"));
  EXPECT_THAT(messages.all[1].second, HasSubstr("holds \"0.1x\", which is no number"));

  std::string many;
  for (int i = 0; i < 9; ++i) many += Record("count", tag + "0.1 0.2\n\n");
  WriteFile(folder / "charges.sdf", many);
  EXPECT_EQ(ReadAll(folder / "charges.sdf").size(), 9u);
  EXPECT_EQ(messages.all.size(), 3u + 6u);  // five, and that there are more
  EXPECT_THAT(messages.all.back().second, HasSubstr(":6: has a fault, too"));

  const QXMol dummies = ReadAll(TestFile("hostile/dummy_atoms.mol2"))[1];
  EXPECT_EQ(dummies.GetAtom(0)->GetPartialCharge(), -0.321);
  EXPECT_STREQ(dummies.GetAtom(0)->GetName(), "N1");
  for (const unsigned int i : {1u, 4u, 6u}) EXPECT_EQ(dummies.GetAtom(i)->GetAtomicNum(), 0u);
}

TEST(Gasteiger, AgreesWithTheChargesInTheFile) {
  const auto charges = [](const QXMCMolBase& mol) {
    std::vector<double> all;
    for (const QXAtom& atom : mol.Atoms()) all.push_back(atom.GetPartialCharge());
    return all;
  };
  for (QXMol& mol : ReadAll(TestFile("drugs.sdf"))) {
    const std::vector<double> inFile = charges(mol);
    ASSERT_TRUE(QXAssignGasteigerCharges(mol));
    EXPECT_TRUE(QXTest::AllNear(charges(mol), inFile, 0.5e-5 + 1e-12)) << "five decimals";
    double formal = 0;
    for (const QXAtom& atom : static_cast<QXMCMolBase&>(mol).Atoms())
      formal += atom.GetFormalCharge();
    for (int round = 0; round < 2; ++round) {  // with hydrogens, and with implied ones
      const std::vector<double> all = charges(mol);
      EXPECT_NEAR(std::accumulate(all.begin(), all.end(), 0.0), formal, 1e-6);
      QXSuppressHydrogens(mol, false, false, true);
      ASSERT_TRUE(QXAssignGasteigerCharges(mol));
    }
  }
  QXMol impossible;
  for (int i = 0; i < 7; ++i) impossible.NewAtom(6);
  for (unsigned int i = 1; i < 7; ++i) impossible.NewBond(0, i, QXBondOrder::Double);
  impossible.GetAtom(0)->SetPartialCharge(0.5);
  const QXTest::Messages messages;
  EXPECT_FALSE(QXAssignGasteigerCharges(impossible));
  EXPECT_EQ(impossible.GetAtom(0)->GetPartialCharge(), 0.5);
  EXPECT_EQ(messages.all.size(), 1u);
}

TEST(RoundTrip, OfSDKeepsStructureCoordinatesAndData) {
  const TemporaryFolder folder;
  for (const char* name : {"drugs.sdf", "drawings.sdf"}) {
    const std::vector<QXMol> all = ReadAll(TestFile(name));
    ASSERT_GE(all.size(), 9u);
    WriteAll(folder / "again.sdf", all);
    const std::vector<QXMol> again = ReadAll(folder / "again.sdf");
    ASSERT_EQ(Titles(again), Titles(all));
    for (size_t i = 0; i < all.size(); ++i) {
      EXPECT_EQ(SmilesOf(again[i]), SmilesOf(all[i]));
      // Four decimals, then single precision below 32.
      EXPECT_TRUE(QXTest::AllNear(Coords(again[i]), Coords(all[i]), 0.5e-4 + std::exp2(-20)));
      EXPECT_EQ(QXGetSDTags(again[i]), QXGetSDTags(all[i]));
      for (const std::string& tag : QXGetSDTags(all[i]))
        EXPECT_EQ(QXGetSDData(again[i], tag), QXGetSDData(all[i], tag));
      EXPECT_EQ(again[i].GetDimension(), all[i].GetDimension());
      EXPECT_EQ(again[i].GetChiralFlag(), all[i].GetChiralFlag());
    }
    // Nothing is lost by a second pass, marks of wedges and parities included.
    WriteAll(folder / "third.sdf", again);
    EXPECT_EQ(ReadFile(folder / "third.sdf"), ReadFile(folder / "again.sdf"));
  }
}

TEST(RoundTrip, UnderstandsStereochemistry) {
  for (const QXMol& mol : ReadAll(TestFile("drawings.sdf"))) {
    EXPECT_EQ(SmilesOf(mol), mol.GetTitle());
    EXPECT_EQ(mol.GetDimension(), mol.NumAtoms() == 0 ? 0u : 2u);
  }
  const TemporaryFolder folder;
  for (const QXMol& mol : ReadAll(TestFile("drugs.sdf"))) {
    // The SMILES of the file, with the stereochemistry of the conformer, read without coordinates.
    WriteFile(folder / "one.smi", QXGetSDData(mol, "SMILES_3D") + " a title\n");
    const QXMol fromSmiles = ReadAll(folder / "one.smi").at(0);
    EXPECT_STREQ(fromSmiles.GetTitle(), "a title");
    EXPECT_EQ(fromSmiles.GetDimension(), 0u);
    EXPECT_EQ(SmilesOf(fromSmiles), SmilesOf(mol)) << mol.GetTitle();
    QXMol heavy = mol;
    QXSuppressHydrogens(heavy, false, false, true);
    EXPECT_EQ(SmilesOf(heavy), SmilesOf(mol)) << mol.GetTitle();
  }
  // A hydrogen taken from any place among the neighbours leaves the centre as it is.
  for (const char* smiles : {"[H][C@](F)(Cl)Br", "F[C@]([H])(Cl)Br", "F[C@](Cl)([H])Br",
                             "F[C@](Cl)(Br)[H]", "[H]n1cccc1"}) {
    WriteFile(folder / "one.smi", smiles);
    QXMol mol = ReadAll(folder / "one.smi").at(0);
    const std::string before = SmilesOf(mol);
    QXSuppressHydrogens(mol, false, false, true);
    EXPECT_EQ(SmilesOf(mol), before) << smiles;
  }
}

TEST(Writing, GivesEachConformerARecordWithItsText) {
  const TemporaryFolder folder;
  QXMol mol = MakeMolecule();
  QXSetSDData(mol, "Name", "both");
  QXSetSDData(*Conformers(mol)[1], "Name", "own");
  WriteAll(folder / "two.sdf", {mol});
  WriteAll(folder / "two.pdb", {mol});
  const std::vector<QXMol> records = ReadAll(folder / "two.sdf");
  ASSERT_EQ(records.size(), 2u);
  for (size_t i = 0; i < 2; ++i) {
    EXPECT_THAT(QXGetSDTags(records[i]), ElementsAre("Name", "Score", "PartialCharges"));
    EXPECT_EQ(QXGetSDData(records[i], "Name"), i == 0 ? "both" : "own");
    EXPECT_EQ(QXGetSDData(records[i], "Score"), i == 0 ? "first" : "second");
    EXPECT_EQ(records[i].GetAtom(3)->GetPartialCharge(), -0.4);
    EXPECT_TRUE(QXTest::AllNear(Coords(records[i]), Coords(*Conformers(mol)[i]), 0.5e-4 + 1e-6));
  }
  const QXMol models = ReadAll(folder / "two.pdb").at(0);
  ASSERT_EQ(models.NumConfs(), 2u);
  EXPECT_TRUE(
      QXTest::AllNear(Coords(*Conformers(models)[1]), Coords(*Conformers(mol)[1]), 0.5e-3 + 1e-6));
}

TEST(Writing, MakesTextSafe) {
  const TemporaryFolder folder;
  QXMol mol;
  mol.NewAtom(6);
  mol.SetTitle("$$$$ two\nlines");
  QXSetSDData(mol, "a>\nb<", "x");
  QXSetSDData(mol, "", "no tag");
  QXSetSDData(mol, "lines", "one\n\n$$$$\r\n> <fake>\nlast");
  QXSetSDData(mol, "empty", "");
  QXSetSDData(mol, "blank", "\n");
  WriteAll(folder / "safe.sdf", {mol, mol});
  const std::vector<QXMol> all = ReadAll(folder / "safe.sdf");
  ASSERT_EQ(all.size(), 2u);
  EXPECT_STREQ(all[1].GetTitle(), " $$$$ two lines");
  EXPECT_THAT(QXGetSDTags(all[1]), ElementsAre("a__b_", "", "lines", "empty", "blank"));
  EXPECT_EQ(QXGetSDData(all[1], ""), "no tag");
  EXPECT_EQ(QXGetSDData(all[1], "lines"), "one\n \n $$$$\n> <fake>\nlast");
  EXPECT_EQ(QXGetSDData(all[1], "empty"), "");
  EXPECT_EQ(QXGetSDData(all[1], "blank"), " ");
}

TEST(Writing, FitsWhatTheColumnsDoNotHold) {
  const TemporaryFolder folder;
  std::vector<double> coords;
  for (int i = 0; i < 1200; ++i) coords.insert(coords.end(), {0.5 * i, 1, 0.25});
  const std::vector<double> place = {-12345.5, 250000, 1};
  QXMol large = QXTest::Carbons(coords);
  for (unsigned int i = 1; i < 1200; ++i) large.NewBond(i - 1, i, QXBondOrder::Single);
  WriteAll(folder / "large.sdf", {large, QXTest::Carbons(place)});
  const std::vector<QXMol> all = ReadAll(folder / "large.sdf");
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(Coords(all[0]), coords);
  EXPECT_EQ(all[0].NumBonds(), 1199u);
  EXPECT_EQ(Coords(all[1]), place);
}

TEST(Writing, ReportsFailuresOnce) {
  const TemporaryFolder folder;
  const QXMol mol = MakeMolecule();
  const QXTest::Messages messages;
  {
    qxmolostream mol2(folder / "a.mol2"), nowhere(folder / "none/a.sdf");
    EXPECT_FALSE(QXWriteMolecule(mol2, mol));
    EXPECT_FALSE(QXWriteMolecule(nowhere, mol));
    EXPECT_FALSE(nowhere.close());
  }
  ASSERT_EQ(messages.all.size(), 2u);
  EXPECT_EQ(
      messages.all[0].second,
      folder / "a.mol2" +
          std::string(": MOL2 files are read, not written: use .sdf, .mol, .pdb, .smi or .qxb"));
  if (std::filesystem::exists("/dev/full")) {
    for (const QXMolFormat format : {QXMolFormat::SDF, QXMolFormat::QXB}) {
      qxmolostream full("/dev/full", format);
      for (int i = 0; i < 100; ++i) QXWriteMolecule(full, mol);
      EXPECT_FALSE(full.close());
      EXPECT_FALSE(full.close());
      EXPECT_EQ(messages.all.back().second,
                "/dev/full: writing failed (No space left on device): make room on the disk and "
                "write the file again");
    }
    EXPECT_EQ(messages.all.size(), 4u);
  }
  QXMol single(*mol.GetActive(), 1);
  qxmolostream one(folder / "a.mol");
  EXPECT_FALSE(QXWriteMolecule(one, mol));
  EXPECT_TRUE(QXWriteMolecule(one, single));
  EXPECT_FALSE(QXWriteMolecule(one, single));
  EXPECT_THAT(messages.all.back().second,
              HasSubstr("holds one molecule of one conformer: use .sdf"));
  EXPECT_TRUE(one.close()) << "what was written is good";
  EXPECT_FALSE(QXWriteMolecule(one, single));
}

TEST(Splitter, BoundsMemoryAndKeepsStep) {
  std::istringstream in(
      "\xEF\xBB\xBF"
      "a\r\nb\n$$$$\n" +
      std::string(500, 'x') + "\n$$$$\nc\n$$$$ \n\n");
  RecordSplitter splitter(in, QXMolFormat::SDF, 100);
  RecordSplitter::Record record;
  ASSERT_TRUE(splitter.Next(record));
  EXPECT_EQ(record.text, "a\nb\n");
  ASSERT_TRUE(splitter.Next(record));
  EXPECT_TRUE(record.tooLarge);
  EXPECT_LE(record.text.size(), 100u);
  ASSERT_TRUE(splitter.Next(record));
  EXPECT_EQ(record.text, "c\n");
  EXPECT_EQ(record.firstLine, 6u);
  EXPECT_FALSE(record.tooLarge);
  EXPECT_FALSE(splitter.Next(record)) << "blank lines at the end are no record";

  const TemporaryFolder folder;
  const std::string longTitle(100000, 'x');
  std::string charges;
  for (int i = 0; i < 14286; ++i) charges += "0.0001 ";
  WriteFile(folder / "long.sdf", Record(longTitle, ">  <PartialCharges>\n" + charges + "\n\n"));
  const QXTest::Messages messages;
  EXPECT_THAT(Titles(ReadAll(folder / "long.sdf")), ElementsAre(longTitle));
  ASSERT_EQ(messages.all.size(), 1u);
  EXPECT_LT(messages.all[0].second.size(), 300u);
}

// Random damage to files of every text format: whatever is read is a sound molecule, and all of it
// ends soon.
TEST(Reading, SurvivesRandomDamage) {
  const TemporaryFolder folder;
  WriteAll(folder / "base.pdb", {ReadAll(TestFile("drugs.sdf"))[0]});
  WriteAll(folder / "base.smi", ReadAll(TestFile("drugs.sdf")));
  const std::string bases[] = {TestFile("hostile/v3000.sdf"), TestFile("drawings.sdf"),
                               TestFile("hostile/dummy_atoms.mol2"), folder / "base.pdb",
                               folder / "base.smi"};
  const QXTest::Messages messages;
  std::mt19937 random(20240229);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  size_t numRead = 0;
  for (int round = 0; round < 20 && std::chrono::steady_clock::now() < deadline; ++round) {
    for (const std::string& base : bases) {
      std::string bytes = ReadFile(base);
      for (auto k = 1 + random() % 6; k > 0; --k) {
        const size_t at = random() % bytes.size();
        if (random() % 3 > 0)
          bytes.replace(at, random() % 40, bytes.substr(random() % bytes.size(), random() % 40));
        else
          bytes[at] = static_cast<char>(random() % 256);
      }
      const std::string name =
          folder / ("damaged" + std::filesystem::path(base).extension().string());
      WriteFile(name, bytes);
      for (const QXMol& mol : ReadAll(name)) {
        ++numRead;
        for (const double value : Coords(mol)) ASSERT_TRUE(std::isfinite(value)) << bytes;
        for (unsigned int i = 0; i < mol.NumBonds(); ++i)
          ASSERT_LT(std::max(mol.GetBond(i)->begin, mol.GetBond(i)->end), mol.NumAtoms());
        for (const char* out : {"out.sdf", "out.smi", "out.pdb"})
          QXWriteMolecule(*std::make_unique<qxmolostream>(folder / out), mol);  // may be refused
      }
    }
  }
  EXPECT_GT(numRead, 100u);
  EXPECT_GT(messages.all.size(), 10u);
}

}  // namespace
}  // namespace QXMolKit
