#pragma once

#include <vector>

namespace QXHermiteMath {

/// Writes first H_0(t) .. first H_n(t), H_k the physicists' Hermite polynomials, by recurrence. At
/// n = 1 only the first is written: out[1] keeps what it had. Expansions that were fitted with such
/// functions rely on it.
inline void RunHermiteRecurrence(double first, double t, unsigned int n, std::vector<double>& out) {
  out[0] = first;
  if (n < 2) return;
  // In registers: h_k = 2t h_(k-1) - 2(k - 1) h_(k-2).
  const double twoT = 2.0 * t;
  double before = first, last = twoT * before, factor = 0.0;
  out[1] = last;
  for (unsigned int k = 2; k <= n; ++k) {
    factor += 2.0;
    const double next = twoT * last - factor * before;
    before = last;
    out[k] = last = next;
  }
}

}  // namespace QXHermiteMath
