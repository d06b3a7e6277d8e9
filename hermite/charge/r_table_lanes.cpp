#include "hermite/charge/r_table_lanes.h"

#include <algorithm>
#include <cmath>

#include "hermite/charge/r_table_kernel.h"
#include "host/numerics/erf_kernel.h"
#include "host/numerics/exp_kernel.h"

// This file is compiled without fused multiply-add: results are the same to the bit everywhere. Nor
// do roots set errno, so that they are taken side by side.

namespace QXHermiteMath {

namespace {

using kernel::At;

struct TableKernel {
  unsigned int order;
  const RTablePlaces& places;
  double* table;

  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    constexpr size_t kPack = Lanes / 2;  // the doubles of one register
    constexpr size_t kPacks = kTableLanes / kPack;
    using Doubles = typename QXCore::QXPack<double, kPack>::Type;
    double T[kTableLanes], root[kTableLanes], exponential[kTableLanes], zeroth[kTableLanes];
    for (size_t i = 0; i < kTableLanes; ++i) {
      const double X = places.X[i], Y = places.Y[i], Z = places.Z[i];
      T[i] = places.alpha[i] * (X * X + Y * Y + Z * Z);
      root[i] = std::sqrt(T[i]);
      zeroth[i] = std::sqrt(kQuarterPi / T[i]);
    }
    for (size_t i = 0; i < kTableLanes; i += kPack) {
      Doubles e = -At<Doubles>(T + i), erf;
      QXNumerics::QXExp(e, e);
      QXNumerics::QXErf(At<Doubles>(root + i), e, erf);
      At<Doubles>(exponential + i) = e;
      At<Doubles>(zeroth + i) *= erf;
    }
    kernel::BuildBoysEntries<Doubles, kPacks>(order, places.alpha, T, exponential, zeroth, table);
    kernel::BuildDerivatives<Doubles, kPacks>(order, places.X, places.Y, places.Z, table);
  }
};

/// The places are made with the same instructions: what is stored in small pieces and read in
/// larger ones has to wait.
struct SiteTableKernel {
  const RTableSite& site;
  const PointLanes& points;
  double* table;

  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    RTablePlaces places;
    for (size_t i = 0; i < kTableLanes; ++i) {
      places.X[i] = site.center[0] - points.x[i];
      places.Y[i] = site.center[1] - points.y[i];
      places.Z[i] = site.center[2] - points.z[i];
      places.alpha[i] = site.alpha;
    }
    TableKernel{site.order, places, table}.template operator()<Lanes>();
  }
};

struct SumKernel {
  const RTableTerm* terms;
  size_t numTerms;
  const double* table;
  double* sums;

  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    constexpr size_t kPack = Lanes / 2;  // the doubles of one register
    using Doubles = typename QXCore::QXPack<double, kPack>::Type;
    constexpr size_t kPacks = kTableLanes / kPack;
    const Doubles* rows = reinterpret_cast<const Doubles*>(table);
    Doubles* out = reinterpret_cast<Doubles*>(sums);
    Doubles sum[kPacks];
    for (size_t i = 0; i < kPacks; ++i) sum[i] = out[i];
    for (const RTableTerm* term = terms; term != terms + numTerms; ++term) {
      const Doubles* row = rows + kPacks * term->entry;
#pragma GCC unroll 8
      for (size_t i = 0; i < kPacks; ++i) sum[i] += row[i] * term->weight;
    }
    for (size_t i = 0; i < kPacks; ++i) out[i] = sum[i];
  }
};

}  // namespace

void BuildRTables(unsigned int order, RTablePlaces const& places, double* table,
                  QXSimdLevel level) {
  QXCore::QXRunKernel(level, TableKernel{order, places, table});
}

PointLanes::PointLanes(const double* points, size_t count) {
  for (size_t i = 0; i < kTableLanes; ++i) {
    const double* point = points + 3 * std::min(i, count - 1);
    x[i] = point[0];
    y[i] = point[1];
    z[i] = point[2];
  }
}

RTableSite::RTableSite(unsigned int newOrder, double lambda, std::vector<double> const& newCenter)
    : order(newOrder), alpha(lambda * lambda), center{newCenter[0], newCenter[1], newCenter[2]} {}

void BuildRTables(RTableSite const& site, PointLanes const& points, double* table,
                  QXSimdLevel level) {
  QXCore::QXRunKernel(level, SiteTableKernel{site, points, table});
}

void AddRows(std::vector<RTableTerm> const& terms, const double* table, double* sums,
             QXSimdLevel level) {
  QXCore::QXRunKernel(level, SumKernel{terms.data(), terms.size(), table, sums});
}

}  // namespace QXHermiteMath
