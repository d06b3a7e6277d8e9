#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "hermite/multihermite/multi_hermite_base.h"
#include "host/core/simd.h"

namespace QXHermiteMath {

/// One table an axis, behind the calls of BuildHermites: they go from site to site within one call
/// of an operation, and are not cleared in between.
using WorkTables = std::array<std::vector<double>, 3>;

/// Work tables of zeros, for every degree of a layout.
WorkTables MakeWorkTables(QXMultiHermiteParameters const& params);

/// The one-dimensional functions of some sites at a block of points: for each site, axis and degree
/// a row of values, one for each point.
class SiteTables {
 public:
  /// sites: those wanted, in their order. block: the largest number of points; rows are rounded up
  /// to whole packs of lanes, with zeros at first. exponent: see QXMultiHermiteBase::Exponent.
  SiteTables(QXMultiHermiteParameters const& params, std::vector<unsigned int> const& sites,
             size_t block, double exponent);

  /// The length of a row.
  size_t Length() const { return length; }

  /// The values of a degree along an axis (0 to 2), of the site at a place in the list. It stays
  /// where it is when the rows are filled again.
  const double* Row(size_t place, size_t axis, unsigned int degree) const {
    return &values[rows[place].start + (axis * (rows[place].N + 1) + degree) * length];
  }

  /// Fills the rows for `count` points, three doubles each. Where BuildHermites says what the
  /// functions are, it is asked point by point and site by site; those of a known family are worked
  /// out side by side, the same to the bit at every level. What stands behind them in a row means
  /// nothing.
  void Fill(QXMultiHermiteBase& family, const double* points, size_t count, WorkTables& work,
            QXCore::QXSimdLevel level);

 private:
  struct Site {
    std::array<double, 3> center;
    double lambda;
    unsigned int N;
    size_t start;  // of its rows
  };

  struct Kernel;
  void FillOneByOne(QXMultiHermiteBase& family, const double* points, size_t count,
                    WorkTables& work);

  size_t length;
  double exponent;  // 0: the functions come from BuildHermites
  std::vector<Site> rows;
  std::vector<double> values;
};

}  // namespace QXHermiteMath
