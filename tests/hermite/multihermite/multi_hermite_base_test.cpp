#include "hermite/multihermite/multi_hermite_base.h"

#include <gmock/gmock.h>

#include "support/grids.h"
#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

/// Four sites of several degrees and widths; all functions of the first, none of the second, every
/// third of the others.
QXMultiHermite Model() {
  const QXMultiHermiteParameters params(UInts{3, 2, 5, 0}, Vector{0.9, 1.0, 0.7, 1.3},
                                        {0.5, -1, 0, 0, 0, 0, -1, 0.25, 2, 0.3, 1, -1.5});
  Vector dense;
  for (unsigned int site = 0; site < params.NumSites(); ++site)
    for (double c : RandomCoefficients(params.GetNPolyMax(site), 40 + site))
      dense.push_back(site == 0 || (site != 1 && dense.size() % 3 == 0) ? c : 0.0);
  QXMultiHermite model(params);
  EXPECT_TRUE(model.SetCoefficients(dense));
  return model;
}

/// The value at a point and the sum of the magnitudes of its terms, from the definition.
std::pair<double, double> PlainValue(const QXMultiHermite& model, const double* p) {
  const QXMultiHermiteParameters params = model.GetParams();
  long double sum = 0, magnitude = 0;
  for (unsigned int index : model.GetActives()) {
    const unsigned int site = params.GetSite(index);
    const Vector center = params.GetCenter(site);
    const auto lmn = params.GetLmn(site, index);
    long double term = model.GetCoefficient(index);
    for (size_t axis = 0; axis < 3; ++axis)
      term *= HermiteFunction(lmn[axis], (p[axis] - center[axis]) * params.GetLambda(site));
    sum += term;
    magnitude += std::fabs(term);
  }
  return {static_cast<double>(sum), static_cast<double>(magnitude)};
}

