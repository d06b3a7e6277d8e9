#include "hermite/multihermite/term_kernels.h"

#include <algorithm>
#include <tuple>

// This file is compiled without fused multiply-add: results are the same to the bit everywhere.

namespace QXHermiteMath {

namespace {

struct SumKernel {
  const HermiteTerm* terms;
  size_t numTerms;
  size_t count;
  double* sums;

  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    constexpr int kHalf = Lanes / 2;  // the doubles of one register
    using Doubles = typename QXCore::QXPack<double, kHalf>::Type;
    for (size_t i = 0; i < count; i += Lanes) {
      Doubles sum[2] = {};
      for (const HermiteTerm* term = terms; term != terms + numTerms; ++term) {
        const Doubles* x = reinterpret_cast<const Doubles*>(term->x + i);
        const Doubles* y = reinterpret_cast<const Doubles*>(term->y + i);
        const Doubles* z = reinterpret_cast<const Doubles*>(term->z + i);
        sum[0] += x[0] * term->c * y[0] * z[0];
        sum[1] += x[1] * term->c * y[1] * z[1];
      }
      Doubles* out = reinterpret_cast<Doubles*>(sums + i);
      out[0] = sum[0];
      out[1] = sum[1];
    }
  }
};

struct ColumnKernel {
  const HermiteTerm* terms;
  size_t numTerms;
  size_t count;
  double* out;
  size_t stride;

  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    using Doubles = typename QXCore::QXPack<double, Lanes>::Type;
    double* column = out;
    for (const HermiteTerm* term = terms; term != terms + numTerms; ++term, column += stride) {
      size_t i = 0;
      for (; i + Lanes <= count; i += Lanes) {
        *reinterpret_cast<Doubles*>(column + i) = *reinterpret_cast<const Doubles*>(term->y + i) *
                                                  *reinterpret_cast<const Doubles*>(term->z + i) *
                                                  *reinterpret_cast<const Doubles*>(term->x + i);
      }
      for (; i < count; ++i) column[i] = term->y[i] * term->z[i] * term->x[i];
    }
  }
};

constexpr size_t kRows = 4;  ///< rows along x that are summed side by side

/// Terms of equal x and y.
struct Pair {
  const double* y;
  size_t end;  ///< of its terms, which follow those of the pair before
};

/// Pairs of equal x.
struct Group {
  const double* x;
  size_t end;  ///< of its pairs, which follow those of the group before
};

