#pragma once

#include <vector>

#include "hermite/foundations/options.h"

// The basis on which the whole library stands.
//
// With H_k the physicists' Hermite polynomials and h_k(t) = H_k(t) exp(-t^2/2), a density is
//
//   f(r) = sum over l + m + n <= N of c_lmn h_l(lambda_x x) h_m(lambda_y y) h_n(lambda_z z).
//
// The functions are not normalised: c_lmn multiplies the plain product.
//
// Shell order of the coefficients: by rising total degree s = l + m + n; in a shell by rising l;
// for equal l by rising m; n = s - l - m. For N = 2:
//
//   index   0   1   2   3   4   5   6   7   8   9
//   lmn    000 001 010 100 002 011 020 101 110 200
//
// So the coefficients of a lower degree are a prefix of those of a higher one.
//
// Norms: K_k = sqrt(pi) 2^k k! is the integral of h_k(t)^2 dt, and M_k = sqrt(K_k).

namespace QXHermiteMath {

/// Number of triples with l + m + n <= N: (N + 1)(N + 2)(N + 3)/6. 32-bit unsigned arithmetic.
constexpr unsigned int QXHermiteBasisSize(unsigned int N) {
  return (N + 1) * (N + 2) * (N + 3) / 6;
}

/// Position of (l, m, n) in shell order: l(2s - l + 3)/2 + m + s(s + 1)(s + 2)/6, s = l + m + n.
constexpr unsigned int GetLmnIndex(unsigned int l, unsigned int m, unsigned int n) {
  const unsigned int s = l + m + n;
  return l * (2 * s - l + 3) / 2 + m + s * (s + 1) * (s + 2) / 6;
}

/// GetLmnIndex as a table, for every triple of the basis of degree N.
class QXHermiteIndex {
 public:
  QXHermiteIndex() = default;
  /// The table of degree N.
  explicit QXHermiteIndex(unsigned int N);

  /// Position of (l, m, n). No bounds check: l + m + n must not exceed N.
  unsigned int operator()(unsigned int l, unsigned int m, unsigned int n) const {
    return table[l][m][n];
  }

 private:
  std::vector<std::vector<std::vector<unsigned int>>> table;
};

/// Calls visit(i, l, m, n) for the whole basis of degree N, in shell order, i running from 0.
template <class Visit>
inline void ForEachLmn(unsigned int N, Visit&& visit) {
  unsigned int i = 0;
  for (unsigned int s = 0; s <= N; ++s)
    for (unsigned int l = 0; l <= s; ++l)
      for (unsigned int m = 0; m <= s - l; ++m) visit(i++, l, m, s - l - m);
}

/// Shell order to nested order (l outermost, then m, n running fastest). The size of c is not
/// compared with N: a vector of another length than the basis gives undefined content.
std::vector<double> reorder(unsigned int N, const std::vector<double>& c);

/// K_0 .. K_N, by K_k = 2 k K_{k-1}.
std::vector<double> computeKs(unsigned int N);

/// M_0 .. M_N, by M_k = sqrt(2 k) M_{k-1}: its own recurrence, not the root of computeKs.
std::vector<double> QXCalcHermiteNormalization(unsigned int N);

/// Divides c_lmn in place by K_l K_m K_n: overlaps with the basis become coefficients.
/// Always true.
bool ScaleCoeffsByK(unsigned int N, std::vector<double>& c);

/// The integral of f^2: sum of (c_lmn M_l M_m M_n)^2 / (lambda_x lambda_y lambda_z).
/// N and the widths come from the options; coefficients must hold that basis.
double QXCalcHermiteSelfOverlap(std::vector<double> const& coefficients,
                                QXHermiteOptions const& options);

/// The sum of the self overlap, sum of (c_lmn M_l M_m M_n)^2, with a table of M_0 .. M_N: for
/// callers that keep the table.
double SumOfNormalizedSquares(unsigned int N, const double* coefficients, const double* norms);

/// The same value by another route, sum of c_lmn^2 K_l K_m K_n: ks holds K_0 .. K_N, unchecked.
double QXCalcHermiteSelfOverlap(std::vector<double> const& coefficients,
                                QXHermiteOptions const& options, std::vector<double> const& ks);

}  // namespace QXHermiteMath
