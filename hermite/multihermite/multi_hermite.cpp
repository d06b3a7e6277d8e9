#include "hermite/multihermite/multi_hermite.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "hermite/foundations/basis.h"
#include "hermite/multihermite/design_matrix.h"
#include "hermite/multihermite/hermite_recurrence.h"
#include "hermite/multihermite/site_tables.h"
#include "hermite/multihermite/term_kernels.h"
#include "host/core/large_pages.h"
#include "host/numerics/lasso.h"

namespace QXHermiteMath {

bool QXMultiHermite::BuildHermites(double t, unsigned int n, std::vector<double>& out) {
  return BuildHermiteFunctions(t, n, out);
}

bool QXMultiHermite::Setup(std::vector<double> const& points, std::vector<double> const& values) {
  return Setup(points, values, QXNumerics::QXLasso::kNoLimit);
}

bool QXMultiHermite::Setup(std::vector<double> const& points, std::vector<double> const& values,
                           unsigned int maxActives) {
  const Eigen::VectorXd y = Eigen::VectorXd::Map(values.data(), static_cast<long>(values.size()));
  Eigen::MatrixXd X = BuildDesignMatrix(points);
  const Eigen::VectorXd norms = NormalizeDesignMatrix(X);
  QXNumerics::QXLasso lasso;
  lasso.Fit(X, y, maxActives);
  const std::vector<std::vector<double>> path = lasso.GetCoefficients();
  const std::vector<unsigned int> actives = lasso.GetActives();
  std::vector<double> fitted;
  if (!path.empty()) fitted = path.back();
  NormalizeFitCoefficients(fitted, actives, norms);
  return SetCoefficients(fitted, actives);
}

Eigen::MatrixXd QXMultiHermite::BuildDesignMatrix(std::vector<double> const& points) {
  // So many points at a time make runs of some length in each column.
  constexpr size_t kBlock = 4 * QXCore::kMostLanes;
  std::vector<unsigned int> sites(params.NumSites());
  std::iota(sites.begin(), sites.end(), 0u);
  SiteTables tables(params, sites, kBlock, Exponent(sites));
  std::vector<HermiteTerm> columns;
  columns.reserve(params.NumBasis());
  for (unsigned int site : sites)
    ForEachLmn(params.GetNPolyMax(site),
               [&](unsigned int, unsigned int l, unsigned int m, unsigned int n) {
                 columns.push_back(
                     {1.0, tables.Row(site, 0, l), tables.Row(site, 1, m), tables.Row(site, 2, n)});
               });
  WorkTables work = MakeWorkTables(params);

  const QXSimdLevel level = QXCore::QXGetSimdLevel();
  const size_t numPoints = points.size() / 3;
  Eigen::MatrixXd matrix(numPoints, params.NumBasis());
  QXCore::QXUseLargePages(matrix.data(), sizeof(double) * static_cast<size_t>(matrix.size()));
  for (size_t first = 0; first < numPoints; first += kBlock) {
    const size_t count = std::min(kBlock, numPoints - first);
    tables.Fill(*this, &points[3 * first], count, work, level);
    WriteColumns(columns, count, matrix.data() + first, numPoints, level);
  }
  return matrix;
}

QXHermite QXMultiHermite::GetHermite(unsigned int site) const {
  QXHermiteOptions options;
  options.SetNPolyMax(params.GetNPolyMax(site));
  options.SetUseOptimalLambdas(false);
  options.SetLambdaX(params.GetLambda(site));
  options.SetLambdaY(params.GetLambda(site));
  options.SetLambdaY(params.GetLambda(site));  // Y again, not Z: the z width stays the default
  QXHermite hermite;
  hermite.Setup(GetDenseCoefficients(site), options);
  return hermite;
}

bool BuildHermiteFunctions(double t, unsigned int n, std::vector<double>& out) {
  RunHermiteRecurrence(std::exp(-0.5 * t * t), t, n, out);
  return true;
}

}  // namespace QXHermiteMath