/// With the terms c x_l y_m z_n sorted by l, then m,
///
///   p_lm = sum over n of c z_n at a plane,   q_l = sum over m of p_lm y_m at a row of it,
///   sum over l of q_l x_l at an element,
///
/// so that the innermost sum has one term for each x_l.
struct GridKernel {
  const std::vector<HermiteTerm>& terms;
  const std::vector<Pair>& pairs;
  const std::vector<Group>& groups;
  size_t xdim, ydim, zdim;
  double* p;  ///< one for each pair
  double* q;  ///< kRows for each group
  float* values;

  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    for (size_t z = 0; z < zdim; ++z) {
      SumAlongZ(z);
      for (size_t y = 0; y < ydim; y += kRows) {
        SumAlongY(y);
        float* rows = values + xdim * (y + ydim * z);
        for (size_t x = 0; x < xdim; x += Lanes)
          AddElements<Lanes>(x, rows + x, std::min(kRows, ydim - y));
      }
    }
  }

  [[gnu::always_inline]] void SumAlongZ(size_t z) const {
    size_t term = 0;
    for (size_t pair = 0; pair < pairs.size(); ++pair) {
      double sum = 0.0;
      for (; term < pairs[pair].end; ++term) sum += terms[term].c * terms[term].z[z];
      p[pair] = sum;
    }
  }

  [[gnu::always_inline]] void SumAlongY(size_t y) const {
    size_t pair = 0;
    for (size_t group = 0; group < groups.size(); ++group) {
      double sum[kRows] = {};
      for (; pair < groups[group].end; ++pair)
        for (size_t row = 0; row < kRows; ++row) sum[row] += p[pair] * pairs[pair].y[y + row];
      for (size_t row = 0; row < kRows; ++row) q[kRows * group + row] = sum[row];
    }
  }

  /// As many elements along x as lanes, of `count` rows from `first` on.
  template <int Lanes>
  [[gnu::always_inline]] void AddElements(size_t x, float* first, size_t count) const {
    constexpr int kHalf = Lanes / 2;  // the doubles of one register
    using Doubles = typename QXCore::QXPack<double, kHalf>::Type;
    Doubles sum[kRows][2] = {};
    for (size_t group = 0; group < groups.size(); ++group) {
      const Doubles* hx = reinterpret_cast<const Doubles*>(groups[group].x + x);
#pragma GCC unroll 4
      for (size_t row = 0; row < kRows; ++row) {
        sum[row][0] += hx[0] * q[kRows * group + row];
        sum[row][1] += hx[1] * q[kRows * group + row];
      }
    }
#pragma GCC unroll 4
    for (size_t row = 0; row < kRows; ++row)
      if (row < count) AddTo<kHalf>(first + row * xdim, xdim - x, sum[row]);
  }

  /// Adds two packs to the elements from `out` on, of which there are `count` in the row.
  template <int Lanes>
  [[gnu::always_inline]] static void AddTo(
      float* out, size_t count, typename QXCore::QXPack<double, Lanes>::Type const (&sum)[2]) {
    using Doubles = typename QXCore::QXPack<double, Lanes>::Type;
    using Floats = typename QXCore::QXPack<float, Lanes>::Type;
    if (count >= 2 * Lanes) {
      Floats* elements = reinterpret_cast<Floats*>(out);
      for (size_t half = 0; half < 2; ++half)
        elements[half] = __builtin_convertvector(
            __builtin_convertvector(elements[half], Doubles) + sum[half], Floats);
      return;
    }
    const Doubles rest[2] = {sum[0], sum[1]};  // a copy in memory, so that sums stay in registers
    for (size_t lane = 0; lane < count; ++lane)
      out[lane] = static_cast<float>(out[lane] + rest[lane / Lanes][lane % Lanes]);
  }
};

}  // namespace

void SumTerms(std::vector<HermiteTerm> const& terms, size_t count, double* sums,
              QXSimdLevel level) {
  QXCore::QXRunKernel(level, SumKernel{terms.data(), terms.size(), count, sums});
}

void WriteColumns(std::vector<HermiteTerm> const& terms, size_t count, double* out, size_t stride,
                  QXSimdLevel level) {
  QXCore::QXRunKernel(level, ColumnKernel{terms.data(), terms.size(), count, out, stride});
}

void AddTerms(std::vector<HermiteTerm> terms, QXScalarGrid& grid, QXSimdLevel level) {
  std::stable_sort(terms.begin(), terms.end(), [](HermiteTerm const& a, HermiteTerm const& b) {
    return std::tie(a.x, a.y) < std::tie(b.x, b.y);
  });
  std::vector<Pair> pairs;
  std::vector<Group> groups;
  for (size_t i = 0; i < terms.size(); ++i) {
    const bool newGroup = groups.empty() || groups.back().x != terms[i].x;
    if (newGroup) groups.push_back({terms[i].x, pairs.size()});
    if (newGroup || pairs.back().y != terms[i].y) pairs.push_back({terms[i].y, i});
    pairs.back().end = i + 1;
    groups.back().end = pairs.size();
  }
  std::vector<double> p(pairs.size()), q(kRows * groups.size());
  QXCore::QXRunKernel(level, GridKernel{terms, pairs, groups, grid.GetXDim(), grid.GetYDim(),
                                        grid.GetZDim(), p.data(), q.data(), grid.GetValues()});
}

}  // namespace QXHermiteMath
