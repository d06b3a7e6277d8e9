#pragma once

#include <array>
#include <limits>

#include "host/core/simd.h"

namespace QXNumerics {

// exp and 2^x of each lane of a pack of doubles (QXCore::QXPack), for kernels. Both are made of
//
//   2^n exp(r) = 2^n (1 + r + c_2 r^2 + ... + c_10 r^10),  n an integer, |r| <= ln 2 / 2.
//
// The coefficients make the largest relative error of the bracket as small as can be, 2.9e-16
// (Remez exchange, in 40 digits). Adding 1.5 2^52 to a number rounds it to an integer, which then
// stands in the lowest bits; adding 1023 with it makes them the exponent of a double.
//
// Packs are local variables of the kernel, as the type deduced is that of an aligned pack; argument
// and result may be one. Not for -ffast-math.

namespace Exp {

/// c_k scale^k.
constexpr std::array<double, 11> Coefficients(double scale) {
  std::array<double, 11> c = {1.0,
                              1.0,
                              0.49999999999998324,
                              0.16666666666611555,
                              0.041666666668136482,
                              0.0083333333708701348,
                              0.0013888888516229435,
                              1.9841185236164746e-4,
                              2.4801931714219399e-5,
                              2.7634990800644344e-6,
                              2.7476798552041978e-7};
  double power = 1.0;
  for (double& value : c) {
    value *= power;
    power *= scale;
  }
  return c;
}

/// The sum of c_k r^k: Horner's rule by r^2, for the even and the odd k side by side.
template <typename Doubles>
[[gnu::always_inline]] inline void Polynomial(std::array<double, 11> const& c, Doubles const& r,
                                              Doubles& sum) {
  const Doubles r2 = r * r;
  Doubles even = c[10] + Doubles{}, odd = c[9] + Doubles{};
#pragma GCC unroll 4
  for (size_t k = 8; k > 0; k -= 2) {
    even = even * r2 + c[k];
    odd = odd * r2 + c[k - 1];
  }
  sum = even * r2 + c[0] + r * odd;
}

/// 2^n, where `shifted` is kRounder + n and -1022 <= n <= 1023.
inline constexpr double kRounder = 0x1.8p52 + 1023.0;
template <typename Doubles>
[[gnu::always_inline]] inline void Power(Doubles const& shifted, Doubles& power) {
  typedef unsigned long long Bits __attribute__((vector_size(sizeof(Doubles))));
  power = reinterpret_cast<Doubles>(reinterpret_cast<Bits>(shifted) << 52);
}

}  // namespace Exp

/// exp(x), to a relative error of 7e-16 for -708 <= x <= 709. Below it gives 0, above it infinity;
/// a NaN stays one.
template <typename Doubles>
[[gnu::always_inline]] inline void QXExp(Doubles const& x, Doubles& result) {
  constexpr std::array<double, 11> c = Exp::Coefficients(1.0);
  constexpr double kInverseLn2 = 1.4426950408889634;
  // The upper part of ln 2 ends in eleven zeros: its product with n is exact, fused or not.
  constexpr double kLn2Upper = 0x1.62e42fefa3800p-1;
  constexpr double kLn2Lower = 0x1.ef35793c76730p-45;
  const Doubles shifted = x * kInverseLn2 + Exp::kRounder;
  const Doubles n = shifted - Exp::kRounder;
  const Doubles r = (x - n * kLn2Upper) - n * kLn2Lower;
  Doubles sum, power;
  Exp::Polynomial(c, r, sum);
  Exp::Power(shifted, power);
  sum = x < -708.0 ? Doubles{} : sum * power;
  result = x > 709.0 ? std::numeric_limits<double>::infinity() + Doubles{} : sum;
}

/// 2^x for x <= 0, to a relative error of 7e-16; below -1020 it gives 0, and a NaN stays one. For
/// sums of Gaussians, whose exponents can take in the 1/ln 2.
template <typename Doubles>
[[gnu::always_inline]] inline void QXExp2OfNegative(Doubles const& x, Doubles& result) {
  constexpr std::array<double, 11> c = Exp::Coefficients(0.6931471805599453);
  const Doubles shifted = x + Exp::kRounder;
  const Doubles r = x - (shifted - Exp::kRounder);
  Doubles sum, power;
  Exp::Polynomial(c, r, sum);
  Exp::Power(shifted, power);
  result = x < -1020.0 ? Doubles{} : sum * power;
}

}  // namespace QXNumerics
