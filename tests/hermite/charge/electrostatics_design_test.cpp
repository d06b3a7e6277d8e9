#include "hermite/charge/electrostatics_design.h"

#include "support/charges.h"
#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

// Against the densities of one function each. Their field is whole in the top degree, as that of
// the matrix, only in a layout with a spare degree.
TEST(ElectrostaticsDesign, HasPotentialAndFieldOfEachFunctionInBlocks) {
  const QXMultiHermiteParameters params(UInts{2, 0, 3}, Vector{0.9, 1.3, 1.1},
                                        {0, 0, 0, 1.5, 0, 0, 0, 1.4, 0.3});
  const UInts actives = {30, 4, 12, 9, 11, 2, 10, 0}, bySite = {4, 9, 2, 0, 10, 30, 12, 11};
  for (size_t P : {0u, 1u, 37u}) {
    const Vector points = RandomPoints(P, 4.0, 7);
    const Eigen::MatrixXd D = HermiteElectrostaticsDesignMatrix(points, params, actives);
    ASSERT_EQ(D.rows(), 4 * P);
    ASSERT_EQ(D.cols(), 8);
    for (size_t column = 0; column < 8; ++column) {
      const unsigned int site = params.GetSite(bySite[column]);
      const auto [l, m, n] = params.GetLmn(site, bySite[column]);
      QXHermiteChargeDensity one(params);
      one.SetCoefficients({1.0}, {bySite[column]});
      const Vector potential = one.EvaluatePotential(points);
      const Vector field = one.WithSpareDegree().EvaluateElectricField(points);
      const double width = params.GetLambda(site), alpha = width * width;
      const double w = 2086.42 / (std::pow(width, l + m + n) * alpha);
      for (size_t p = 0; p < P; ++p) {
        const Vector3d R =
            Vector3d::Map(params.GetCenter(site).data()) - Vector3d::Map(&points[3 * p]);
        const Vector bounds = TableRounding(params.GetNPolyMax(site) + 1, alpha, R.data());
        ASSERT_TRUE(
            AllWithin({D(p, column), D(P + p, column), D(2 * P + p, column), D(3 * P + p, column)},
                      {potential[p], field[3 * p], field[3 * p + 1], field[3 * p + 2]},
                      {w * bounds[RIndex(0, l, m, n)], w * bounds[RIndex(0, l + 1, m, n)],
                       w * bounds[RIndex(0, l, m + 1, n)], w * bounds[RIndex(0, l, m, n + 1)]}))
            << "column " << column << ", point " << p;
      }
    }
  }
}

}  // namespace
}  // namespace QXHermiteMath
