#include "hermite/charge/electrostatics_design.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "hermite/charge/r_table.h"
#include "hermite/charge/r_table_lanes.h"
#include "hermite/multihermite/multi_hermite_base.h"
#include "host/core/large_pages.h"

namespace QXHermiteMath {

namespace {

// The blocks of one column: each a row of the R table times the weight.
struct Column {
  unsigned int entries[4];
  double weight;
};

std::vector<Column> SiteColumns(QXMultiHermiteParameters const& params, unsigned int site,
                                std::vector<unsigned int> const& actives) {
  std::vector<Column> columns;
  const double lambda = params.GetLambda(site);
  for (unsigned int active : actives) {
    const auto [l, m, n] = params.GetLmn(site, active);
    columns.push_back({{RIndex(0, l, m, n), RIndex(0, l + 1, m, n), RIndex(0, l, m + 1, n),
                        RIndex(0, l, m, n + 1)},
                       kTwoPiCoulomb / (std::pow(lambda, l + m + n) * (lambda * lambda))});
  }
  return columns;
}

}  // namespace

std::vector<unsigned int> FullActivesList(unsigned int n) {
  std::vector<unsigned int> all(n);
  std::iota(all.begin(), all.end(), 0u);
  return all;
}

Eigen::MatrixXd HermiteElectrostaticsDesignMatrix(std::vector<double> const& points,
                                                  QXMultiHermiteParameters const& params,
                                                  std::vector<unsigned int> const& actives) {
  const QXSimdLevel level = QXCore::QXGetSimdLevel();
  const auto siteActives = MapActivesPerSite(actives, params);
  // One order above the degree: the field of a function takes derivatives of one degree more.
  std::vector<double> table(SizeOfRTables(params.GetLargestNPolyMax() + 1));
  const size_t numPoints = points.size() / 3;
  Eigen::MatrixXd matrix(4 * numPoints, actives.size());
  double* out = matrix.data();
  QXCore::QXUseLargePages(out, sizeof(double) * static_cast<size_t>(matrix.size()));
  // Site by site, so that what is written lies in few places: runs of as many points as lanes.
  for (unsigned int site = 0; site < params.NumSites(); ++site) {
    if (siteActives[site].empty()) continue;
    const RTableSite tables(params.GetNPolyMax(site) + 1, params.GetLambda(site),
                            params.GetCenter(site));
    const std::vector<Column> columns = SiteColumns(params, site, siteActives[site]);
    for (size_t first = 0; first < numPoints; first += kTableLanes) {
      const size_t count = std::min(kTableLanes, numPoints - first);
      BuildRTables(tables, PointLanes(&points[3 * first], count), table.data(), level);
      double* run = out + first;
      for (Column const& column : columns)
        for (unsigned int entry : column.entries) {
          const double* row = &table[kTableLanes * entry];
          for (size_t i = 0; i < count; ++i) run[i] = row[i] * column.weight;
          run += numPoints;
        }
    }
    out += 4 * numPoints * columns.size();
  }
  return matrix;
}

Eigen::MatrixXd HermiteElectrostaticsDesignMatrix(std::vector<double> const& points,
                                                  QXMultiHermiteParameters const& params) {
  return HermiteElectrostaticsDesignMatrix(points, params, FullActivesList(params.NumBasis()));
}

}  // namespace QXHermiteMath
