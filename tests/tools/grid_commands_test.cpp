// The commands around densities and grids, run as a person runs them.

#include <gmock/gmock.h>

#include "tests/tools/grid_tool_test.h"

namespace {

using namespace QXTest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Amplitude and exponent of an atom of radius 1.7 in a shape density.
constexpr double kAmplitude = 2.7, kExponent = 2.34422871067 / (1.7 * 1.7);

using GridCommands = GridToolTest;

testing::AssertionResult Near(const QXMol& a, const QXMol& b, double tolerance) {
  return AllNear(Coords(a), Coords(b), tolerance);
}

void Move(QXMol& mol, unsigned int seed) {
  std::mt19937 random(seed);
  std::vector<double> x = Coords(mol);
  Eigen::Map<Eigen::Matrix3Xd> places(x.data(), 3, mol.NumAtoms());
  places = (RandomMotion(random) * places).eval();
  mol.SetCoords(x.data());
}

TEST_F(GridCommands, ExpansionOfOneAtomIsTheAtom) {
  // Its Gaussian is the first function of the basis of width sqrt(2 exponent).
  WriteFile(Path("one.sdf"), Carbons("the one", {{50.0, -20.0, 7.25}}).Text());
  ASSERT_EQ(Run({"expand", "one.sdf", "--npolymax", "3"}), 0) << err_;
  const double exact = kAmplitude * kAmplitude * std::pow(M_PI / (2 * kExponent), 1.5);
  EXPECT_THAT(out_, HasSubstr("Degree        3, 20 coefficients\n"));
  EXPECT_THAT(out_, HasSubstr("Centre        50.0000 -20.0000 7.2500 A\n"));
  char text[80];
  std::snprintf(text, sizeof text, "Self overlap  %.6g, 100.00 %% of the exact %.6g\n", exact,
                exact);
  EXPECT_THAT(out_, HasSubstr(text));

  for (const char* name : {"one.ccp4", "one.cube"}) {
    ASSERT_EQ(Run({"grid", "one.sdf", "--out", name, "--spacing", "0.75"}), 0) << err_;
    QXScalarGrid grid = ReadGrid(name);
    ASSERT_GE(grid.GetXDim(), 5u);
    EXPECT_EQ(grid.GetTitle(), "the one");
    ForElements(grid, [&](float value, const Vector3d& p) {
      // Widths are found to 1e-4 or so, and the value is flat in them at the optimum.
      const double squared = (p - Vector3d(50.0, -20.0, 7.25)).squaredNorm();
      ASSERT_NEAR(value, kAmplitude * std::exp(-kExponent * squared), 2e-3) << name;
    });
  }
  EXPECT_TRUE(Near(ReadGrid("one.cube").GetData<QXMol>("molecule"), ReadMol(Path("one.sdf")), 0.0));
  ASSERT_EQ(Run({"grid", "one.sdf", "--out", "one.map", "--width", "4"}), 0) << err_;
  EXPECT_EQ(out_, "one.map: 22 x 22 x 22 elements, spacing 0.5 A\n");  // (4 + 6) / 0.5 + 2

  ASSERT_EQ(Run({"expand", "one.sdf", "--UseOptimalLambdas", "false", "--LambdaX", "2"}), 0);
  EXPECT_THAT(out_, HasSubstr("Widths        2.000000 2.000000 2.000000 1/A\n"));
  ASSERT_EQ(Run({"expand", kReference, "--hydrogens"}), 0);
  EXPECT_THAT(
      out_, HasSubstr("molecule, " + std::to_string(ReadMol(kReference).NumAtoms()) + " atoms\n"));
}

TEST_F(GridCommands, ExpansionInAFileIsTheExpansion) {
  WriteDensity("map.ccp4", HeavyReference());
  for (const std::string& input : {kReference, std::string("map.ccp4")}) {
    ASSERT_EQ(Run({"expand", input, "--npolymax", "7", "--out", "a.json"}), 0) << err_;
    const std::string summary = out_;
    ASSERT_EQ(Run({"expand", "a.json", "--out", "b.json"}), 0) << err_;
    EXPECT_EQ(out_, summary);
    EXPECT_EQ(ReadFile(Path("b.json")), ReadFile(Path("a.json")));
    ASSERT_EQ(Run({"grid", input, "--npolymax", "7", "--out", "direct.ccp4"}), 0) << err_;
    ASSERT_EQ(Run({"grid", "a.json", "--out", "by-file.ccp4"}), 0) << err_;
    EXPECT_EQ(ReadFile(Path("by-file.ccp4")), ReadFile(Path("direct.ccp4")));
    ASSERT_EQ(Run({"grid", "a.json", "--out", "like.ccp4", "--like", "direct.ccp4"}), 0) << err_;
    EXPECT_TRUE(AllNear(Values(ReadGrid("like.ccp4")), Values(ReadGrid("direct.ccp4")), 1e-4));
  }
}

TEST_F(GridCommands, MoleculeLandsWhereItsDensityIs) {
  const QXMol reference = HeavyReference();
  WriteDensity("map.mrc", reference);
  for (unsigned int seed = 1; seed <= 3; ++seed) {
    QXMol moved(reference);
    Move(moved, seed);
    QXMolKit::qxmolostream out(Path("fit.sdf"));
    ASSERT_TRUE(QXMolKit::QXWriteMolecule(out, moved) && out.close());
    ASSERT_EQ(Run({"overlay", "--ref", "map.mrc", "--fit", "fit.sdf", "--out", "hits.sdf"}), 0)
        << err_;
    EXPECT_TRUE(Near(ReadMol(Path("hits.sdf")), reference, 0.3)) << seed;
    // And the map lands on the molecule, with the atoms that its file keeps.
    WriteDensity("map.cube", reference);
    ASSERT_EQ(Run({"overlay", "--ref", "fit.sdf", "--fit", "map.cube", "--out", "on.cube"}), 0)
        << err_;
    const QXScalarGrid grid = ReadGrid("on.cube");
    const QXMol atoms = grid.GetData<QXMol>("molecule");
    EXPECT_TRUE(Near(atoms, ReadMol(Path("fit.sdf")), 0.3)) << seed;
    const std::vector<double> x = Coords(atoms);
    float least = HUGE_VALF;
    for (size_t i = 0; i < x.size(); i += 3) {
      least = std::min(least, QXCore::QXLinearInterpolate(grid, static_cast<float>(x[i]),
                                                          static_cast<float>(x[i + 1]),
                                                          static_cast<float>(x[i + 2]), 0.0f));
    }
    EXPECT_GT(least, 0.8 * kAmplitude) << "the values do not lie on the atoms of the file";
  }
}

TEST_F(GridCommands, AnElectronDensityTellsWhereTheNucleiAre) {
  const std::string name = std::string(QX_EXAMPLES) + "/formamide";
  const QXMol molecule = ReadHeavy(name + ".sdf");
  for (unsigned int seed = 1; seed <= 3; ++seed) {
    QXMol moved = ReadMol(name + ".sdf");
    Move(moved, seed);
    QXMolKit::qxmolostream out(Path("fit.sdf"));
    ASSERT_TRUE(QXMolKit::QXWriteMolecule(out, moved) && out.close());
    ASSERT_EQ(Run({"overlay", "--ref", name + ".ccp4", "--fit", "fit.sdf", "--out", "on.sdf"}), 0);
    EXPECT_TRUE(Near(ReadHeavy(Path("on.sdf")), molecule, 0.3)) << seed;
  }
  ASSERT_EQ(Run({"atoms", name + ".ccp4", "--out", "atoms.sdf", "--method", "Refine"}), 0) << err_;
  const QXMol found = ReadMol(Path("atoms.sdf"));
  EXPECT_EQ(found.NumAtoms(), molecule.NumAtoms());
  EXPECT_LT(Farthest(Coords(molecule), Coords(found)), 0.3);
}

TEST_F(GridCommands, GridsAreRankedAndMovedOntoAGrid) {
  QXMol copy = HeavyReference(), other = copy;
  WriteDensity("ref.ccp4", copy);
  Move(copy, 4);
  WriteDensity("copy.cube", copy);
  QXScalarGrid scaled = ReadGrid("copy.cube");  // in other units
  ForElements(scaled, [](float& value, const Vector3d&) { value *= 6.748f; });
  ASSERT_TRUE(QXCore::QXWriteGrid(Path("copy.cube"), scaled));
  std::vector<double> x = Coords(other);
  for (size_t i = 0; i < x.size(); i += 3) x[i] *= 1.3;
  other.SetCoords(x.data());
  WriteDensity("other.cube", other);
  WriteFile(Path("broken.map"), "nothing");
  ASSERT_EQ(Run({"overlay", "--ref", "ref.ccp4", "--fit", "other.cube", "broken.map", "copy.cube",
                 "--out", "moved.cube", "--csv", "rank.csv"}),
            2);
  EXPECT_THAT(err_, HasSubstr("broken.map: "));
  EXPECT_THAT(err_, HasSubstr("1 file skipped\n"));
  EXPECT_THAT(ReadFile(Path("rank.csv")), HasSubstr("\n1,copy.cube,copy.cube,1,1,0.99"));
  EXPECT_TRUE(Near(ReadGrid("moved.cube").GetData<QXMol>("molecule"), HeavyReference(), 0.05));
  EXPECT_EQ(ReadGrid("moved-2.cube").GetData<QXMol>("molecule").NumAtoms(), other.NumAtoms());
}

TEST_F(GridCommands, AtomsComeBackOutOfTheirDensity) {
  const std::vector<std::array<double, 3>> places = {
      {40.0, 0.0, 0.0}, {41.5, 0.2, 0.0}, {42.1, 1.6, 0.3}, {39.2, -1.3, 0.4}, {40.3, -2.4, 1.2}};
  WriteAtoms("known.sdf", places);
  const QXMol known = ReadMol(Path("known.sdf"));
  WriteDensity("map.ccp4", known, 0.25f);
  ASSERT_EQ(Run({"atoms", "map.ccp4", "--out", "atoms.sdf", "--radius", "1.7"}), 0) << err_;
  EXPECT_THAT(out_, HasSubstr("Atoms      5\n"));
  EXPECT_THAT(
      out_, testing::ContainsRegex("Cosine     (0.999|1.000)[0-9]*, of the densities on the grid"));
  const QXMol found = ReadMol(Path("atoms.sdf"));
  EXPECT_EQ(found.NumAtoms(), known.NumAtoms());
  EXPECT_LT(Farthest(Coords(known), Coords(found)), 0.3);
  // One atom at a time can only find the middle of one atom.
  WriteAtoms("one.sdf", {{-30.0, 5.0, 0.0}});
  const QXMol one = ReadMol(Path("one.sdf"));
  WriteDensity("one.ccp4", one);
  ASSERT_EQ(
      Run({"atoms", "one.ccp4", "--out", "one-found.sdf", "--method", "multistart", "--starts", "3",
           "--npolymax", "6", "--UseOptimalLambdas", "false", "--LambdaX", "1.2736"}),
      0)
      << err_;
  EXPECT_TRUE(Near(ReadMol(Path("one-found.sdf")), one, 0.05));
}

TEST_F(GridCommands, WhatCannotBeUsedIsRefusedWithAReason) {
  WriteDensity("good.ccp4", HeavyReference(), 1.0f);
  QXScalarGrid grid = ReadGrid("good.ccp4");
  grid.GetValues()[7] = std::numeric_limits<float>::quiet_NaN();
  ASSERT_TRUE(QXCore::QXWriteGrid(Path("nan.ccp4"), grid));
  grid.Realloc();
  ASSERT_TRUE(QXCore::QXWriteGrid(Path("zero.cube"), grid));
  WriteFile(Path("cut.ccp4"), ReadFile(Path("good.ccp4")).substr(0, 2000));
  WriteFile(Path("bad.json"), R"({"format": "qxhermite expansion 1", "title": 3})");
  WriteFile(Path("short.json"), "[1, 2");
  ASSERT_EQ(Run({"expand", kReference, "--npolymax", "1", "--out", "good.json"}), 0);
  const std::string json = ReadFile(Path("good.json"));
  const auto damaged = [&](const std::string& name, const std::string& key,
                           const std::string& value) {
    const size_t at = json.find('"' + key + "\": ");
    ASSERT_LT(at, json.size());
    const size_t behind = at + key.size() + 4;
    WriteFile(Path(name), json.substr(0, behind) + value + json.substr(behind));
  };
  damaged("degree.json", "NPolyMax", "10");  // before the 1
  damaged("few.json", "NPolyMax", "0, \"was\": ");
  damaged("zero.json", "LambdaX", "0, \"was\": ");
  damaged("extent.json", "width", "-");
  damaged("space.json", "center", "[1, 2], \"was\": ");
  const std::vector<std::string> files = Files();

  const auto onGrid = [](const std::vector<std::string>& more) {
    std::vector<std::string> words = {"overlay", "--ref", "good.ccp4", "--out",
                                      "x.map",   "--fit", "a.cube",    "b.cube"};
    words.insert(words.end(), more.begin(), more.end());
    return words;
  };
  struct Case {
    std::vector<std::string> words;
    std::string message;
  };
  const Case cases[] = {
      {{"overlay", "--ref", kReference, "--fit", kReference, "--out", "x.sdf", "--cut", "0.3"},
       "--cut: is for grids"},
      {{"expand", "nan.ccp4"}, "nan.ccp4: not used, not all of its values are finite"},
      {{"atoms", "nan.ccp4", "--out", "x.sdf"}, "nan.ccp4: 1 of its "},
      {{"overlay", "--ref", "nan.ccp4", "--fit", kReference, "--out", "x.sdf"},
       "nan.ccp4: not used"},
      {{"overlay", "--ref", kReference, "--fit", "nan.ccp4", "--out", "x.map"},
       "nan.ccp4: not used"},
      {{"grid", "zero.cube", "--out", "x.ccp4"}, "zero.cube: no value is positive"},
      {{"expand", "cut.ccp4"}, "cut.ccp4: "},
      {{"expand", "missing.cube"}, "missing.cube: "},
      {{"expand", "bad.json"}, "bad.json: field title: has a value of the wrong type"},
      {{"expand", "short.json"}, "short.json: cannot be read"},
      {{"expand", "degree.json"},
       "degree.json: field NPolyMax: has an illegal value: write it anew"},
      {{"expand", "few.json"},
       "few.json: field coefficients: 4 values, but degree 0 has 1: write it anew"},
      {{"expand", "zero.json"}, "zero.json: field options: a width is not a positive number"},
      {{"expand", "extent.json"}, "extent.json: field width: is negative"},
      {{"expand", "space.json"}, "space.json: field center: has not three coordinates"},
      {{"expand", "good.txt"}, "good.txt: the extension names no format: use .sdf"},
      {{"expand", "good.ccp4", "--hydrogens"}, "--hydrogens: is for molecules"},
      {{"expand", "good.ccp4", "--record", "2"}, "--record: is for molecules"},
      {{"expand", kReference, "--record", "9"}, "no such record"},
      {{"expand", "good.ccp4", "--out", "x.txt"}, "x.txt: expansions are written as JSON"},
      {{"grid", kReference, "--out", "x.sdf"}, "x.sdf: not the name of a grid"},
      {{"grid", kReference, "--out", "x.ccp4", "--spacing", "0.01"}, "take at least"},
      {{"grid", "good.ccp4", "--out", "good.ccp4"}, "is both read and written"},
      {{"grid", "x.json", "--out", "x.map", "--npolymax", "3"}, "-NPolyMax: an expansion out of a"},
      {{"atoms", kReference, "--out", "x.sdf"}, "not the name of a grid"},
      {{"atoms", "good.ccp4", "--out", "x.cube"}, "x.cube: atoms cannot be written"},
      {{"atoms", "good.ccp4", "--out", "x.sdf", "--method", "magic"}, "--method"},
      {{"atoms", "good.ccp4", "--out", "x.sdf", "--cut", "1.5"}, "--cut: a share is at most 1"},
      {{"atoms", "good.ccp4", "--out", "x.sdf", "--blur", "1e10"}, "--blur: more than 10 A"},
      {{"atoms", "good.ccp4", "--out", "x.sdf", "--threshold", "2"}, "a fraction is at most 1"},
      {{"atoms", "good.ccp4", "--out", "x.sdf", "--UseCenterOfMass", "true"}, "centred anyway"},
      {{"overlay", "--ref", kReference, "--fit", kReference, "good.ccp4", "--out", "x.sdf"},
       "molecules and grids"},
      {{"overlay", "--ref", kReference, "--fit", "good.ccp4", "--out", "x.sdf"},
       "moved grids cannot be written"},
      {onGrid({"--cut", "1.5"}), "--cut: a share is at most 1"},
      {onGrid({"--UseSingleLambda", "false"}), "grids are overlaid with one width"},
      {onGrid({"--poses", "2"}), "--poses: is for molecules"},
      {onGrid({"--records", "kept"}), "--records: is for molecules"},
      {onGrid({"--csv", "x-2.map"}), "x-2.map: is written twice: give --csv another name"},
      {onGrid({"--fit", "x-3.map"}), "x-3.map: is both read and written"},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(Run(one.words), 1) << one.message;
    EXPECT_THAT(err_, HasSubstr(one.message));
    EXPECT_THAT(out_, IsEmpty()) << one.message;
  }
  EXPECT_EQ(Files(), files);
}

TEST_F(GridCommands, ABasisFinerThanTheElementsIsToldOf) {
  WriteDensity("coarse.ccp4", HeavyReference(), 1.0f);
  ASSERT_EQ(Run({"expand", "coarse.ccp4", "--npolymax", "20"}), 0);
  EXPECT_THAT(err_, IsEmpty());
  ASSERT_EQ(Run({"expand", "coarse.ccp4", "--npolymax", "20", "--UseOptimalLambdas", "false",
                 "--LambdaX", "1.5"}),
            0);
  EXPECT_THAT(err_, HasSubstr("coarse.ccp4: its elements are too far apart"));
}

}  // namespace
