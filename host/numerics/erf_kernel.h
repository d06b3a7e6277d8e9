#pragma once

#include "host/core/simd.h"

namespace QXNumerics {

/// Sum over k of c[k] x^k at each lane, of an even number of coefficients: Horner's rule by x^2 for
/// either half of them, side by side.
template <typename Doubles, int Count>
[[gnu::always_inline]] inline void QXPolynomial(const double (&c)[Count], Doubles const& x,
                                                Doubles& result) {
  static_assert(Count % 2 == 0);
  const Doubles square = x * x;
  Doubles even = c[Count - 2] + Doubles{}, odd = c[Count - 1] + Doubles{};
#pragma GCC unroll 8
  for (int k = Count - 4; k >= 0; k -= 2) {
    even = even * square + c[k];
    odd = odd * square + c[k + 1];
  }
  result = even + x * odd;
}

/// erf of each lane of a pack of doubles (QXCore::QXPack), for kernels, from x and exp(-x^2), which
/// they have at hand (QXExp): to 2.5 units in the last place, also next to 0. A NaN stays one. The
/// result may be either argument.
///
///   |x| < 3/4:  erf(x) = x P(x^2),
///   beyond:     erf(|x|) = 1 - exp(-x^2) Q(1/(|x| + 3) - 3/16),
///
/// where Q is erfc(x) exp(x^2) up to 6, from where on erf is 1. The coefficients make the largest
/// relative error of erf as small as can be, 7e-17 and 5e-17 (Remez exchange, in 40 digits).
template <typename Doubles>
[[gnu::always_inline]] inline void QXErf(Doubles const& x, Doubles const& exponential,
                                         Doubles& result) {
  constexpr double P[] = {1.1283791670955126,     -0.3761263890318109,     0.11283791670800444,
                          -0.026866170610150064,  0.005223977222631062,    -0.0008548300305460978,
                          0.00012054250230607712, -1.4898346428502752e-05, 1.6041914157432525e-06,
                          -1.2701275793106634e-07};
  constexpr double Q[] = {0.22392935763141,  2.3715697251224,    11.127869360929193,
                          41.02269138615841, 113.85751483738312, 212.25333619050036,
                          157.9131304588474, -368.0447980182886, -1003.1268377678414,
                          335.2421012539185, 5427.902824773793,  -6987.423273182781};
  const Doubles size = x < 0.0 ? -x : x;
  const Doubles bounded = size > 6.0 ? 6.0 + Doubles{} : size;
  Doubles near, far;
  QXPolynomial(P, Doubles(x * x), near);
  QXPolynomial(Q, Doubles(1.0 / (bounded + 3.0) - 0.1875), far);
  far = 1.0 - exponential * far;
  near *= x;
  const Doubles signedFar = x < 0.0 ? -far : far;
  result = size < 0.75 ? near : signedFar;
}

}  // namespace QXNumerics
