// The commands around densities and grids, run as a person runs them.

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <random>

#include "host/grid/field_grid.h"
#include "host/grid/grid_file.h"
#include "host/molkit/molstream.h"
#include "host/molkit/trans.h"
#include "tests/tools/tool_test.h"

namespace {

using namespace QXTest;
using QXCore::QXScalarGrid;
using QXMolKit::QXMol;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string kReference = std::string(QX_EXAMPLES) + "/reference.sdf";
// Amplitude and exponent of an atom of radius 1.7 in a shape density.
constexpr double kAmplitude = 2.7, kExponent = 2.34422871067 / (1.7 * 1.7);

class GridCommands : public ToolTest {
 protected:
  /// A record of carbons without bonds.
  void WriteAtoms(const std::string& name, const std::vector<std::array<double, 3>>& places) {
    QXMol mol;
    std::vector<double> coordinates;
    for (const auto& place : places) {
      mol.NewAtom(6);
      coordinates.insert(coordinates.end(), place.begin(), place.end());
    }
    mol.SetCoords(coordinates.data());
    mol.SetDimension(3);
    QXMolKit::qxmolostream out(Path(name));
    ASSERT_TRUE(QXMolKit::QXWriteMolecule(out, mol) && out.close());
  }

  /// The density of all atoms of a molecule, on a grid around it, with the atoms.
  void WriteDensity(const std::string& name, const QXMol& mol, float spacing = 0.5f) {
    QXScalarGrid grid;
    std::vector<double> x(3 * size_t{mol.NumAtoms()});
    mol.GetCoords(x.data());
    double low[3], high[3];
    for (size_t axis = 0; axis < 3; ++axis) {
      low[axis] = high[axis] = x[axis];
      for (size_t i = axis; i < x.size(); i += 3) {
        low[axis] = std::min(low[axis], x[i]);
        high[axis] = std::max(high[axis], x[i]);
      }
    }
    const auto elements = [&](size_t axis) {
      return static_cast<unsigned int>((high[axis] - low[axis] + 6.0) / spacing);
    };
    const auto mid = [&](size_t axis) { return static_cast<float>((high[axis] + low[axis]) / 2); };
    grid.SetDim(elements(0), elements(1), elements(2));
    grid.SetSpacing(spacing);
    grid.SetMid(mid(0), mid(1), mid(2));
    QXFieldKit::QXMakeMolecularGaussianGrid(grid, mol);
    grid.SetData(QXCore::kQXGridMoleculeTag, mol);
    ASSERT_TRUE(QXCore::QXWriteGrid(Path(name), grid));
  }

  QXMol ReadMol(const std::string& path) const {
    QXMol mol;
    QXMolKit::qxmolistream in(path);
    EXPECT_TRUE(QXMolKit::QXReadMolecule(in, mol)) << path;
    return mol;
  }
  QXMol HeavyReference() const {
    QXMol mol = ReadMol(kReference);
    QXMolKit::QXSuppressHydrogens(mol, false, false, true);
    mol.CompactAtoms();
    return mol;
  }
  QXScalarGrid ReadGrid(const std::string& name) const {
    QXScalarGrid grid;
    EXPECT_TRUE(QXCore::QXReadGrid(Path(name), grid));
    return grid;
  }
};

double LargestDistance(const QXMol& a, const QXMol& b) {
  std::vector<double> x(3 * size_t{a.NumAtoms()}), y(3 * size_t{b.NumAtoms()});
  if (x.size() != y.size() || x.empty()) return std::numeric_limits<double>::infinity();
  a.GetCoords(x.data());
  b.GetCoords(y.data());
  double largest = 0.0;
  for (size_t i = 0; i < x.size(); i += 3) {
    largest = std::max(largest, std::hypot(x[i] - y[i], x[i + 1] - y[i + 1], x[i + 2] - y[i + 2]));
  }
  return largest;
}

void Move(QXMol& mol, unsigned int seed) {
  std::mt19937 random(seed);
  std::normal_distribution<double> normal;
  const Motion motion = MakeMotion({normal(random), normal(random), normal(random), normal(random)},
                                   {20 * normal(random), 20 * normal(random), 20 * normal(random)});
  QXMolKit::QXRotate(mol, motion.rotation.data());
  QXMolKit::QXTranslate(mol, motion.shift.data());
}

TEST_F(GridCommands, ExpansionOfOneAtomIsTheAtom) {
  // Its Gaussian is the first function of the basis of width sqrt(2 exponent).
  WriteAtoms("one.sdf", {{50.0, -20.0, 7.25}});
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
    const QXScalarGrid grid = ReadGrid(name);
    ASSERT_GE(grid.GetXDim(), 5u);
    unsigned int place = 0;
    for (unsigned int k = 0; k < grid.GetZDim(); ++k) {
      for (unsigned int j = 0; j < grid.GetYDim(); ++j) {
        for (unsigned int i = 0; i < grid.GetXDim(); ++i, ++place) {
          const double x = QXCore::QXElementCoord(i, grid.GetXDim(), 0.75f, grid.GetXMid()) - 50.0;
          const double y = QXCore::QXElementCoord(j, grid.GetYDim(), 0.75f, grid.GetYMid()) + 20.0;
          const double z = QXCore::QXElementCoord(k, grid.GetZDim(), 0.75f, grid.GetZMid()) - 7.25;
          // Widths are found to 1e-4 or so, and the value is flat in them at the optimum.
          ASSERT_NEAR(grid.GetValues()[place],
                      kAmplitude * std::exp(-kExponent * (x * x + y * y + z * z)), 2e-3)
              << name << " " << i << " " << j << " " << k;
        }
      }
    }
  }
  EXPECT_EQ(
      LargestDistance(ReadGrid("one.cube").GetData<QXMol>("molecule"), ReadMol(Path("one.sdf"))),
      0.0);
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
    EXPECT_LT(LargestDistance(ReadMol(Path("hits.sdf")), reference), 0.3) << seed;
    // And the map lands on the molecule, with the atoms that its file keeps.
    WriteDensity("map.cube", reference);
    ASSERT_EQ(Run({"overlay", "--ref", "fit.sdf", "--fit", "map.cube", "--out", "on.cube"}), 0)
        << err_;
    const QXScalarGrid grid = ReadGrid("on.cube");
    const QXMol atoms = grid.GetData<QXMol>("molecule");
    EXPECT_LT(LargestDistance(atoms, ReadMol(Path("fit.sdf"))), 0.3) << seed;
    double x[3];
    float least = std::numeric_limits<float>::infinity();
    for (unsigned int i = 0; i < atoms.NumAtoms(); ++i) {
      atoms.GetCoords(atoms.GetAtom(i), x);
      least = std::min(least, QXCore::QXLinearInterpolate(grid, static_cast<float>(x[0]),
                                                          static_cast<float>(x[1]),
                                                          static_cast<float>(x[2]), 0.0f));
    }
    EXPECT_GT(least, 0.8 * kAmplitude) << "the values do not lie on the atoms of the file";
  }
}

