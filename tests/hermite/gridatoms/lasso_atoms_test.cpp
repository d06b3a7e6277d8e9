#include "hermite/gridatoms/lasso_atoms.h"

#include "hermite/gridatoms/grid_to_mol.h"
#include "hermite/gridatoms/lasso_gaussians.h"
#include "host/grid/field_grid.h"
#include "host/numerics/random.h"
#include "support/grids.h"
#include "support/hermite.h"
#include "support/molecules.h"

namespace QXHermiteMath {
namespace {

const Vector kAtoms = {-2.3, 0.1, 0.2, -0.2, 0.9, -0.4, 0.3, -1.8, 0.6, 2.2, 0.4, 0.1, 1.9, 2.8, 0};

QXScalarGrid Map() {
  return OnGrid(makeShapeGaussians(kAtoms, 1.7), 30, 0.35f);
}

QXLassoAtoms Search(const QXScalarGrid& grid, double valueFraction) {
  QXLassoAtoms search;
  EXPECT_TRUE(search.SetupGrid(grid, valueFraction));
  return search;
}

TEST(LassoAtoms, KeepElementsStrictlyAboveAFractionOfTheMaximum) {
  struct Case {
    std::vector<float> values;
    double fraction;
    std::vector<size_t> kept;
  };
  const Vector places[] = {{-0.5, 0, -0.5}, {0.5, 0, -0.5}, {-0.5, 0, 0.5}, {0.5, 0, 0.5}};
  for (const Case& c : {Case{{2, 0, -1, 4}, 0.0, {0, 3}},  // no zero element
                        Case{{2, 0, -1, 4}, 0.5, {3}},
                        Case{{-2, -1, -4, -3}, 2.0, {}},  // the maximum is 0 at least
                        Case{{-2, 3, 0, std::nanf("")}, -1.0, {0, 1, 2}}}) {
    QXScalarGrid grid = MakeGrid(2, 1, 2, 1.0f);
    std::ranges::copy(c.values, grid.GetValues());
    QXLassoAtoms search = Search(grid, c.fraction);
    Vector values, coordinates;
    for (const size_t i : c.kept) {
      values.push_back(c.values[i]);
      coordinates.insert(coordinates.end(), places[i].begin(), places[i].end());
    }
    EXPECT_EQ(search.GetGridValues(), values);
    EXPECT_EQ(search.GetGridCoordinates(), coordinates);
    EXPECT_EQ(search.SampleAtoms(0.1, 0.5).size(), c.kept.empty() ? 0u : 3u) << "one, the highest";
  }
}

TEST(LassoAtoms, LookForHigherValuesTowardsLargerCoordinatesOnly) {
  const auto next = [](QXCore::QXRandom& random, double spacing) {
    Vector3d step;
    for (double& s : step) s = spacing * random.NextFloat();
    return step;
  };
  const Vector3d slope(1, 0.5, 0.25);
  QXCore::QXRandom draws(false), again(false);
  Vector3d highest(0, 0, 0);
  for (int draw = 0; draw < 100; ++draw)
    if (const Vector3d step = next(draws, 0.5); slope.dot(step) > slope.dot(highest))
      highest = step;
  QXScalarGrid ramp = MakeGrid(8, 8, 8, 0.5f);
  Fill(ramp, [&](const Vector3d& p) { return 10 + slope.dot(p); });
  QXLassoAtoms up = Search(ramp, 0.0);
  Fill(ramp, [&](const Vector3d& p) { return 10 - slope.dot(p); });
  QXLassoAtoms down = Search(ramp, 0.0);
  const Vector places = up.GetGridCoordinates();
  for (const unsigned int i : {0u, 1u + 8 * (2 + 8 * 3), 1u + 8 * (2 + 8 * 3)}) {
    const Vector3d start = Vector3d::Map(&places[3 * i]), end = start + highest;
    // The same draws each time. Float coordinates and values round at 1e-7 and 1e-6.
    const auto [value, place] = up.SampleGridLocalMaximum(i);
    EXPECT_NEAR(value, 10 + slope.dot(end), 2e-6);
    EXPECT_EQ(place, Vector(end.begin(), end.end()));
    EXPECT_EQ(down.SampleGridLocalMaximum(i),
              std::pair(10 - slope.dot(start), Vector(start.begin(), start.end())));
  }
  // Between the outermost elements and the box the grid is 0, beyond it nothing.
  QXScalarGrid row = MakeGrid(2, 1, 1, 1.0f);
  row.GetValues()[0] = 5;
  row.GetValues()[1] = -1;
  Vector3d inside;
  do inside = next(again, 1.0);
  while (inside.maxCoeff() >= 0.5);
  EXPECT_EQ(Search(row, -1.0).SampleGridLocalMaximum(1),
            std::pair(0.0, Vector{0.5 + inside[0], inside[1], inside[2]}));
}

// Thinning by the rule as it reads: from the last of the sorted pairs down.
Vector Thinned(const Vector& places, const Vector& values, double minDistance, size_t most) {
  QXLassoAtoms any;
  std::vector<std::pair<double, Vector>> pairs;
  for (size_t i = 0; i < values.size(); ++i)
    pairs.push_back({values[i], {places[3 * i], places[3 * i + 1], places[3 * i + 2]}});
  std::sort(pairs.rbegin(), pairs.rend());
  Vector taken;
  for (const auto& [value, place] : pairs)
    if (taken.size() < 3 * most && !any.IsDuplicate(taken, place, minDistance))
      taken.insert(taken.end(), place.begin(), place.end());
  return taken;
}

TEST(LassoAtoms, DropTheLowerOfTwoThatAreTooNear) {
  std::mt19937 random(3);
  Vector places(3 * 1500), values(1500);
  for (double& x : places) x = (static_cast<double>(random() % 256) - 128.0) / 32;  // in float too
  for (double& value : values) value = static_cast<double>(random() % 50);
  QXLassoAtoms search;
  for (const double minDistance : {0.0, -1.0, 0.9, 3.0, 1e-9, HUGE_VAL}) {
    for (const unsigned int most : {0u, 20u, 5000u}) {
      QXMol mol = Carbons(places);
      EXPECT_TRUE(search.DeduplicateAtoms(mol, values, minDistance, most));
      EXPECT_EQ(Coords(mol), Thinned(places, values, minDistance, most)) << minDistance;
    }
  }
  EXPECT_FALSE(search.IsDuplicate({9, 0, 0, 3, 4, 0}, {0, 0, 0}, 5.0)) << "at the distance";
  EXPECT_TRUE(search.IsDuplicate({9, 0, 0, 3, 4, 0}, {0, 0, 0}, 5.001));
  EXPECT_FALSE(search.IsDuplicate({}, {0, 0, 0}, 5.0));
}

// Step by step on a grid without shape, where each step shows.
TEST(LassoAtoms, AreTheFittedCandidatesFiveTimesAsDense) {
  QXLassoAtoms search = Search(NoiseGrid(12, 0.35f), 0.27);
  const Vector samples = search.SampleAtoms(0.2 * 2.0, 0.3);
  Vector places, values;
  const Vector kept = search.GetGridValues();
  for (unsigned int i = 0; i < kept.size(); ++i) {
    if (kept[i] <= 0.3 * *std::ranges::max_element(kept)) continue;
    const auto [value, place] = search.SampleGridLocalMaximum(i);
    values.push_back(value);
    places.insert(places.end(), place.begin(), place.end());
  }
  EXPECT_LT(values.size(), kept.size());
  EXPECT_EQ(samples, Thinned(places, values, 0.2 * 2.0, values.size()));

  QXLassoGaussians lasso(samples, 0.7);
  lasso.Setup(search.GetGridCoordinates(), kept, 8);  // twice as many as remain
  places.clear();
  values.clear();
  for (const unsigned int i : lasso.GetActives()) {
    places.insert(places.end(), &samples[3 * i], &samples[3 * i] + 3);
    values.push_back(lasso.GetValue(samples[3 * i], samples[3 * i + 1], samples[3 * i + 2]));
  }
  QXMol expected = Carbons(places), mol = Carbons({7, 7, 7});
  search.DeduplicateAtoms(expected, values, 2.0, 4);
  search.FindAtoms(mol, 0.7, 2.0, 0.3, 4);
  EXPECT_EQ(Coords(mol), Coords(expected));
  EXPECT_EQ(mol.NumAtoms(), 4u);
}

// The score of each prefix from scratch, by handles.
std::pair<double, Vector> BestPrefix(const QXScalarGrid& grid, const Vector& coords,
                                     unsigned int metric) {
  using namespace QXFieldKit;
  const int ref = QXAcquireGridHandle(*new QXFieldGrid(grid));
  std::pair<double, Vector> best;
  for (size_t size = 3; size <= coords.size(); size += 3) {
    const Vector prefix(coords.begin(), coords.begin() + static_cast<long>(size));
    QXScalarGrid density = grid;
    QXMakeMolecularGaussianGrid(density, Carbons(prefix));
    const auto [a, b, c] =
        QXGridOverlap(QXAcquireGridHandle(*new QXFieldGrid(density)), ref, 0, 0.0f);
    const double score = metric == 0   ? c / std::sqrt(a) / std::sqrt(b)
                         : metric == 1 ? c / (b - c + a)
                                       : 0.0;
    if (score > best.first) best = {score, prefix};
  }
  return best;
}

TEST(LassoAtoms, TheBestNumberOfThemScoresHighest) {
  const QXScalarGrid map = Map();
  QXLassoAtoms search = Search(map, 0.0);
  Vector more = kAtoms;
  more.insert(more.end(), {90, 0, 0});  // adds nothing: the smaller molecule stays
  QXMol in = Carbons(more);
  for (const unsigned int metric : {0u, 1u, 2u}) {
    QXMol out = Carbons({7, 7, 7});
    const auto [score, places] = BestPrefix(map, Coords(in), metric);
    EXPECT_EQ(places.size(), metric == 2 ? 0 : kAtoms.size());
    EXPECT_EQ(search.OptimizeNumberOfAtoms(in, out, metric), score);
    EXPECT_EQ(Coords(out), places);
  }
  EXPECT_GT(search.OptimizeNumberOfAtoms(in, in, 1), 0.99999) << "of one molecule with itself";
  EXPECT_EQ(in.NumAtoms(), 5u);
  const QXMol none;
  EXPECT_EQ(search.OptimizeNumberOfAtoms(none, in, 1), 0.0);
  EXPECT_EQ(in.NumAtoms(), 0u);
}

TEST(GridToMol, FindsTheAtomsOfAMap) {
  QXMol mol = Carbons({7, 7, 7}), expected;
  const double score = QXGridToMol(Map(), mol, 1.7, 1.3, 0.3, 5, 1);
  ASSERT_EQ(mol.NumAtoms(), 5u);
  // Candidates stand up to 0.26 apart.
  EXPECT_NEAR(Farthest(kAtoms, Coords(mol)), 0.0, 0.26);
  EXPECT_GT(score, 0.9);

  QXLassoAtoms search = Search(Map(), 0.9 * 0.3);
  search.FindAtoms(expected, 1.7, 1.3, 0.3, 5);
  EXPECT_EQ(search.OptimizeNumberOfAtoms(expected, expected, 1), score);
  EXPECT_EQ(Coords(mol), Coords(expected));
}

TEST(GridToMol, ReplacesTheMoleculeWhereThereIsNothing) {
  for (const auto& [grid, maxAtoms] :
       {std::pair(MakeGrid(6, 6, 6, 0.5f), 5u), {Map(), 0u}, {QXScalarGrid(), 5u}}) {
    QXMol mol = Carbons({7, 7, 7});
    EXPECT_EQ(QXGridToMol(grid, mol, 1.7, 1.3, 0.3, maxAtoms, 1), 0.0);
    EXPECT_EQ(mol.NumAtoms(), 0u);
  }
}

}  // namespace
}  // namespace QXHermiteMath
