#pragma once

#include <vector>

#include "hermite/charge/r_table.h"
#include "host/core/simd.h"

// R tables (see r_table.h) at kTableLanes places side by side, for sums over the functions of a
// site: entry RIndex(a, b, c, d) of all of them is a row of kTableLanes doubles, lane i of which is
// that of place i. They are those of BuildBoys and BuildMcMurchieDavidson but for the last digits
// of exp and erf, which are worked out side by side too, and the same to the bit at every level.

namespace QXHermiteMath {

using QXCore::QXSimdLevel;

inline constexpr size_t kTableLanes = QXCore::kMostLanes;

/// Number of doubles of the tables of an order.
constexpr size_t SizeOfRTables(unsigned int order) {
  return kTableLanes * SizeOfRMatrix(order);
}

/// What each lane's table is built from.
struct RTablePlaces {
  double X[kTableLanes], Y[kTableLanes], Z[kTableLanes], alpha[kTableLanes];
};

/// Builds the tables of an order: SizeOfRTables(order) doubles. What is behind them stays.
void BuildRTables(unsigned int order, RTablePlaces const& places, double* table, QXSimdLevel level);

/// Up to kTableLanes points, one a lane; the lanes behind the last hold the last.
struct PointLanes {
  /// points: x, y, z of each; count: at least 1.
  PointLanes(const double* points, size_t count);
  double x[kTableLanes], y[kTableLanes], z[kTableLanes];
};

/// A site as its tables need it: R is the centre minus the point.
struct RTableSite {
  RTableSite(unsigned int newOrder, double lambda, std::vector<double> const& newCenter);
  unsigned int order;
  double alpha;  ///< the square of the width
  double center[3];
};

/// The tables of a site at points.
void BuildRTables(RTableSite const& site, PointLanes const& points, double* table,
                  QXSimdLevel level);

/// A row of a table, by its entry, and its factor in a sum.
struct RTableTerm {
  unsigned int entry;
  double weight;
};

/// sums[lane] += the sum over the terms of weight times the lane of the row. sums: kTableLanes.
void AddRows(std::vector<RTableTerm> const& terms, const double* table, double* sums,
             QXSimdLevel level);

}  // namespace QXHermiteMath
