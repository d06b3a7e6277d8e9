#include "hermite/charge/lasso_charge_density.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

using Eigen::MatrixXd;
using Eigen::VectorXd;

QXLassoChargeDensityOptions Options(bool potential, bool field, bool neutral) {
  QXLassoChargeDensityOptions options;
  options.SetUsePotential(potential);
  options.SetUseElectricField(field);
  options.SetUseNeutralCharge(neutral);
  return options;
}

VectorXd Column(const Vector& values) {
  return VectorXd::Map(values.data(), static_cast<Eigen::Index>(values.size()));
}

TEST(LassoChargeDensityOptions, StandInOneOrderWithTextsDefaultsAndLegalValues) {
  const std::string legal = "true or false";
  ExpectOptions<QXLassoChargeDensityOptions>(
      "Hermite Lasso Fit Options",
      {{"-UsePotential",
        "When True a Hermite charge density will be fitted to the electrostatic potential.", "true",
        legal},
       {"-UseElectricField",
        "When True a Hermite charge density will be fitted to the electric field.", "true", legal},
       {"-UseNeutralCharge", "When True imposes zero total charge constraint.", "true", legal}});
}

// Without noise the centred target lies in the span of the centred columns, whatever its mean. The
// end of the path is off by t G^-1 s, where t is the floor of the walk, 256 epsilon |y|, s are
// signs and G is that of all columns; as much again for the rounding of the target.
TEST(LassoChargeDensity, FindsASparseDensityAgain) {
  const QXMultiHermiteParameters params({2, 1, 2}, {1.1, 1.3, 1.2},
                                        {0, 0, 0, 1.1, 0.3, 0, -0.4, 1, 0.2});
  Vector points;
  for (const double x : {-3.0, 0.1, 3.0})
    for (const double y : {-3.2, -0.3, 2.9})
      for (const double z : {-2.8, 2.7, 3.5}) points.insert(points.end(), {x, y, z + 0.1 * x * y});
  for (const auto& [potential, field, neutral] :
       {std::tuple(true, true, true), std::tuple(true, false, true), std::tuple(false, true, true),
        std::tuple(true, true, false), std::tuple(false, true, false)}) {
    QXHermiteChargeDensity truth(params);
    truth.SetCoefficients({0.4, -0.1, -0.3, 0.05}, {neutral ? 8u : 0u, 2, neutral ? 11u : 10u, 19});
    QXMol mol;  // with nothing that the options leave out
    mol.SetData("grid", points);
    Vector values, blocks;
    if (potential) mol.SetData("potential", values = truth.EvaluatePotential(points));
    const Vector vectors = truth.WithSpareDegree().EvaluateElectricField(points);
    for (size_t axis = 0; axis < 3 && field; ++axis)
      for (size_t i = axis; i < vectors.size(); i += 3) blocks.push_back(vectors[i]);
    if (field) mol.SetData("electric field", blocks);
    values.insert(values.end(), blocks.begin(), blocks.end());

    QXLassoChargeDensity fit(params, Options(potential, field, neutral)), fromMol = fit;
    ASSERT_TRUE(fit.PrepData(points, values) && fit.Fit());
    ASSERT_TRUE(fromMol.PrepData(mol) && fromMol.Fit());
    EXPECT_EQ(fromMol.GetCoefficientPath(), fit.GetCoefficientPath());
    const QXHermiteChargeDensity found = fit.GetChargeDensity(fit.MaxNumActives());
    EXPECT_TRUE(!neutral || found.TotalCharge() == 0.0);

    const UInts& candidates = fit.GetCandidates();
    MatrixXd X = HermiteElectrostaticsDesignMatrix(points, params, candidates);
    X = X.middleRows(potential ? 0 : X.rows() / 4, Column(values).size()).eval();
    const VectorXd y = Column(values).array() - Column(values).mean();
    const VectorXd norms = NormalizeDesignMatrix(X);
    const VectorXd spread = (X.transpose() * X).inverse().cwiseAbs().rowwise().sum();
    const VectorXd bound = 512 * kEpsilon * Column(values).norm() * spread.cwiseQuotient(norms);
    double before = HUGE_VAL;  // on the way the residual shrinks from step to step
    for (unsigned int n = 1; n <= fit.MaxNumActives(); ++n) {
      const QXHermiteChargeDensity step = fit.GetChargeDensity(n);
      EXPECT_EQ(step.NumActives(), n);
      for (size_t i = 0; i < n; ++i)
        EXPECT_EQ(step.GetCoefficient(fit.GetActives(n)[i]), fit.GetCoefficientPath()[n - 1][i]);
      const Vector c = step.GetDenseCoefficients();
      const double residual = (X * Column(c)(candidates).cwiseProduct(norms) - y).norm();
      EXPECT_LT(residual, before) << n;
      before = residual;
    }
    const VectorXd off =
        Column(found.GetDenseCoefficients()) - Column(truth.GetDenseCoefficients());
    for (size_t j = 0; j < candidates.size(); ++j) EXPECT_NEAR(off[candidates[j]], 0.0, bound[j]);
  }
}

TEST(LassoChargeDensity, SortsCandidatesAndLeavesOutTheChargedOnes) {
  const QXMultiHermiteParameters params(2, 1.0, {0, 0, 0, 2, 0, 0});
  const Vector points = RandomPoints(20, 3.0, 1), values(80, 1.0);
  QXLassoChargeDensity all(params, QXLassoChargeDensityOptions());
  UInts expected = FullActivesList(20);
  expected.erase(expected.begin() + 10);
  expected.erase(expected.begin());
  for (int time = 0; time < 2; ++time) {
    all.PrepData(points, values);
    EXPECT_EQ(all.GetCandidates(), expected);
  }
  QXLassoChargeDensity charged(params, Options(true, true, false), {7, 2, 0, 5});
  charged.PrepData(points, values);
  EXPECT_EQ(charged.GetCandidates(), (UInts{0, 2, 5, 7}));
  // Of equal entries only the first goes, on purpose.
  QXLassoChargeDensity repeated(params, QXLassoChargeDensityOptions(), {10, 0, 10, 3});
  EXPECT_TRUE(repeated.RemoveChargedActives());
  EXPECT_EQ(repeated.GetCandidates(), (UInts{3, 10}));
}

// The two reports about the options differ in a full stop, on purpose. None changes the object.
TEST(LassoChargeDensity, SaysWhatIsMissing) {
  const Vector some(3, 1.0);
  using Names = std::vector<const char*>;
  for (const auto& [data, used, report] :
       {std::tuple(Names{"potential"}, false, "Grid data on molecule not found."),
        std::tuple(Names{"grid", "electric field"}, true, "Potential data on molecule not found."),
        std::tuple(Names{"grid", "potential"}, true, "Electric field data on molecule not found."),
        std::tuple(Names{"grid"}, false, "Cannot build model. Potential/Electric Field not set."),
        std::tuple(Names{}, false, "Cannot build model. Potential/Electric Field not set")}) {
    QXLassoChargeDensity fit(QXMultiHermiteParameters(1, 1.0, some), Options(used, used, true));
    QXMol mol;
    for (const char* name : data) mol.SetData(name, some);
    const Messages messages;
    EXPECT_FALSE(data.empty() ? fit.PrepData(some, some) : fit.PrepData(mol));
    ASSERT_EQ(messages.all.size(), 1u) << report;
    EXPECT_EQ(messages.all[0], std::pair(QXCore::QXErrorLevel::Fatal, std::string(report)));
    EXPECT_EQ(fit.GetCandidates(), FullActivesList(4));
  }
}

}  // namespace
}  // namespace QXHermiteMath
