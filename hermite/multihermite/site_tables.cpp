#include "hermite/multihermite/site_tables.h"

#include <algorithm>

#include "host/numerics/exp_kernel.h"

// This file is compiled without fused multiply-add: results are the same to the bit everywhere.

namespace QXHermiteMath {

WorkTables MakeWorkTables(QXMultiHermiteParameters const& params) {
  const std::vector<double> zeros(size_t{params.GetLargestNPolyMax()} + 1, 0.0);
  return {zeros, zeros, zeros};
}

/// H_k(t) exp(-exponent t^2) of all sites along all axes, at one point a lane, kLanes of them.
struct SiteTables::Kernel {
  static constexpr size_t kLanes = QXCore::kMostLanes;

  const Site* sites;
  size_t numSites;
  const double (*coordinates)[kLanes];  ///< a row an axis
  double exponent;
  size_t length;   ///< of a row
  double* values;  ///< the rows, at the first of the points

  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    constexpr size_t kPack = Lanes / 2;  // the doubles of one register
    for (const Site* site = sites; site != sites + numSites; ++site) {
      double* row = values + site->start;
      for (size_t axis = 0; axis < 3; ++axis, row += (site->N + 1) * length)
        FillRows<kPack>(*site, axis, row);
    }
  }

  /// The recurrence h_k = 2t h_(k-1) - 2(k - 1) h_(k-2), all packs side by side in each step.
  template <size_t Pack>
  [[gnu::always_inline]] void FillRows(const Site& site, size_t axis, double* row) const {
    using Doubles = typename QXCore::QXPack<double, Pack>::Type;
    constexpr size_t kPacks = kLanes / Pack;
    const Doubles* x = reinterpret_cast<const Doubles*>(coordinates[axis]);
    Doubles twoT[kPacks], before[kPacks], last[kPacks];
#pragma GCC unroll 8
    for (size_t i = 0; i < kPacks; ++i) {
      const Doubles t = (x[i] - site.center[axis]) * site.lambda;
      twoT[i] = 2.0 * t;
      before[i] = Doubles{};
      last[i] = -exponent * t * t;
      QXNumerics::QXExp(last[i], last[i]);
      reinterpret_cast<Doubles*>(row)[i] = last[i];
    }
    for (unsigned int k = 1; k <= site.N; ++k) {
      row += length;
      const double factor = 2.0 * (k - 1.0);
#pragma GCC unroll 8
      for (size_t i = 0; i < kPacks; ++i) {
        const Doubles next = twoT[i] * last[i] - factor * before[i];
        before[i] = last[i];
        reinterpret_cast<Doubles*>(row)[i] = last[i] = next;
      }
    }
  }
};

SiteTables::SiteTables(QXMultiHermiteParameters const& params,
                       std::vector<unsigned int> const& sites, size_t block, double newExponent)
    : length((block + QXCore::kMostLanes - 1) / QXCore::kMostLanes * QXCore::kMostLanes),
      exponent(newExponent) {
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
                      WorkTables& work, QXCore::QXSimdLevel level) {
  if (exponent == 0.0) return FillOneByOne(family, points, count, work);
  for (size_t first = 0; first < count; first += Kernel::kLanes) {
    double coordinates[3][Kernel::kLanes];
    for (size_t i = 0; i < Kernel::kLanes; ++i)
      for (size_t axis = 0; axis < 3; ++axis)
        coordinates[axis][i] = points[3 * std::min(first + i, count - 1) + axis];
    QXCore::QXRunKernel(level, Kernel{rows.data(), rows.size(), coordinates, exponent, length,
                                      values.data() + first});
  }
}

void SiteTables::FillOneByOne(QXMultiHermiteBase& family, const double* points, size_t count,
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
