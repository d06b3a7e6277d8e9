#include "host/molkit/mol.h"

#include <gmock/gmock.h>

#include "molkit_testing.h"

namespace QXMolKit {
namespace {

using testing::ElementsAre;
using Vector = std::vector<double>;

TEST(Mol, StartsEmptyAndGrowsAtomByAtom) {
  QXMol mol(1);
  EXPECT_EQ(mol.NumAtoms(), 0u);
  EXPECT_EQ(mol.GetAtoms(), nullptr);
  EXPECT_EQ(mol.GetConfs(), nullptr);
  EXPECT_EQ(mol.GetActive(), nullptr);
  EXPECT_STREQ(mol.GetTitle(), "");
  mol.SetCoords(nullptr);  // as callers do with an empty vector

  for (int i = 0; i < 3; ++i) EXPECT_EQ(mol.NewAtom(6)->GetIdx(), i);
  const Vector coords = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  EXPECT_EQ(mol.GetDimension(), 0u);
  mol.SetCoords(coords.data());
  EXPECT_EQ(mol.GetDimension(), 3u);
  EXPECT_EQ(Coords(mol), coords);

  const std::unique_ptr<QXIterator<QXAtom>> atoms(mol.GetAtoms());
  Vector visited;
  for (; atoms->IsValid(); atoms->Next()) {
    float one[3];
    mol.GetCoords(atoms->Get(), one);
    visited.insert(visited.end(), one, one + 3);
  }
  EXPECT_EQ(visited, coords);
  const QXTest::Messages messages;
  EXPECT_EQ(mol.NewBond(0, 3, QXBondOrder::Single), nullptr);
  EXPECT_EQ(mol.NewBond(1, 1, QXBondOrder::Single), nullptr);
  EXPECT_EQ(messages.all.size(), 2u);
}

TEST(Mol, CopiesAreDeepAndComplete) {
  const QXMol source = MakeMolecule();
  const std::string before = Describe(source);
  QXMol byCopy(source), byAssignment;
  byAssignment = source;
  QXMCMolBase base;
  base = source;
  base = static_cast<const QXMCMolBase&>(base);
  byCopy = *&byCopy;
  for (QXMCMolBase* copy :
       {&static_cast<QXMCMolBase&>(byCopy), &static_cast<QXMCMolBase&>(byAssignment), &base}) {
    EXPECT_EQ(Describe(*copy), before);
    for (const QXConfBase* conf : Conformers(*copy)) EXPECT_EQ(&conf->GetMolecule(), copy);
    copy->GetAtom(0)->SetPartialCharge(1);
    copy->GetActive()->Coords()[0] = 99;
    copy->SetData("grid", Vector{});
    copy->NewAtom(7);
    QXSetSDData(*copy, "Score", "changed");
  }
  EXPECT_EQ(Describe(source), before);
}

TEST(Mol, AMovedFromMoleculeIsEmptyAndServesAgain) {
  QXMol source = MakeMolecule();
  const std::string before = Describe(source);
  // NOLINTBEGIN(bugprone-use-after-move, clang-analyzer-cplusplus.Move): it is what is tested
  QXMol target = std::move(source);
  EXPECT_EQ(Describe(target), before);
  EXPECT_FALSE(source);
  EXPECT_EQ(source.NumAtoms(), 0u);
  EXPECT_EQ(source.GetActive(), nullptr);
  EXPECT_FALSE(QXMol(source));
  EXPECT_LT(std::pair(0.5, source), std::pair(0.5, target)) << "false before true, in sorting";
  source.NewAtom(6);
  EXPECT_TRUE(source);
  // NOLINTEND(bugprone-use-after-move, clang-analyzer-cplusplus.Move)
}

TEST(Mol, AssigningAViewReplacesEverything) {
  QXMol mol = MakeMolecule();
  QXMolBase& view = mol;
  view = *Conformers(mol)[1];  // a part of the molecule itself
  EXPECT_EQ(mol.NumConfs(), 1u);
  EXPECT_EQ(mol.NumAtoms(), 9u);
  EXPECT_EQ(QXGetSDData(mol, "Score"), "second");
  view = QXMol(1);
  EXPECT_EQ(mol.NumAtoms(), 0u);
  EXPECT_EQ(mol.GetConfs(), nullptr);
  EXPECT_FALSE(mol.HasData("grid"));
}

TEST(Conformer, DataAndTextFollowItsCopies) {
  const QXMol mol = MakeMolecule();
  const QXConfBase& second = *Conformers(mol)[1];
  const QXMol single(second, 1);
  EXPECT_EQ(single.NumConfs(), 1u);
  EXPECT_STREQ(single.GetTitle(), "ethanol");
  EXPECT_TRUE(single.HasData("grid"));
  EXPECT_EQ(Coords(single)[1], -0.125);

  QXMol collected = single;
  collected.NewConf(mol.GetActive());
  QXMol assigned;
  static_cast<QXMCMolBase&>(assigned) = collected;
  const auto confs = Conformers(assigned);
  ASSERT_EQ(confs.size(), 2u);
  EXPECT_EQ(confs[0]->GetData<Vector>(""), Vector({6}));
  EXPECT_EQ(confs[1]->GetData<Vector>(""), Vector({3, 4, 5}));
  EXPECT_EQ(QXGetSDData(*confs[0], "Score"), "second");
  EXPECT_EQ(QXGetSDData(*confs[1], "Score"), "first");

  const QXTest::Messages messages;
  QXMol other;
  other.NewAtom(6);
  EXPECT_EQ(other.NewConf(mol.GetActive()), nullptr);
  EXPECT_EQ(other.NewConf(nullptr), nullptr);
  *other.GetActive() = second;
  EXPECT_EQ(messages.all.size(), 3u);
  EXPECT_EQ(other.NumConfs(), 1u);
  *confs[0] = *confs[1];
  EXPECT_EQ(confs[0]->GetData<Vector>(""), Vector({3, 4, 5}));
}

TEST(SuppressHydrogens, LeavesTheHeavyAtomsOfAllConformers) {
  QXMol mol = MakeMolecule();
  QXAtomMarks deuterium;
  deuterium.isotope = 2;
  mol.GetAtom(2)->SetMarks(deuterium);
  QXSuppressHydrogens(mol, false, false, true);
  mol.CompactAtoms();
  ASSERT_EQ(mol.NumAtoms(), 3u);
  for (const auto& [i, element] : {std::pair(0u, 6u), {1u, 8u}, {2u, 6u}}) {
    EXPECT_EQ(mol.GetAtom(i)->GetIdx(), i);
    EXPECT_EQ(mol.GetAtom(i)->GetAtomicNum(), element);
  }
  EXPECT_EQ(mol.GetAtom(1)->GetPartialCharge(), -0.4);
  // Atoms 1, 3 and 4 of the coordinates i/8.
  Vector heavy = {0.375, 0.5, 0.625, 1.125, 1.25, 1.375, 1.5, 1.625, 1.75};
  EXPECT_EQ(Coords(mol), heavy);
  for (double& x : heavy) x = -x;
  EXPECT_EQ(Coords(*Conformers(mol)[1]), heavy);
  ASSERT_EQ(mol.NumBonds(), 2u);
  EXPECT_EQ(*mol.GetBond(0), (QXBond{0, 1, QXBondOrder::Single, QXBondStereo::None}));
  EXPECT_EQ(*mol.GetBond(1), (QXBond{0, 2, QXBondOrder::Single, QXBondStereo::None}));

  QXMol hydrogen;
  hydrogen.NewAtom(1);
  QXSuppressHydrogens(hydrogen, false, false, true);
  EXPECT_EQ(hydrogen.NumAtoms(), 0u);
}

TEST(SDText, OfMoleculeAndConformersShowsThrough) {
  QXMol mol = MakeMolecule();
  QXConfBase& first = *Conformers(mol)[0];
  QXConfBase& second = *Conformers(mol)[1];
  QXSetSDData(second, "Own", "2");
  EXPECT_FALSE(QXHasSDData(mol, "Own")) << "the active conformer has none";
  QXSetSDData(mol, "Set", "a");
  EXPECT_EQ(QXGetSDData(second, "Set"), "a");
  QXSetSDData(second, "Set", "b");
  EXPECT_EQ(QXGetSDData(second, "Set"), "b");
  EXPECT_EQ(QXGetSDData(mol, "Set"), "a");
  EXPECT_THAT(QXGetSDTags(second), ElementsAre("Set", "Score", "Own"));

  // Set on the molecule, a value holds for every conformer, in the places of their own.
  QXSetSDData(mol, "Score", "all");
  QXSetSDData(mol, "Set", "c");
  for (const QXMolBase* view : std::initializer_list<QXMolBase*>{&first, &second}) {
    EXPECT_EQ(QXGetSDData(*view, "Score"), "all");
    EXPECT_EQ(QXGetSDData(*view, "Set"), "c");
  }
  EXPECT_THAT(QXGetSDTags(second), ElementsAre("Set", "Score", "Own"));
  EXPECT_TRUE(QXDeleteSDData(mol, "Score"));
  EXPECT_FALSE(QXDeleteSDData(mol, "Score"));
  EXPECT_FALSE(QXHasSDData(second, "Score"));
  QXSetSDData(second, "New", "3");  // behind what was shortened and deleted
  EXPECT_THAT(QXGetSDTags(second), ElementsAre("Set", "Own", "New"));
}

}  // namespace
}  // namespace QXMolKit
