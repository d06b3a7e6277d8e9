#include "hermite/gridatoms/grid_to_atoms.h"

#include "host/grid/grid_file.h"
#include "host/molkit/molstream.h"
#include "support/grids.h"
#include "support/hermite.h"
#include "support/molecules.h"

namespace QXHermiteMath {
namespace {

// Points on the x axis.
Vector OnX(const Vector& xs) {
  Vector points;
  for (double x : xs) points.insert(points.end(), {x, 0, 0});
  return points;
}

// Elements 1 angstrom apart on the x axis, about the origin.
QXScalarGrid Row(const std::vector<float>& values) {
  QXScalarGrid grid = MakeGrid(static_cast<unsigned int>(values.size()), 1, 1, 1.0f);
  std::ranges::copy(values, grid.GetValues());
  return grid;
}

TEST(Thinning, TakesHighElementsFirstAndKeepsTheDistance) {
  struct Case {
    std::vector<float> values;
    double minDistance, threshold;
    Vector xs;
  };
  const float nan = std::nanf("");
  for (const Case& c : {Case{{1, 3, 2}, 0.5, 1.0, {0, 1, -1}},  // at the threshold: taken
                        Case{{1, 3, 2}, 0.5, 1.5, {0, 1}},      //
                        Case{{1, 3, 2}, 1.0, 0.0, {0, 1, -1}},  // at the distance: taken
                        Case{{1, 3, 2}, 1.125, 0.0, {0}},       //
                        Case{{2, 1, 2}, 1.125, 0.0, {1, -1}},   // equal values: larger x
                        Case{{-1, 0, -2}, 0.5, 0.0, {0}},       //
                        Case{{nan, 1, nan}, 0.5, 0.0, {0}}, Case{{}, 0.5, 0.0, {}}}) {
    Vector points = {7.0};
    UniformlySampleGrid(Row(c.values), points, c.minDistance, c.threshold);
    EXPECT_EQ(points, OnX(c.xs));
  }
  QXScalarGrid square;  // equal values along the other axes
  square.SetDim(1, 2, 2);
  Vector points;
  UniformlySampleGrid(square, points, 0.0, 0.0);
  EXPECT_EQ(points, (Vector{0, 0.5, 0.5, 0, 0.5, -0.5, 0, -0.5, 0.5, 0, -0.5, -0.5}));
}

TEST(Thinning, CleanUpKeepsTheAtomOnTheHigherValue) {
  struct Case {
    const char* what;
    double minDistance, threshold;
    Vector before, after;  // x of the atoms
  };
  for (const Case& c :
       {Case{"too close", 1.0, 0.0, {-0.75, 0.0}, {0.0}},
        Case{"exactly at the distance, highest first", 0.75, 0.0, {-0.75, 0.0}, {0.0, -0.75}},
        Case{"one element, no distance", 0.0, 0.0, {0.25, -0.25, 0.375}, {0.375, 0.25, -0.25}},
        Case{"one element, the larger x stays", 1.0, 0.0, {0.25, -0.25, 0.375}, {0.375}},
        Case{"two of one element", 0.1, 2.0, {0.625, 0.5, 0.375}, {0.375, 0.625, 0.5}},
        Case{"low values", 0.1, 2.5, {-1.0, 0.0, 1.0}, {0.0}},
        Case{"outside the box, on its upper face", 0.1, 0.0, {1.5, -1.5, 9.0}, {-1.5}},
        Case{"no atoms", 0.1, 0.0, {}, {}}}) {
    QXMol mol = Carbons(OnX(c.before));
    CleanUpResults(mol, Row({1, 3, 2}), c.minDistance, c.threshold);
    EXPECT_EQ(Coords(mol), OnX(c.after)) << c.what;
  }
  for (const std::vector<float>& nothing : {std::vector<float>{}, {std::nanf("")}}) {
    QXMol mol = Carbons({0, 0, 0});
    CleanUpResults(mol, Row(nothing), 0.1, 0.0);
    EXPECT_EQ(mol.NumAtoms(), 0u);
  }
}

const QXHermiteOptions kOptions = FixedWidths(10, 1.1, 1.1, 1.1);
constexpr double kRadius = 1.2;

// Eight atoms on a crown and one about its axis.
Vector Crown() {
  Vector coords = {0.1, -0.2, 0.3};
  for (int i = 0; i < 8; ++i) {
    const double angle = 0.785398 * i;
    coords.insert(coords.end(),
                  {3.4 * std::cos(angle), 3.4 * std::sin(angle), i % 2 == 0 ? 0.6 : -0.6});
  }
  return coords;
}

class GridToAtoms : public testing::Test {
 protected:
  QXGridToAtoms Search(double minDistance) const {
    return QXGridToAtoms(kRadius, minDistance, 0.2, kOptions, grid_, Shift({10, 20, 30}));
  }

