#include "hermite/expansion/grid_evaluation.h"

#include <bit>

#include "support/grids.h"
#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

std::vector<uint32_t> Bits(const QXScalarGrid& grid) {
  std::vector<uint32_t> bits;
  for (unsigned int i = 0; i < grid.GetSize(); ++i)
    bits.push_back(std::bit_cast<uint32_t>(grid.GetValues()[i]));
  return bits;
}

/// An element as defined: each term in double and narrowed, the sum in float, in shell order.
float PlainSum(unsigned int N, const Vector& c, const Vector& lambdas, const Vector3d& p) {
  float sum = 0.0f;
  size_t i = 0;
  ForShellOrder(N, [&](unsigned int l, unsigned int m, unsigned int n) {
    const double term = c[i++] * QXHermiteFunc(l, p[0] * lambdas[0]) *
                        QXHermiteFunc(m, p[1] * lambdas[1]) * QXHermiteFunc(n, p[2] * lambdas[2]);
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
      {0, MakeGrid(1, 1, 1, 0.5f)},
      {3, MakeGrid(16, 2, 4, 0.3f)},
      {5, MakeGrid(35, 3, 7, 0.21f, {0.1f, -0.7f, 1.3f})},
      {11, MakeGrid(7, 2, 9, 0.4f, {0.0f, 0.3f, -0.2f})},
      {4, MakeGrid(8, 0, 3, 0.4f)},
      // Far out the functions of two axes underflow in another order of the factors.
      {5, MakeGrid(9, 3, 2, 0.1f, {27.5f / 0.9f, 27.5f / 0.7f, 0.0f}), 1e300},
      {5, MakeGrid(9, 3, 2, 0.1f, {0.0f, 27.5f / 0.7f, 27.5f / 1.3f}), 1e300},
  };
  for (const auto& c : cases) {
    Vector coefficients = RandomCoefficients(c.N, 300 + c.N);
    for (double& coefficient : coefficients) coefficient *= c.scale;
    QXScalarGrid plain = c.grid;
    Fill(plain, [&](const Vector3d& p) { return PlainSum(c.N, coefficients, lambdas, p); });
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
  } cases[] = {{0, 10, 5, false}, {0, 1.5, 6, false}, {493, 1, 500, true}};
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
  ForElements(grid, [&](float value, const Vector3d& p) {
    const double f = 2 * std::exp(-p.squaredNorm() / 2);
    EXPECT_NEAR(value, f, kFloatEpsilon * f);
  });
  // Without a width it is the extent of the object, here nothing.
  ASSERT_TRUE(h.CreateGrid(narrow, 1.0));
  EXPECT_EQ(narrow.GetXDim(), 8u);
  const float left[] = {-3.0f, -1.0f, 2.0f};
  QXScalarGrid moved;
  const QXHermite two = Expanded({QXGaussian(2.0f, 0.5f, at, 0u), QXGaussian(2.0f, 0.5f, left, 0u)},
                                 options);  // 4 on either side of their centre
  ASSERT_TRUE(two.CreateGrid(moved, 1.0, Shift({0.5, 0, 0})));
  EXPECT_EQ(Geometry(moved), (Vector{16, 16, 16, 1, 0.5, 0, 0}));

  QXScalarGrid untouched = grid;
  EXPECT_FALSE(CreateGrid(1, Vector(5), 2.0, untouched, 0.3, 1.0, 1.0, 1.0));
  EXPECT_EQ(Values(untouched), Values(grid));
}

// The form with a transform is always true: coefficients of a wrong number leave the grid as it
// was, which is then moved. Without a motion a grid comes back as it was.
TEST(GridEvaluation, MovesWhatIsThereWhenTheCoefficientsAreWrong) {
  for (const float shift : {0.0f, 3.0f}) {
    const QXTrans transform = shift == 0 ? QXTrans() : Shift({1, -2, shift});
    QXScalarGrid grid = MakeGrid(3, 4, 2, 0.5f);
    for (unsigned int i = 0; i < grid.GetSize(); ++i)
      grid.GetValues()[i] = static_cast<float>(i + 1);
    const Vector before = Values(grid);
    EXPECT_TRUE(CreateGrid(1, Vector(5), 2.0, grid, 0.3, 1.0, 1.0, 1.0, transform));
    ASSERT_EQ(Values(grid).size(), before.size());
    for (size_t i = 0; i < before.size(); ++i)
      EXPECT_NEAR(grid.GetValues()[i], before[i], 32 * kFloatEpsilon * before[i]);
    EXPECT_EQ(grid.GetSpacing(), 0.5f);
    EXPECT_EQ(grid.GetZMid(), shift);
  }
}

}  // namespace
}  // namespace QXHermiteMath
