#include "hermite/gridatoms/grid_to_multi_hermite.h"

#include "support/grids.h"
#include "support/hermite.h"
#include "support/molecules.h"

namespace QXHermiteMath {
namespace {

TEST(GridToMultiHermite, FitsAtTheSitesOfTheAtomSearch) {
  const QXScalarGrid grid = NoiseGrid(12, 0.4f);  // a tenth is negative
  QXLassoAtoms search;
  search.SetupGrid(grid, 0.0);
  QXMol atoms;
  search.FindAtoms(atoms, 0.6, 1.2, 0.3, 3);
  ASSERT_EQ(atoms.NumAtoms(), 3u);

  for (const double activeFraction : {0.0, 0.0999, 0.1, 1.0}) {
    QXGridToMultiHermite fit;
    const QXMultiHermite result = fit.FitMultiHermite(grid, 2, 1.3, 1.2, 0.3, 3, activeFraction);
    EXPECT_EQ(fit.FindHermiteSites(1.2, 0.3, 3), Coords(atoms));
    const QXMultiHermiteParameters params = result.GetParams();
    EXPECT_EQ(params.GetCenterValues(), Coords(atoms));
    EXPECT_EQ(params.GetNPolyMaxValues(), std::vector<unsigned int>{2});
    EXPECT_EQ(params.GetLambdaValues(), Vector{1.3});
    QXMultiHermite expected(params);
    const auto most = static_cast<unsigned int>(30 * activeFraction);  // 0, 2, 3 and all
    expected.Setup(search.GetGridCoordinates(), search.GetGridValues(), most);
    EXPECT_EQ(result.GetActives(), expected.GetActives());
    EXPECT_EQ(result.GetDenseCoefficients(), expected.GetDenseCoefficients());
  }
}

TEST(GridToMultiHermite, ASingleSiteIsTheHighestAndAnEmptyGridHasNone) {
  const Gaussians shape = makeShapeGaussians({-1.0, 0.0, 0.0, 1.2, 0.0, 0.0, 1.2, 1.2, 0.0}, 1.4);
  QXGridToMultiHermite fit;
  EXPECT_TRUE(fit.FindHermiteSites(1.0, 0.2, 3).empty()) << "before any grid";
  const QXMultiHermite one = fit.FitMultiHermite(OnGrid(shape, 20, 0.4f), 2, 1.3, 1.2, 0.2, 1, 0.5);
  ASSERT_EQ(one.GetParams().NumSites(), 1u);
  EXPECT_NEAR(Farthest(one.GetParams().GetCenter(0), {1.2, 0, 0, 1.2, 1.2, 0}), 0.0, 0.7);
  const QXMultiHermite none = fit.FitMultiHermite(MakeGrid(5, 5, 5, 0.5f), 2, 1.3, 1.2, 0.2, 5, 1);
  EXPECT_EQ(none.GetParams().NumSites(), 0u);
  EXPECT_EQ(none.NumActives(), 0u);
}

}  // namespace
}  // namespace QXHermiteMath
