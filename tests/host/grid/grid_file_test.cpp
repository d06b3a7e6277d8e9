#include "host/grid/grid_file.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cstring>
#include <map>

#include "host/molkit/mol.h"
#include "support/files.h"
#include "support/grids.h"
#include "support/messages.h"
#include "support/molecules.h"

namespace QXCore {
namespace {

using namespace QXTest;
using QXMolKit::QXMol;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

// See tests/golden/grids.py.
const std::string kGolden = std::string(QX_TEST_DATA) + "/grids/";
constexpr double kBohr = 0.529177210903;

QXScalarGrid Read(const std::string& file) {
  QXScalarGrid grid;
  EXPECT_TRUE(QXReadGrid(file, grid)) << file;
  return grid;
}

/// The bytes of a map with other words in its header from a place on, counted from 1.
template <typename T>
std::string Patched(std::string map, size_t word, const T& value) {
  return map.replace(4 * (word - 1), sizeof value, reinterpret_cast<const char*>(&value),
                     sizeof value);
}

class GridFile : public testing::Test {
 protected:
  /// The name of a file of these bytes.
  std::string Write(const std::string& name, const std::string& bytes) {
    WriteFile(folder_ / name, bytes);
    return folder_ / name;
  }

  TemporaryFolder folder_;
};

TEST_F(GridFile, MapsOfAllVariantsHaveTheirElementsInPlace) {
  std::map<std::string, QXScalarGrid> grids;
  std::ifstream rows(kGolden + "expected.txt");
  std::string name;
  size_t count = 0;
  for (float x, y, z, value; rows >> name >> x >> y >> z >> value; ++count) {
    if (!grids.contains(name)) grids[name] = Read(kGolden + name);
    QXScalarGrid& grid = grids[name];
    unsigned int element = 0;
    ASSERT_TRUE(grid.SpatialCoordToElement(x, y, z, element)) << name;
    ASSERT_EQ(grid.GetValues()[element], value) << name;
    const unsigned int i = element % 3, j = element / 3 % 4, k = element / 12;
    ASSERT_EQ(QXElementCoord(i, 3, grid.GetSpacing(), grid.GetXMid()), x) << name;
    ASSERT_EQ(QXElementCoord(j, 4, grid.GetSpacing(), grid.GetYMid()), y) << name;
    ASSERT_EQ(QXElementCoord(k, 5, grid.GetSpacing(), grid.GetZMid()), z) << name;
  }
  EXPECT_EQ(count, 660u);
  EXPECT_EQ(grids["mode0.map"].GetTitle(), "golden map");
}

TEST_F(GridFile, OtherAxesAreResampledWithAWarning) {
  const double degree = std::acos(-1.0) / 180;
  const struct {
    const char* file;
    double lengths[3], angles[3];  // of the cell of 3 x 4 x 5 elements
  } maps[] = {{"skew.map", {1.5, 2.0, 2.5}, {80, 100, 115}},
              {"spacings.map", {1.5, 2.4, 2.5}, {90, 90, 90}}};
  for (const auto& map : maps) {
    Messages messages;
    QXScalarGrid grid = Read(kGolden + map.file);
    EXPECT_THAT(messages.all,
                ElementsAre(Pair(QXErrorLevel::Warning,
                                 kGolden + map.file +
                                     ": its axes are not those of a regular grid: resampled with a "
                                     "spacing of 0.5 angstrom, 0 where it has no values")));
    // The first axis along x, the second in the plane of x and y.
    const double ca = std::cos(map.angles[0] * degree), cb = std::cos(map.angles[1] * degree),
                 cg = std::cos(map.angles[2] * degree), sg = std::sin(map.angles[2] * degree);
    const double y = (ca - cb * cg) / sg;
    Eigen::Matrix3d steps;
    steps << 1, cg, cb, 0, sg, y, 0, 0, std::sqrt(1 - cb * cb - y * y);
    for (int a = 0; a < 3; ++a) steps.col(a) *= map.lengths[a] / (3 + a);
    int inside = 0;
    ForElements(grid, [&](float value, const Vector3d& p) {
      const Eigen::Array3d index = steps.inverse() * p, last(2, 3, 4);
      const double depth = std::min(index.minCoeff(), (last - index).minCoeff());
      if (std::abs(depth) < 1e-3) return;  // on a face
      inside += depth > 0;
      // The function of the file, which is linear.
      const double expected = depth > 0 ? 1 + p[0] / 2 - p[1] / 4 + 2 * p[2] : 0;
      EXPECT_NEAR(value, expected, 1e-5) << map.file << " " << p.transpose();
    });
    EXPECT_GT(inside, 3) << map.file;
  }
}

TEST_F(GridFile, AxesThatDriftApartAreResampled) {
  // A thousandth on each of 100 elements.
  std::string cube = "t\nu\n0 0 0 0\n1 1 0 0\n1 0 1 0\n100 0 0 1.001\n";
  for (int i = 0; i < 100; ++i) cube += " 1";
  const Messages messages;
  Read(Write("a.cube", cube));
  ASSERT_EQ(messages.all.size(), 1u);
  EXPECT_THAT(messages.all[0].second, HasSubstr(": resampled with"));
}

TEST_F(GridFile, MapsAreWrittenForViewersOfAllKinds) {
  for (const char* name : {"whole.ccp4", "fraction.ccp4"}) {
    EXPECT_TRUE(QXWriteGrid(folder_ / name, Read(kGolden + name)));
    EXPECT_EQ(ReadFile(folder_ / name), ReadFile(kGolden + name)) << name;
  }
  // Angles that are left out are right ones.
  const std::string map = ReadFile(kGolden + "whole.ccp4");
  const QXScalarGrid grid = Read(Write("a.ccp4", Patched(map, 14, std::array<float, 3>{})));
  EXPECT_EQ(Geometry(grid), Geometry(Read(kGolden + "whole.ccp4")));
  // Statistics are those of the values that are numbers.
  QXScalarGrid doubtful = MakeGrid(3, 1, 1, 1.0f);
  doubtful.SetValues(std::array{1.0f, std::nanf(""), 3.0f}.data(), 3);
  EXPECT_TRUE(QXWriteGrid(folder_ / "b.map", doubtful));
  const std::string bytes = ReadFile(folder_ / "b.map");
  const std::array statistics = {1.0f, 3.0f, 2.0f};  // least, largest, mean
  EXPECT_EQ(Patched(Patched(bytes, 20, statistics), 55, 1.0f), bytes);
}

TEST_F(GridFile, ReadingWhatWasWrittenGivesTheGridAgain) {
  QXScalarGrid grid = MakeGrid(7, 5, 3, 0.37f, {12.3f, -0.456f, 1e-3f});
  Fill(grid, [](const Vector3d& p) { return std::exp(40 * std::sin(5 * p.sum())) - 1e-3; });
  grid.SetTitle("a density");
  QXMol mol = Drug("diclofenac");
  grid.SetData(kQXGridMoleculeTag, mol);
  for (const char* name : {"a.ccp4", "a.MAP", "a.mrc", "a.cube", "a.cub"}) {
    ASSERT_TRUE(QXWriteGrid(folder_ / name, grid));
    const QXScalarGrid again = Read(folder_ / name);
    // The mid point is narrowed anew from places up to 13.
    EXPECT_TRUE(AllNear(Geometry(again), Geometry(grid), 1e-6)) << name;
    EXPECT_EQ(Values(again), Values(grid)) << name;
    EXPECT_EQ(again.GetTitle(), "a density");
  }
  // A hundredth of an element off where a whole number of them would put it.
  const QXScalarGrid near = MakeGrid(1, 1, 1, 0.37f, {0.3737f, 0, 0});
  ASSERT_TRUE(QXWriteGrid(folder_ / "near.map", near));
  EXPECT_NEAR(Read(folder_ / "near.map").GetXMid(), near.GetXMid(), 1e-7);
  const QXScalarGrid again = Read(folder_ / "a.cube");
  const QXMol& atoms = again.GetData<QXMol>(kQXGridMoleculeTag);
  EXPECT_TRUE(AllNear(Coords(atoms), Coords(mol), 1e-6));
  for (unsigned int i = 0; i < mol.NumAtoms(); ++i)
    EXPECT_EQ(atoms.GetAtom(i)->GetAtomicNum(), mol.GetAtom(i)->GetAtomicNum());
}

TEST_F(GridFile, CubesOfAllVariants) {
  const std::string axes = "2 0.5 0 0\n1 0 0.5 0\n3 0 0 0.5\n";
  const std::string atom = "8 8.0 0.25 -1 +2.\n";
  const struct {
    const char* what;
    std::string text;
    Vector values = {1, 4, 2, 5, 3, 6};  // x fastest
    double unit = kBohr;
  } cubes[] = {
      {"plain", "t\nu\n1 1 2 3\n" + axes + atom + "1 2 3\n4 5 6"},
      {"angstrom, carriage returns, number of values",
       "t\r\nu\r\n1 1 2 3 1\r\n-2 0.5 0 0\r\n-1 0 0.5 0\r\n-3 0 0 0.5\r\n" + atom +
           "1\r\n2\r\n3 4 5 6\r\n",
       {1, 4, 2, 5, 3, 6},
       1},
      {"orbital", "t\nu\n-1 1 2 3\n" + axes + atom + "  1\n 12\n1 2 3 4 5 6\n"},
      {"Fortran's numbers",
       "t\nu\n0 1 2 3\n" + axes + "1.D+1 -.2d-01 +3.e0 0.4-101 5E-400 0.6+001\n",
       {10, 0, -0.02f, 0, 3, 6}},
      {"axes in another order and direction",
       "t\nu\n0 1 2 4\n3 0 0 -0.5\n2 0.5 0 0\n1 0 0.5 0\n1 2 3 4 5 6\n",
       {5, 6, 3, 4, 1, 2}},
  };
  for (const auto& cube : cubes) {
    Messages messages;
    const QXScalarGrid grid = Read(Write("a.cube", cube.text));
    EXPECT_THAT(messages.all, testing::IsEmpty()) << cube.what;
    EXPECT_EQ(Values(grid), cube.values) << cube.what;
    EXPECT_EQ(grid.GetTitle(), "t u");
    Vector geometry = {2, 1, 3, 0.5, 1.25, 2, 3.5};
    for (size_t i = 3; i < 7; ++i) geometry[i] *= cube.unit;
    EXPECT_TRUE(AllNear(Geometry(grid), geometry, 1e-6)) << cube.what;
    const bool hasAtom = cube.text.find(atom) != cube.text.npos;
    ASSERT_EQ(grid.HasDataOfType<QXMol>(kQXGridMoleculeTag), hasAtom) << cube.what;
    if (!hasAtom) continue;
    const QXMol& mol = grid.GetData<QXMol>(kQXGridMoleculeTag);
    ASSERT_EQ(mol.NumAtoms(), 1u);
    EXPECT_EQ(mol.GetAtom(0)->GetAtomicNum(), 8u);
    EXPECT_EQ(mol.GetAtom(0)->GetPartialCharge(), 0);
    EXPECT_TRUE(AllNear(Coords(mol), {0.25 * cube.unit, -cube.unit, 2 * cube.unit}, 1e-6));
  }
}

TEST_F(GridFile, DoubtfulValuesAreReadWithAWarning) {
  const std::string header = "t\n\n0 0 0 0\n2 1 0 0\n1 0 1 0\n3 0 0 1\n";
  Messages messages;
  const std::string infinite = Write("a.cube", header + "1 NaN -1E+400 -inf 5 1E+400\n");
  const QXScalarGrid grid = Read(infinite);
  EXPECT_EQ(QXCountNonFinite(grid), 4u);
  EXPECT_EQ(grid.GetValues()[4], -std::numeric_limits<float>::infinity());
  EXPECT_THAT(messages.all,
              ElementsAre(Pair(QXErrorLevel::Warning,
                               infinite + ": 4 of its values are infinite or not a number")));
}

TEST_F(GridFile, WhatCannotBeReadIsOneErrorAndChangesNothing) {
  const std::string map = ReadFile(kGolden + "whole.ccp4");
  const auto patched = [&](size_t word, auto value) { return Patched(map, word, value); };
  const std::string axes = "2 1 0 0\n1 0 1 0\n3 0 0 1\n";
  const std::string promise = "promises more values than the file holds: get it anew";
  const float nan = std::nanf("");
  const struct {
    const char* name;
    std::string bytes, message;  // what follows the name of the file
  } files[] = {
      {"a.xyz", "", ": the extension \".xyz\" names no grid format: use .ccp4, .map, .mrc, .cube"},
      {"a.ccp4", "", ": the file is empty: get it anew"},
      {"a.ccp4", map.substr(0, 1000), ": the file is too short for a map: get it anew"},
      {"a.ccp4", std::string(5000, 'x'), ": this is no CCP4 or MRC map (Not a CCP4 map: header)"},
      {"a.ccp4", map.substr(0, map.size() - 1), ": its header " + promise},
      {"a.ccp4", patched(1, 0x7fffffff), ": its header " + promise},
      {"a.ccp4", patched(24, -2), ": its header " + promise},
      {"a.ccp4", patched(2, -4), ": it has -4 elements on an axis: get it anew"},
      {"a.ccp4", patched(4, 4), ": its values are of mode 4, not 0, 1, 2 or 6: convert it"},
      {"a.ccp4", patched(9, 0), ": its cell has no sampling (MX, MY, MZ): correct the header"},
      {"a.ccp4", patched(11, 0), ": its cell has no length or angle on an axis: correct"},
      {"a.ccp4", patched(15, nan), ": its cell has no length or angle on an axis: correct"},
      {"a.ccp4", patched(14, 179.99f), ": its axes lie in one plane: correct the header"},
      {"a.ccp4", patched(17, 2), ": this is no CCP4 or MRC map (Incorrect MAPC/MAPR/MAPS records)"},
      {"a.ccp4", patched(51, nan), ": it begins at the coordinate nan angstrom: correct"},
      {"a.ccp4", patched(12, 1e30f), ": its elements are"},
      {"a.ccp4", patched(12, HUGE_VALF), ": its axes have no finite lengths: correct the header"},
      {"a.ccp4", patched(12, 1e5f), ": a regular grid in its place would need"},
      {"a.cube", "t\n", ":2: the file ends in its header: get it anew"},
      {"a.cube", std::string(9999, 'x'), ":1: a line this long belongs to no cube file: get"},
      {"a.cube", "t\nu\n0 0 x 0\n" + axes, ":3: here stand the number of atoms and x, y, z of"},
      {"a.cube", "t\nu\n0 0 0 0 3\n" + axes, ":3: the file has several values an element: write"},
      {"a.cube", "t\nu\n0 0 0 0\n2 1 0 0\n1 0 1\n", ":5: here stand the number of elements on an"},
      {"a.cube", "t\nu\n0 0 0 0\n2 1 0 0\n1 0 1 0\n-2147483648 0 0 1\n1", ":6: some numbers of"},
      {"a.cube", "t\nu\n0 0 0 0\n2000000000 1 0 0\n", ":4: the header " + promise},
      {"a.cube", "t\nu\n1 0 0 0\n" + axes + "6 6 0 0 nan\n", ":7: here stand an atomic number, a"},
      {"a.cube", "t\nu\n1 0 0 0\n" + axes + "119 6 0 0 0\n", ":7: here stand an atomic number"},
      {"a.cube", "t\nu\n-1 0 0 0\n" + axes + "6 6 0 0 0\n2 1 2\n1 2 3 4 5 6\n",
       ":8: the file has \"2\" data sets: write one into a file of its own"},
      {"a.cube", "t\nu\n0 0 0 0\n" + axes + "1 2\n3 4\n5",
       ":9: the file ends after 5 of 6 values: get it anew"},
      {"a.cube", "t\nu\n0 0 0 0\n" + axes + "1 2 3 4 5 6\n7",
       ":8: there are more values than the header promises: get it anew"},
      {"a.cube", "t\nu\n0 0 0 0\n" + axes + "1 2\n3 **** 5 6",
       ":8: \"****\" is no number: get the file anew"},
  };
  for (const auto& file : files) {
    Messages messages;
    QXScalarGrid grid = MakeGrid(1, 1, 1, 1.0f);
    const std::string name = Write(file.name, file.bytes);
    EXPECT_FALSE(QXReadGrid(name, grid)) << file.message;
    EXPECT_EQ(grid.GetSize(), 1u) << file.message;
    ASSERT_EQ(messages.all.size(), 1u) << file.message;
    EXPECT_EQ(messages.all[0].first, QXErrorLevel::Error);
    EXPECT_THAT(messages.all[0].second, testing::StartsWith(name + file.message));
  }
  Messages messages;
  QXScalarGrid grid;
  std::filesystem::create_directory(folder_ / "b.map");
  EXPECT_FALSE(QXReadGrid(folder_ / "b.map", grid));
  EXPECT_FALSE(QXReadGrid(folder_ / "missing.cube", grid));
  ::mkfifo((folder_ / "pipe.cube").c_str(), 0600);
  EXPECT_FALSE(QXReadGrid(folder_ / "pipe.cube", grid));
  std::filesystem::create_symlink("/dev/null", folder_ / "n.map");
  EXPECT_FALSE(QXReadGrid(folder_ / "n.map", grid));
  ASSERT_EQ(messages.all.size(), 4u);
  for (const size_t i : {2u, 3u})
    EXPECT_THAT(messages.all[i].second, HasSubstr(": this is a pipe or a device: copy it"));
  EXPECT_THAT(messages.all[0].second, HasSubstr(": this is a directory: name a grid file"));
  EXPECT_THAT(messages.all[1].second, HasSubstr("cannot be opened for reading (No such file"));
}

TEST_F(GridFile, WhatCannotBeWrittenIsAnError) {
  const QXScalarGrid grid = MakeGrid(40, 40, 40, 1.0f);
  std::filesystem::create_symlink("/dev/full", folder_ / "full.cube");
  const std::tuple<std::string, QXScalarGrid, std::string> cases[] = {
      {folder_ / "missing/a.map", grid, "cannot be opened for writing (No such file"},
      {folder_ / "full.cube", grid, "writing failed (No space left on device)"},
      {folder_ / "a.png", grid, "the extension \".png\" names no grid format"},
      {folder_ / "a.map", QXScalarGrid(), "the grid has no elements"},
      {folder_ / "a.map", MakeGrid(1, 1, 1, 0.0f), "elements are 0.000000 angstrom apart: set"},
      {folder_ / "a.map", MakeGrid(1, 1, 1, 1.0f, {0, std::nanf(""), 0}), "no place in space"},
  };
  for (const auto& [name, what, message] : cases) {
    Messages messages;
    EXPECT_FALSE(QXWriteGrid(name, what));
    ASSERT_EQ(messages.all.size(), 1u) << message;
    EXPECT_THAT(messages.all[0].second, HasSubstr(message));
  }
}

}  // namespace
}  // namespace QXCore