TEST(MultiHermiteBase, StoresWhatIsGivenSparsely) {
  QXMultiHermite model(QXMultiHermiteParameters(2, 1.0, Vector(6)));
  // Of equal indices the first coefficient stays; a zero is active.
  EXPECT_TRUE(model.SetCoefficients({1.5, 2.5, 0.0, 4.5}, {12, 3, 1, 12}));
  EXPECT_EQ(model.GetActives(), (UInts{1, 3, 12}));
  EXPECT_EQ(model.GetActives(0), (UInts{3, 1})) << "in the order given";
  EXPECT_EQ(model.GetCoefficient(12), 1.5);
  EXPECT_EQ(model.GetDenseCoefficients(0), (Vector{0, 0, 0, 2.5, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(model.GetDenseCoefficients(1), (Vector{0, 0, 1.5, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(model.GetDenseCoefficients()[12], 1.5);

  Vector dense(20);
  dense[0] = -0.0;
  dense[4] = std::numeric_limits<double>::quiet_NaN();
  dense[11] = -2.0;
  dense[2] = std::numeric_limits<double>::denorm_min();
  EXPECT_TRUE(model.SetCoefficients(dense));
  EXPECT_EQ(model.GetActives(), (UInts{2, 11}));
  EXPECT_EQ(model.GetActives(1), UInts{11});
  EXPECT_EQ(model.NumActives(), 2u);
}

TEST(MultiHermiteBase, RefusesToReadAnInactiveIndex) {
  QXMultiHermite model(QXMultiHermiteParameters(2, 1.0, Vector(3)));
  model.SetCoefficients({1.0}, {3});
  EXPECT_THAT([&] { model.GetCoefficient(4); },
              testing::ThrowsMessage<std::out_of_range>("map::at:  key not found"));
  EXPECT_EQ(model.GetActives(), UInts{3});
}

// Rounding: a few operations for each of the degrees of three functions, and one a term.
TEST(MultiHermiteBase, EvaluatesTheSumOfItsFunctions) {
  QXMultiHermite model = Model();
  const Vector points = RandomPoints(70, 2.5, 9);
  Vector expected, bounds;
  for (size_t i = 0; i < points.size(); i += 3) {
    const auto [value, magnitude] = PlainValue(model, &points[i]);
    expected.push_back(value);
    bounds.push_back(256 * kEpsilon * (magnitude + 1e-3));
  }
  EXPECT_TRUE(AllWithin(model.Evaluate(points), expected, bounds));
  EXPECT_EQ(model.Evaluate({}), Vector{});
  EXPECT_EQ(QXMultiHermite(QXMultiHermiteParameters(2, 1.0, {})).Evaluate(Vector(6)), Vector(2));
}

TEST(MultiHermiteBase, FillsACubeAboutTheMidPoint) {
  QXMultiHermite model = Model();
  QXScalarGrid grid;
  grid.SetMid(0.5f, -0.25f, 0.125f);
  ASSERT_TRUE(model.CreateGrid(grid, 0.5, 2.75));
  EXPECT_EQ(Geometry(grid), (Vector{19, 19, 19, 0.5, 0.5, -0.25, 0.125}));
  ForElements(grid, [&](float value, const Vector3d& p) {
    // Narrowed after each of three sites.
    const auto [expected, magnitude] = PlainValue(model, p.data());
    EXPECT_NEAR(value, expected, 2 * kFloatEpsilon * magnitude + 1e-12);
  });
}

// As that of a single expansion, up to 300.
TEST(MultiHermiteBase, SizesTheCube) {
  QXMultiHermite model(QXMultiHermiteParameters(0, 1.0, {0, 0, 0}));
  Messages messages;
  QXScalarGrid grid;
  EXPECT_TRUE(model.CreateGrid(grid, 1.0, 292.0));
  EXPECT_TRUE(messages.all.empty());
  EXPECT_TRUE(model.CreateGrid(grid, 0.01, 3.0));
  EXPECT_EQ(grid.GetZDim(), 300u);
  ASSERT_EQ(messages.all.size(), 1u);
  EXPECT_EQ(
      messages.all[0].second,
      "The grid spacing requires grid size exceeding maximum allowed of 300, in order to cover the "
      "entire molecule. Instead maximum value will be used. Try increasing spacing size.");
}

// The element at the centre of all sites, one of which is 1 there and three 2^-25: in double the
// sum is nearer to the next float.
TEST(MultiHermiteBase, RoundsTheGridAfterEachSite) {
  QXMultiHermite model(QXMultiHermiteParameters(0, 1.0, Vector(12)));
  const double small = std::exp2(-25);
  model.SetCoefficients({1.0, small, small, small});
  QXScalarGrid grid;
  model.CreateGrid(grid, 10.0, 0.0);
  EXPECT_EQ(grid.GetValues()[62], 1.0f);
  EXPECT_GT(static_cast<float>(model.Evaluate({0, 0, 0})[0]), 1.0f);
}

TEST(MultiHermiteBase, MovesTheDensity) {
  QXMultiHermite model = Model(), moved = model;
  const Vector points = RandomPoints(20, 2.5, 9), before = model.Evaluate(points);
  const Matrix R = EulerMatrix({0.3, -0.7, 1.9});
  EXPECT_TRUE(moved.Rotate(Vector(R.data(), R.data() + 9)));
  EXPECT_TRUE(moved.Translate({1, -2, 3}));
  Vector at;
  for (size_t i = 0; i < points.size(); i += 3) {
    const Vector3d p = R * Vector3d(&points[i]) + Vector3d(1, -2, 3);
    at.insert(at.end(), p.data(), p.data() + 3);
  }
  // Terms are of order 1, and there are some 50.
  EXPECT_TRUE(AllNear(moved.Evaluate(at), before, 1000 * kEpsilon));
  EXPECT_GT(moved.NumActives(), model.NumActives());
  EXPECT_EQ(moved.GetActives(1), UInts{});

  QXMultiHermite same(QXMultiHermiteParameters(2, 0.8, {1, 2, 3}));
  same.SetCoefficients({0.5, 0.0, -0.25}, {7, 2, 4});
  EXPECT_TRUE(same.Rotate({1, 0, 0, 0, 1, 0, 0, 0, 1}));
  EXPECT_EQ(same.GetActives(), (UInts{4, 7})) << "zeros are dropped";
  EXPECT_TRUE(AllNear(same.GetDenseCoefficients(), {0, 0, 0, 0, -0.25, 0, 0, 0.5, 0, 0}, kEpsilon));
  EXPECT_EQ(same.GetParams().GetCenterValues(), (Vector{1, 2, 3}));
}

// A function of degree 1 along y, of a site of degree 1: the work table of this axis has at this
// place what the last site of a higher degree has left there.
TEST(MultiHermiteBase, ReadsWhatIsLeftForASiteOfDegreeOne) {
  const auto h = [](unsigned int n, double t) { return QXHermiteFunc(n, t); };
  const double y = 0.25, w = -0.5, z = 0.75;
  const Vector centers = {0, 0, 0, 0, 0.125, 0};
  const auto values = [&](const UInts& degrees, const UInts& actives) {
    QXMultiHermite model(QXMultiHermiteParameters(degrees, 1.0, centers));
    model.SetCoefficients({1.0, 0.0}, actives);
    return model.Evaluate({0, y, z, 0, w, z});
  };
  // Behind it: of the same point. Before it: of the point before, and zero at the first.
  EXPECT_TRUE(
      AllNear(values({3, 1}, {22, 0}), {h(1, y) * h(0, z), h(1, w) * h(0, z)}, 4 * kEpsilon));
  EXPECT_TRUE(AllNear(values({1, 3}, {2, 4}), {0.0, h(1, y - 0.125) * h(0, z)}, 4 * kEpsilon));
  EXPECT_EQ(values({3, 1}, {22}), Vector(2, 0.0)) << "a site without active functions is left out";

  // On a grid: of the last element.
  QXMultiHermite model(QXMultiHermiteParameters({3, 1}, 1.0, centers));
  model.SetCoefficients({1.0, 0.0}, {22, 0});
  QXScalarGrid grid;
  model.CreateGrid(grid, 0.5, -4.0);
  EXPECT_EQ(grid.GetZDim(), 6u);
  ForElements(grid, [&](float found, const Vector3d& p) {
    const double expected = h(0, p[0]) * h(1, 1.25) * h(0, p[2]);
    EXPECT_NEAR(found, expected, kFloatEpsilon * expected);
  });
}

}  // namespace
}  // namespace QXHermiteMath
