#pragma once

#include <array>
#include <cstddef>

#include "host/core/simd.h"

namespace QXNumerics {

/// 1/k! for k = 0 .. 17.
inline constexpr std::array<double, 18> kInverseFactorials = [] {
  std::array<double, 18> inverse{1.0};
  double factorial = 1.0;
  for (size_t k = 1; k < inverse.size(); ++k)
    inverse[k] = 1.0 / (factorial *= static_cast<double>(k));
  return inverse;
}();

/// A double or each lane of a pack of doubles (QXCore::QXPack), as an angle of whole quarter turns
/// and a rest of at most an eighth, for kernels.
template <typename Doubles>
struct QXAngle {
  Doubles turns;         ///< quarter turns, a whole number
  Doubles odd;           ///< 1 where that is odd, else 0
  Doubles signX, signY;  ///< -1 for 1 or 2 quarter turns, and for 2 or 3, of every 4; else 1
  Doubles sineOfRest, cosineOfRest;
  Doubles sine, cosine;
};

/// Takes angles apart, in radians: sines and cosines to 2e-16 for |x| <= 1e5, beyond which the
/// error grows with x. NaN and infinity give NaN.
///
/// The rest is x - turns pi/2 with pi/2 in three parts, the first two ending in zeros so that their
/// products with a whole number are exact; sine and cosine of the rest are their Taylor series,
/// cut off where a term is below 1e-17.
template <typename Doubles>
[[gnu::always_inline]] inline void QXTakeAngleApart(Doubles const& x, QXAngle<Doubles>& angle) {
  constexpr double kPerQuarter = 0.63661977236758134;  // 2/pi
  constexpr double kQuarter[] = {0x1.921fb54400000p+0, 0x1.0b4611a600000p-34,
                                 0x1.3198a2e037073p-69};
  constexpr double kRounder = 0x1.8p52;
  const Doubles turns = (x * kPerQuarter + kRounder) - kRounder;
  const Doubles rest = ((x - turns * kQuarter[0]) - turns * kQuarter[1]) - turns * kQuarter[2];
  const Doubles z = rest * rest;
  Doubles s{}, c{};
#pragma GCC unroll 8
  for (int k = 16; k > 0; k -= 2) {
    s = s * z + kInverseFactorials[k + 1] * (k % 4 ? -1.0 : 1.0);
    c = c * z + kInverseFactorials[k] * (k % 4 ? -1.0 : 1.0);
  }
  s = s * z + 1.0;
  c = c * z + 1.0;
  angle.sineOfRest = rest * s;
  angle.cosineOfRest = c;

  const Doubles half = (turns * 0.5 - 0.25 + kRounder) - kRounder;  // rounded down
  const Doubles quarter = (half * 0.5 - 0.25 + kRounder) - kRounder;
  const Doubles second = half - 2.0 * quarter;  // 1 for 2 or 3 of every 4, else 0
  angle.turns = turns;
  angle.odd = turns - 2.0 * half;
  angle.signY = 1.0 - 2.0 * second;
  angle.signX = angle.signY * (1.0 - 2.0 * angle.odd);
  const auto odd = angle.odd != 0.0;
  angle.sine = angle.signY * (odd ? angle.cosineOfRest : angle.sineOfRest);
  angle.cosine = angle.signX * (odd ? angle.sineOfRest : angle.cosineOfRest);
}

}  // namespace QXNumerics
