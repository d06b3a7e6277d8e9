#include "hermite/multihermite/site_tables.h"

#include "host/core/simd.h"

namespace QXHermiteMath {

WorkTables MakeWorkTables(QXMultiHermiteParameters const& params) {
  const std::vector<double> zeros(size_t{params.GetLargestNPolyMax()} + 1, 0.0);
  return {zeros, zeros, zeros};
}

SiteTables::SiteTables(QXMultiHermiteParameters const& params,
                       std::vector<unsigned int> const& sites, size_t block)
    : length((block + QXCore::kMostLanes - 1) / QXCore::kMostLanes * QXCore::kMostLanes) {
  size_t start = 0;
  for (unsigned int site : sites) {
    const unsigned int N = params.GetNPolyMax(site);
    const std::vector<double> center = params.GetCenter(site);
    rows.push_back({{center[0], center[1], center[2]}, params.GetLambda(site), N, start});
    start += 3 * (size_t{N} + 1) * length;
  }
  values.resize(start, 0.0);
}

void SiteTables::Fill(QXMultiHermiteBase& family, const double* points, size_t count,
                      WorkTables& work) {
  for (size_t i = 0; i < count; ++i) {
    for (Site const& site : rows) {
      double* row = &values[site.start + i];
      for (size_t axis = 0; axis < 3; ++axis) {
        std::vector<double>& table = work[axis];
        family.BuildHermites((points[3 * i + axis] - site.center[axis]) * site.lambda, site.N,
                             table);
        for (size_t k = 0; k <= site.N; ++k, row += length) *row = table[k];
      }
    }
  }
}

}  // namespace QXHermiteMath
