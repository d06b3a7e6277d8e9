#include "hermite/expansion/grid_evaluation.h"

#include <bit>

#include "support/grids.h"
#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

constexpr double kFloatEpsilon = std::numeric_limits<float>::epsilon();

std::vector<float> Values(const QXScalarGrid& grid) {
  return {grid.GetValues(), grid.GetValues() + grid.GetSize()};
}

std::vector<uint32_t> Bits(const QXScalarGrid& grid) {
  std::vector<uint32_t> bits;
  for (float value : Values(grid)) bits.push_back(std::bit_cast<uint32_t>(value));
  return bits;
}

/// An element as defined: each term in double and narrowed, the sum in float, in shell order.
float PlainSum(unsigned int N, const Vector& c, const Vector& lambdas, double x, double y,
               double z) {
  float sum = 0.0f;
  size_t i = 0;
  ForShellOrder(N, [&](unsigned int l, unsigned int m, unsigned int n) {
    const double term = c[i++] * QXHermiteFunc(l, x * lambdas[0]) *
                        QXHermiteFunc(m, y * lambdas[1]) * QXHermiteFunc(n, z * lambdas[2]);
    sum += static_cast<float>(term);
  });
  return sum;
}

TEST(GridEvaluation, HasTheBitsOfThePlainSumAtEveryLevel) {
  const Vector lambdas = {0.9, 0.7, 1.3};
  const struct {
    unsigned int N;
    QXScalarGrid grid;
    double scale = 1.0;
  } cases[] = {
      {0, ZeroGrid(1, 1, 1, 0.5f)},
      {3, ZeroGrid(16, 2, 4, 0.3f)},
      {5, ZeroGrid(35, 3, 7, 0.21f, 0.1f, -0.7f, 1.3f)},
      {11, ZeroGrid(7, 2, 9, 0.4f, 0.0f, 0.3f, -0.2f)},
      {4, ZeroGrid(8, 0, 3, 0.4f)},
      // Far out the functions of two axes underflow in another order of the factors.
      {5, ZeroGrid(9, 3, 2, 0.1f, 27.5f / 0.9f, 27.5f / 0.7f), 1e300},
      {5, ZeroGrid(9, 3, 2, 0.1f, 0.0f, 27.5f / 0.7f, 27.5f / 1.3f), 1e300},
  };
  for (const auto& c : cases) {
    Vector coefficients = RandomCoefficients(c.N, 300 + c.N);
    for (double& coefficient : coefficients) coefficient *= c.scale;
    QXScalarGrid plain = c.grid;
    ForElements(plain, [&](float& value, double x, double y, double z) {
      value = PlainSum(c.N, coefficients, lambdas, x, y, z);
    });
    for (QXSimdLevel level : SimdLevels()) {
      QXScalarGrid grid = c.grid;
      EvaluateOnGrid(c.N, coefficients.data(), lambdas.data(), grid, level);
      EXPECT_EQ(Bits(grid), Bits(plain))
          << "degree " << c.N << ", level " << static_cast<int>(level);
    }
  }
}

TEST(GridEvaluation, SizesTheCube) {
  const struct {
    double width, spacing;
    unsigned int dim;
    bool cut;
  } cases[] = {{0, 1, 8, false},     {0, 10, 5, false},   {0, 1.6, 5, false},  {0, 1.5, 6, false},
               {492, 1, 500, false}, {493, 1, 500, true}, {1000, 1, 500, true}};
  for (const auto& c : cases) {
    Messages messages;
    EXPECT_EQ(EvaluationGridDim(c.width, c.spacing), c.dim) << c.width;
    std::vector<Messages::Message> expected;
    const std::string blanks(32, ' ');
    if (c.cut)
      expected.emplace_back(
          QXCore::QXErrorLevel::Warning,
          "The grid spacing for this molecule, requires grid size exceeding maximum allowed of "
          "500," +
              blanks +
              "in order to cover the entire molecule. Instead maximum value will be "
              "used." +
              blanks + "Try increasing spacing size.");
    EXPECT_EQ(messages.all, expected);
  }
}

