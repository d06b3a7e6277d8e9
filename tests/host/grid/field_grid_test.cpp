#include "host/grid/field_grid.h"

#include <gmock/gmock.h>

#include "host/molkit/mol.h"
#include "support/grids.h"
#include "support/messages.h"

namespace QXFieldKit {
namespace {

using namespace QXTest;

constexpr double kPi = 3.14159265358979323846;

int Gaussian(const QXScalarGrid& geometry, double amplitude, double w, const Vector3d& centre) {
  QXScalarGrid grid = geometry;
  Fill(grid,
       [&](const Vector3d& p) { return amplitude * std::exp(-w * (p - centre).squaredNorm()); });
  return QXAcquireGridHandle(*new QXFieldGrid(grid));
}

/// The integral of the product of two such Gaussians at a distance d.
double Product(double a, double v, double b, double w, double d) {
  return a * b * std::pow(kPi / (v + w), 1.5) * std::exp(-v * w / (v + w) * d * d);
}

TEST(GridOverlap, OfGaussiansIsTheirIntegral) {
  const Vector3d p(0.3, 0, -0.2), q(-0.5, 0.4, 0.3);
  const QXScalarGrid geometry = MakeGrid(64, 64, 64, 0.2f);
  const Vector exact = {Product(2, 0.9, 2, 0.9, 0), Product(-3, 1.4, -3, 1.4, 0),
                        Product(2, 0.9, -3, 1.4, (p - q).norm())};
  const int a = Gaussian(geometry, 2, 0.9, p), b = Gaussian(geometry, -3, 1.4, q);
  // On one geometry the sum errs by exp(-pi^2 / (2.8 h^2)) only: what is left is single precision.
  const auto same = QXGridOverlap(a, b, 0, 0.0f);
  EXPECT_TRUE(AllNear({same.begin(), same.end()}, exact, 1e-6 * exact[1]));

  // On another one linear interpolation raises the values by h^2/8 of their second derivatives,
  // here 2 w times 3 axes at most.
  for (const auto& other :
       {MakeGrid(90, 92, 94, 0.15f, {0.03f, 0, 0.01f}), MakeGrid(64, 64, 64, 0.15f),
        MakeGrid(64, 64, 64, 0.2f, {0, 0, 0.5f})}) {
    const auto overlaps = QXGridOverlap(a, Gaussian(other, -3, 1.4, q), 0, 0.0f);
    const double h = other.GetSpacing();
    EXPECT_TRUE(AllWithin({overlaps.begin(), overlaps.end()}, exact,
                          {1e-6 * exact[0], 1e-6 * exact[1], -exact[2] * 3 * h * h / 8 * 2 * 1.4}));
  }
}

TEST(GridOverlap, LosesNothingOfTheOuterElements) {
  // Ones on the same lattice: the overlap is the volume of the smaller grid.
  QXScalarGrid small = MakeGrid(4, 4, 1, 1.0f), large = MakeGrid(6, 6, 1, 1.0f);
  for (QXScalarGrid* grid : {&small, &large}) Fill(*grid, [](const Vector3d&) { return 1.0; });
  const int a = QXAcquireGridHandle(*new QXFieldGrid(small));
  const int b = QXAcquireGridHandle(*new QXFieldGrid(large));
  EXPECT_THAT(QXGridOverlap(a, b, 0, 0.0f), testing::ElementsAre(16.0f, 36.0f, 16.0f));
  EXPECT_THAT(QXGridOverlap(b, a, 0, 0.0f), testing::ElementsAre(36.0f, 16.0f, 16.0f));
}

TEST(GridOverlap, OfAnUnknownHandleIsAnErrorAndZero) {
  const int known = Gaussian(MakeGrid(1, 1, 1, 1.0f), 1, 1, {0, 0, 0});
  for (const int unknown : {0, -1, known + 1}) {
    Messages messages;
    EXPECT_THAT(QXGridOverlap(known, unknown, 0, 0.0f), testing::Each(0.0f));
    EXPECT_THAT(messages.all, testing::ElementsAre(testing::Pair(QXCore::QXErrorLevel::Error,
                                                                 "There is no grid of handle " +
                                                                     std::to_string(unknown) +
                                                                     ": acquire one first.")));
  }
}

TEST(MolecularGaussianGrid, IsTheSumOfTheAtoms) {
  QXMolKit::QXMol mol;
  const unsigned int elements[] = {7, 1, 26, 30};
  const double radii[] = {1.55, 1.2, 1.7, 1.39};  // iron has none of its own
  const Vector coords = {0.1, -0.2, 0.3, 1.0, 0.2, 0.1, -2.5, 1.5, 0.0, -1.5, 0.6, 9.0};
  for (const unsigned int element : elements) mol.NewAtom(element);
  mol.SetCoords(coords.data());
  QXScalarGrid grid = MakeGrid(20, 24, 28, 0.5f, {0.5f, 0, 0});
  std::fill_n(grid.GetValues(), grid.GetSize(), 7.0f);
  QXMakeMolecularGaussianGrid(grid, mol);
  ForElements(grid, [&](float value, const Vector3d& p) {
    double sum = 0;
    for (size_t i = 0; i < 4; ++i) {
      const double d = (p - Vector3d(&coords[3 * i])).norm() / radii[i];
      sum += 2.7 * std::exp(-2.34422871067 * d * d);
    }
    // Coordinates and the sum are floats.
    ASSERT_NEAR(value, sum, 3e-6);
  });
}

}  // namespace
}  // namespace QXFieldKit
