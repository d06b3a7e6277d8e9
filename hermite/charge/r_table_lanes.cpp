#include "hermite/charge/r_table_lanes.h"

#include <algorithm>
#include <cmath>

#include "hermite/charge/r_table_kernel.h"

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
    using Doubles = typename QXCore::QXPack<double, kPack>::Type;
    double T[kTableLanes], root[kTableLanes], exponential[kTableLanes], zeroth[kTableLanes];
    for (size_t i = 0; i < kTableLanes; i += kPack) {
      const Doubles X = At<Doubles>(places.X + i), Y = At<Doubles>(places.Y + i),
                    Z = At<Doubles>(places.Z + i);
      At<Doubles>(T + i) = At<Doubles>(places.alpha + i) * (X * X + Y * Y + Z * Z);
    }
    for (size_t i = 0; i < kTableLanes; ++i) {
      root[i] = std::sqrt(T[i]);
      zeroth[i] = std::sqrt(kernel::kQuarterPi / T[i]);
    }
    for (size_t i = 0; i < kTableLanes; ++i) {
      exponential[i] = std::exp(-T[i]);
      zeroth[i] *= std::erf(root[i]);
    }
    for (size_t i = 0; i < kTableLanes; i += kPack) {
      kernel::BuildBoysEntries<Doubles, kTableLanes>(
          order, At<Doubles>(T + i), At<Doubles>(exponential + i), At<Doubles>(zeroth + i),
          At<Doubles>(places.alpha + i), At<Doubles>(places.power + i), table + i);
      kernel::BuildDerivatives<Doubles, kTableLanes>(order, At<Doubles>(places.X + i),
                                                     At<Doubles>(places.Y + i),
                                                     At<Doubles>(places.Z + i), table + i);
    }
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
    : order(newOrder),
      alpha(lambda * lambda),
      power(std::pow(-2.0 * alpha, static_cast<double>(order))),
      center{newCenter[0], newCenter[1], newCenter[2]} {}

void BuildRTables(RTableSite const& site, PointLanes const& points, double* table,
                  QXSimdLevel level) {
  RTablePlaces places;
  for (size_t i = 0; i < kTableLanes; ++i) {
    places.X[i] = site.center[0] - points.x[i];
    places.Y[i] = site.center[1] - points.y[i];
    places.Z[i] = site.center[2] - points.z[i];
    places.alpha[i] = site.alpha;
    places.power[i] = site.power;
  }
  BuildRTables(site.order, places, table, level);
}

void AddRows(std::vector<RTableTerm> const& terms, const double* table, double* sums,
             QXSimdLevel level) {
  QXCore::QXRunKernel(level, SumKernel{terms.data(), terms.size(), table, sums});
}

}  // namespace QXHermiteMath