// A Gaussian of width lambda^2/2 is a basis function. It stands off the origin, and so does the
// mid point of the grid: the centre of the expansion is not consulted, and the mid point kept.
TEST(GridEvaluation, GivesAGaussianBackAboutTheOrigin) {
  const float at[] = {5.0f, -1.0f, 2.0f};
  QXHermiteOptions options = FixedWidths(0, 1.0, 1.0, 1.0);
  options.SetUseCenterOfMass(true);
  const QXHermite h = Expanded({QXGaussian(2.0f, 0.5f, at, 0u)}, options);
  QXScalarGrid grid, narrow;
  grid.SetMid(0.5f, -0.25f, 0.125f);
  ASSERT_TRUE(h.CreateGrid(grid, 0.7, 2.0));
  EXPECT_EQ(grid.GetXDim() * 10000 + grid.GetYDim() * 100 + grid.GetZDim(), 131313u);
  EXPECT_EQ(grid.GetSpacing(), 0.7f);
  EXPECT_EQ(grid.GetXMid(), 0.5f);
  ForElements(grid, [&](float value, double x, double y, double z) {
    const double f = 2 * std::exp(-(x * x + y * y + z * z) / 2);
    EXPECT_NEAR(value, f, kFloatEpsilon * f);
  });
  // Without a width it is the extent of the object, here nothing.
  ASSERT_TRUE(h.CreateGrid(narrow, 1.0));
  EXPECT_EQ(narrow.GetXDim(), 8u);

  QXScalarGrid untouched = grid;
  EXPECT_FALSE(CreateGrid(1, Vector(5), 2.0, untouched, 0.3, 1.0, 1.0, 1.0));
  EXPECT_EQ(Values(untouched), Values(grid));
}

// A moved grid is the grid of the moved expansion, to trilinear interpolation: that errs by an
// eighth of the second differences along the three axes, here the largest at the elements, twice
// for what lies in between. On the faces of the cube the density has fallen below 1e-5 of its
// largest value.
TEST(GridEvaluation, MovesTheGridAsTheExpansion) {
  const Matrix m = EulerMatrix({0.4, -0.7, 0.9});
  const double t[] = {0.7, -0.4, 1.1};
  QXTrans transform;
  transform.Append(QXMolKit::QXRotMatrix(m.data()));
  transform.Append(QXMolKit::QXTranslation(t));
  QXHermite h;
  ASSERT_TRUE(h.Setup(RandomCoefficients(3, 310), FixedWidths(3, 0.9, 0.9, 0.9)));
  QXScalarGrid plain, moved;
  ASSERT_TRUE(h.CreateGrid(plain, 0.25, 9.0));
  ASSERT_TRUE(h.CreateGrid(moved, 0.25, 9.0, transform));
  QXScalarGrid expected = moved;
  expected.SetMid(moved.GetXMid() - 0.7f, moved.GetYMid() + 0.4f, moved.GetZMid() - 1.1f);
  h.RotateHermites({m.data(), m.data() + 9});
  EvaluateOnGrid(3, h.GetCoefficients().data(), Widths(h).data(), expected,
                 QXCore::QXGetSimdLevel());

  const std::vector<float> f = Values(plain), actual = Values(moved);
  const size_t dim = plain.GetXDim();
  float bound = 0, largest = 0;
  for (size_t step : {size_t{1}, dim, dim * dim}) {
    float bend = 0;
    for (size_t i = step; i + step < f.size(); ++i) {
      largest = std::max(largest, std::fabs(f[i]));
      bend = std::max(bend, std::fabs(f[i - step] - 2 * f[i] + f[i + step]));
    }
    bound += 2 * bend / 8;
  }
  EXPECT_LT(bound, largest / 4) << "the bound tells something";
  EXPECT_TRUE(AllNear({actual.begin(), actual.end()},
                      {expected.GetValues(), expected.GetValues() + expected.GetSize()},
                      bound + 1e-5f * largest));
}

// The form with a transform is always true: coefficients of a wrong number leave the grid as it
// was, which is then moved. Without a motion a grid comes back as it was.
TEST(GridEvaluation, MovesWhatIsThereWhenTheCoefficientsAreWrong) {
  const double t[] = {1.0, -2.0, 3.0};
  QXTrans transform;
  for (double shift : {0.0, 1.0}) {
    QXScalarGrid grid = ZeroGrid(3, 4, 2, 0.5f);
    for (unsigned int i = 0; i < grid.GetSize(); ++i)
      grid.GetValues()[i] = static_cast<float>(i + 1);
    const std::vector<float> before = Values(grid);
    EXPECT_TRUE(CreateGrid(1, Vector(5), 2.0, grid, 0.3, 1.0, 1.0, 1.0, transform));
    ASSERT_EQ(Values(grid).size(), before.size());
    for (size_t i = 0; i < before.size(); ++i)
      EXPECT_NEAR(grid.GetValues()[i], before[i], 32 * kFloatEpsilon * before[i]);
    EXPECT_EQ(grid.GetSpacing(), 0.5f);
    EXPECT_EQ(grid.GetZMid(), static_cast<float>(3 * shift));
    transform.Append(QXMolKit::QXTranslation(t));
  }
}

}  // namespace
}  // namespace QXHermiteMath