TEST_F(GridCommands, GridsAreRankedAndMovedOntoAGrid) {
  QXMol copy = HeavyReference(), other = copy;
  WriteDensity("ref.ccp4", copy);
  Move(copy, 4);
  WriteDensity("copy.cube", copy);
  std::vector<double> x(3 * size_t{other.NumAtoms()});
  other.GetCoords(x.data());
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
  EXPECT_LT(LargestDistance(ReadGrid("moved.cube").GetData<QXMol>("molecule"), HeavyReference()),
            0.05);
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
  ASSERT_EQ(found.NumAtoms(), known.NumAtoms());
  for (const auto& place : places) {
    double nearest = std::numeric_limits<double>::infinity(), x[3];
    for (unsigned int i = 0; i < found.NumAtoms(); ++i) {
      found.GetCoords(found.GetAtom(i), x);
      nearest = std::min(nearest, std::hypot(x[0] - place[0], x[1] - place[1], x[2] - place[2]));
    }
    EXPECT_LT(nearest, 0.3) << place[0];
  }
  // One atom at a time can only find the middle of one atom.
  WriteAtoms("one.sdf", {{-30.0, 5.0, 0.0}});
  const QXMol one = ReadMol(Path("one.sdf"));
  WriteDensity("one.ccp4", one);
  ASSERT_EQ(
      Run({"atoms", "one.ccp4", "--out", "one-found.sdf", "--method", "multistart", "--starts", "3",
           "--npolymax", "6", "--UseOptimalLambdas", "false", "--LambdaX", "1.2736"}),
      0)
      << err_;
  EXPECT_LT(LargestDistance(ReadMol(Path("one-found.sdf")), one), 0.05);
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
  const std::vector<std::string> files = Files();

  struct Case {
    std::vector<std::string> words;
    std::string message;
  };
  const Case cases[] = {
      {{"expand", "nan.ccp4"}, "nan.ccp4: not used, not all of its values are finite"},
      {{"atoms", "nan.ccp4", "--out", "x.sdf"}, "nan.ccp4: 1 of its "},
      {{"overlay", "--ref", "nan.ccp4", "--fit", kReference, "--out", "x.sdf"},
       "nan.ccp4: not used"},
      {{"overlay", "--ref", kReference, "--fit", "nan.ccp4", "--out", "x.map"},
       "nan.ccp4: not used"},
      {{"grid", "zero.cube", "--out", "x.ccp4"}, "zero.cube: no value is positive"},
      {{"expand", "cut.ccp4"}, "cut.ccp4: "},
      {{"expand", "missing.cube"}, "missing.cube: "},
      {{"expand", "bad.json"}, "bad.json: cannot be read"},
      {{"expand", "short.json"}, "short.json: cannot be read"},
      {{"expand", kReference, "--record", "9"}, "no such record"},
      {{"expand", "good.ccp4", "--out", "x.txt"}, "x.txt: expansions are written as JSON"},
      {{"grid", kReference, "--out", "x.sdf"}, "x.sdf: not the name of a grid"},
      {{"grid", kReference, "--out", "x.ccp4", "--spacing", "0.01"}, "take at least"},
      {{"grid", "good.ccp4", "--out", "good.ccp4"}, "is both read and written"},
      {{"grid", "x.json", "--out", "x.map", "--npolymax", "3"}, "-NPolyMax: an expansion out of a"},
      {{"atoms", kReference, "--out", "x.sdf"}, "not the name of a grid"},
      {{"atoms", "good.ccp4", "--out", "x.cube"}, "x.cube: atoms cannot be written"},
      {{"atoms", "good.ccp4", "--out", "x.sdf", "--method", "magic"}, "--method"},
      {{"overlay", "--ref", kReference, "--fit", kReference, "good.ccp4", "--out", "x.sdf"},
       "molecules and grids"},
      {{"overlay", "--ref", kReference, "--fit", "good.ccp4", "--out", "x.sdf"},
       "moved grids cannot be written"},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(Run(one.words), 1) << one.message;
    EXPECT_THAT(err_, HasSubstr(one.message));
    EXPECT_THAT(out_, IsEmpty()) << one.message;
  }
  EXPECT_EQ(Files(), files);
}

}  // namespace
