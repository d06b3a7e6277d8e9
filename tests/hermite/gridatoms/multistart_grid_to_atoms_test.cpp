#include "hermite/gridatoms/multistart_grid_to_atoms.h"

#include "support/grids.h"
#include "support/hermite.h"
#include "support/molecules.h"

namespace QXHermiteMath {
namespace {

// Three carbons 4 angstrom apart, above a contour of their density: balls of 1.7 angstrom, and
// nothing between them.
const std::vector<Vector> kPlaces = {{-1.9, -1.2, 0.3}, {0.1, 2.2, -0.2}, {1.9, -1.4, 0.4}};

QXScalarGrid ThreeAtoms() {
  const QXMol mol = Carbons({-1.9, -1.2, 0.3, 0.1, 2.2, -0.2, 1.9, -1.4, 0.4});
  QXScalarGrid grid = OnGrid(QXMolToGaussians(mol, 1.7), 22, 0.4f);
  ForElements(grid, [](float& value, const Vector3d&) {
    if (value < 0.3f) value = 0;
  });
  return grid;
}

// The ends of a search in a basis of the width of the atoms.
std::vector<Vector> Ends(const QXScalarGrid& grid, unsigned int degree, unsigned int starts,
                         const QXTrans& trans = {}) {
  QXMol atoms = Carbons({0, 0, 0, 1, 1, 1});
  QXMultistartGridToAtoms search(FixedWidths(degree, 1.2736, 1.2736, 1.2736), grid, trans);
  EXPECT_TRUE(search.Sample(starts, atoms));
  const Vector coords = Coords(atoms);
  std::vector<Vector> ends;
  for (size_t i = 0; i < coords.size(); i += 3)
    ends.push_back({coords[i], coords[i + 1], coords[i + 2]});
  return ends;
}

TEST(MultistartGridToAtoms, FindsTheAtomsOfAGridAtTheSamePlacesEachTime) {
  const QXTrans trans = Shift(kPlaces[1]);
  // Starts lie up to 4 angstrom out, where the basis still holds 98 % of an atom: a Poisson
  // distribution of mean (lambda 4)^2/2 up to degree 20.
  std::vector<Vector> ends = Ends(ThreeAtoms(), 20, 10, trans);
  EXPECT_EQ(Ends(ThreeAtoms(), 20, 1, trans), std::vector<Vector>{ends[0]});
  EXPECT_TRUE(Ends(ThreeAtoms(), 20, 0, trans).empty());
  ASSERT_EQ(ends.size(), 3u);
  std::sort(ends.begin(), ends.end());
  for (size_t i = 0; i < 3; ++i) {
    for (size_t a = 0; a < 3; ++a) ends[i][a] -= kPlaces[1][a];
    EXPECT_TRUE(AllNear(ends[i], kPlaces[i], 0.1)) << "half of what counts as distinct";
  }
}

TEST(MultistartGridToAtoms, KeepsEndsThatAreDistinct) {
  // A basis too small for the grid scatters the ends.
  const std::vector<Vector> ends = Ends(ThreeAtoms(), 5, 300);
  double closest = HUGE_VAL;
  for (const Vector& a : ends)
    for (const Vector& b : ends)
      if (a < b) closest = std::min(closest, std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]));
  EXPECT_GE(closest, 0.2);
  EXPECT_LT(closest, 0.25);
}

TEST(MultistartGridToAtoms, StartsOnNegativeElementsTooAndTellsItsProgress) {
  QXScalarGrid grid = MakeGrid(3, 3, 3, 1.0f);
  grid.GetValues()[5] = -1.0f;
  Messages messages;
  QXCore::QXThrow.SetDebug(true);
  Ends(grid, 5, 2);
  QXCore::QXThrow.SetDebug(false);
  ASSERT_EQ(messages.all.size(), 4u);
  EXPECT_EQ(messages.all[2].second, "Working on start number i = 1");
  EXPECT_EQ(messages.all[3].second.substr(0, 11), "maxTani =  ");
  EXPECT_LT(std::stod(messages.all[3].second.substr(11)), 1.0);
}

}  // namespace
}  // namespace QXHermiteMath