  const Vector atoms_ = Crown();
  const QXScalarGrid grid_ = OnGrid(makeShapeGaussians(atoms_, kRadius), 48, 0.25f);
  TemporaryFolder folder_;
};

TEST_F(GridToAtoms, FindsTheAtomsThatMadeTheGrid) {
  QXGridToAtoms search = Search(0.5);
  QXMol mol = Carbons({9, 9, 9});
  search.SampleStartingPoint(mol);
  EXPECT_GT(Farthest(atoms_, Coords(mol)), 0.1) << "the start needs no search";
  // The grid tells its expansion to the rounding of its values, 1e-7, and they the places.
  EXPECT_NEAR(search.FindLocalMinimum(mol), 0.0, 1e-12);
  EXPECT_EQ(mol.NumAtoms(), 9u);
  EXPECT_NEAR(Farthest(atoms_, Coords(mol)), 0.0, 1e-4);

  // One at most stays; the value is that of all nine.
  search = Search(100.0);
  search.SampleStartingPoint(mol);
  EXPECT_NEAR(search.FindLocalMinimum(mol), 0.0, 1e-12);
  EXPECT_EQ(mol.NumAtoms(), 1u);
  EXPECT_GT(search.FindLocalMinimum(mol), 1e-3);

  mol = QXMol(1);
  EXPECT_TRUE(std::isnan(search.FindLocalMinimum(mol)));
  EXPECT_EQ(mol.NumAtoms(), 0u);
}

TEST_F(GridToAtoms, WritesAtomsAndTheirDensityInTheFrameOfTheCaller) {
  QXGridToAtoms search = Search(0.5);
  const std::string molFile = folder_ / "atoms.qxb", gridFile = folder_ / "atoms.ccp4";
  const Vector places = {0.5, -0.25, 1.0, -1.5, 0.75, 0.0};
  QXMol mol = Carbons(places);
  mol.NewConf(mol.GetActive());
  search.OutputAtomsMol(molFile, mol);
  QXMolKit::qxmolistream in(molFile);
  QXMol back;
  ASSERT_TRUE(QXMolKit::QXReadMolecule(in, back));
  ASSERT_EQ(back.NumConfs(), 2u);
  for (const QXMolKit::QXConfBase* conf : Conformers(back))
    EXPECT_EQ(Coords(*conf), (Vector{10.5, 19.75, 31, 8.5, 20.75, 30}));
  EXPECT_EQ(Coords(mol), places);

  search.OutputAtomsGrid(gridFile, mol, 0.5f);
  QXScalarGrid density;
  ASSERT_TRUE(QXCore::QXReadGrid(gridFile, density));
  EXPECT_EQ(density.GetXDim(), 54u);                              // (20 + 6)/0.5 + 1, and one more
  const Gaussians shape = makeShapeGaussians(Coords(back), 1.7);  // not the radius of the search
  unsigned int within = 0;  // a thousandth of the peak, which is what degree 10 leaves
  ForElements(density, [&](double value, const Vector3d& p) {
    within += std::fabs(value - Evaluate(shape, p[0], p[1], p[2])) < 0.001 * 2.7;
  });
  EXPECT_EQ(within, density.GetSize());
}

TEST(GridToAtomsStart, HasTheHighestPointsAndNoMoreThanTheSelfOverlapHolds) {
  struct Case {
    double radius;
    std::vector<float> values;
    Vector xs;
  };
  const QXHermiteOptions options = FixedWidths(0, 0.5, 0.5, 0.5);
  QXMol mol;
  for (const Case& c : {Case{1.7, {10, 0, 0, 0, 30, 0, 0, 20}, {0.5, 3.5}},
                        Case{1.7, {12, 0, 0, 0, 18, 0, 0, 15}, {0.5}},
                        Case{0.8, {12, 0, 0, 0, 18, 0, 0, 15}, {0.5, 3.5, -3.5}},
                        Case{0.3, {-3, 0, -1, -1, 0}, {2, -1}}, Case{1.7, {0, 0, 0, 0}, {1.5}},
                        Case{1.7, {-1, -2}, {}}, Case{1.7, {}, {}}}) {
    QXGridToAtoms(c.radius, 0.5, 0.0, options, Row(c.values), {}).SampleStartingPoint(mol);
    EXPECT_EQ(Coords(mol), OnX(c.xs)) << c.values.size() << " elements";
  }
  const QXScalarGrid many = Row(std::vector<float>(700, 1e6f));
  QXGridToAtoms(1.7, 0.5, 0.0, options, many, {}).SampleStartingPoint(mol);
  EXPECT_EQ(mol.NumAtoms(), 200u);
}

TEST(GridToAtomsStart, TellsTheLargestValueFromZeroUpAndTheSelfOverlap) {
  const QXHermiteOptions options = FixedWidths(0, 0.5, 0.5, 0.5);
  for (const auto& [value, maximum] : {std::pair(30.0f, "30.000000"), {-3.0f, "0.000000"}}) {
    QXHermite h;
    h.Setup(Row({value, -4}), options);
    QXCore::QXThrow.SetDebug(true);
    const Messages messages;
    QXGridToAtoms search(1.7, 0.5, 0.0, options, Row({value, -4}), {});
    QXCore::QXThrow.SetDebug(false);
    using QXCore::QXErrorLevel;
    const Messages::Message expected[] = {
        {QXErrorLevel::Debug, std::string("Maximum Grid Value found = ") + maximum},
        {QXErrorLevel::Debug, "Grid self overlap= " + std::to_string(h.GetSelfOverlap())}};
    EXPECT_TRUE(std::ranges::equal(messages.all, expected));
  }
}

}  // namespace
}  // namespace QXHermiteMath
