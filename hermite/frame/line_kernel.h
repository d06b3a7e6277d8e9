#pragma once

#include <type_traits>
#include <utility>

// Rotations and shifts of coefficient vectors, line by line.
//
// Both are substitutions in polynomials. Hermite polynomials follow the binomial theorem,
//
//   H_i(y + t/2) = sum over k of C(i, k) t^(i-k) H_k(y),
//
// so that the coefficients along an axis change like those of p(z) -> p(z + t). The coefficients of
// one degree in a plane, sum of p_t H_t(x) H_(d-t)(y), rotate like those of sum of p_t X^t Y^(d-t),
// since the generating function exp(2(x t + y u) - t^2 - u^2) does not change when (x, y) and
// (t, u) turn together. And a rotation is three shears, X -> X + a Y, Y -> Y - b X, X -> X + a Y
// with a = tan(angle/2) and b = sin(angle), each of which is p(z) -> p(z + a) again. So one short
// loop does all the work, without matrices and without powers.
//
// Kernels are leaves: plain pointers, no allocation, templated on the scalar type, double or a pack
// of doubles (QXCore::QXPack). A degree is an unsigned int, or, where loops are to be written out
// so that a line stays in registers, the type Constant<degree>.

namespace QXHermiteMath::kernel {

template <unsigned int Value>
using Constant = std::integral_constant<unsigned int, Value>;

/// Lines of up to this degree are written out; those of the highest one fit the 16 registers.
inline constexpr unsigned int kUnrolledDegree = 10;

template <unsigned int Value>
constexpr Constant<Value + 1> Next(Constant<Value>) {
  return {};
}
constexpr unsigned int Next(unsigned int value) {
  return value + 1;
}

/// body(0), body(1) .. body(count - 1).
template <unsigned int Count, class Body>
[[gnu::always_inline]] inline void Repeat(Constant<Count>, Body const& body) {
  const auto writeOut = [&]<unsigned int... K>(std::integer_sequence<unsigned int, K...>)
      __attribute__((always_inline)) {
    (body(Constant<K>()), ...);
  };
  writeOut(std::make_integer_sequence<unsigned int, Count>());
}
template <class Body>
[[gnu::always_inline]] inline void Repeat(unsigned int count, Body const& body) {
  for (unsigned int k = 0; k < count; ++k) body(k);
}

/// p(z) -> p(z + t) for the d + 1 coefficients of a polynomial, p[k] those of z^k, or, if Reversed,
/// of z^(d-k). Synthetic division, in passes whose additions do not wait for each other.
template <bool Reversed, class Degree, class Scalar>
[[gnu::always_inline]] inline void TaylorShift(Degree d, Scalar const& t, Scalar* p) {
  Repeat(
      d, [&](auto pass) __attribute__((always_inline)) {
        Repeat(
            Next(pass), [&](auto k) __attribute__((always_inline)) {
              const unsigned int j = d - 1 - pass + k;
              if constexpr (Reversed)
                p[d - j] += t * p[d - j - 1];
              else
                p[j] += t * p[j + 1];
            });
      });
}

/// A shift along an axis: H_i(y) -> H_i(y + t/2).
template <class Scalar>
struct AxisShift {
  Scalar t;
  template <class Degree>
  [[gnu::always_inline]] void operator()(Degree d, Scalar* p) const {
    TaylorShift<false>(d, t, p);
  }
};

/// A rotation of a plane, by at most a quarter turn; p[t] belongs to X^t Y^(d-t).
template <class Scalar>
struct PlaneRotation {
  Scalar halfTangent;
  Scalar minusSine;
  template <class Degree>
  [[gnu::always_inline]] void operator()(Degree d, Scalar* p) const {
    TaylorShift<false>(d, halfTangent, p);
    TaylorShift<true>(d, minusSine, p);
    TaylorShift<false>(d, halfTangent, p);
  }
};

/// 0 to 3 quarter turns of a plane: (X, Y) -> (Y, -X) for one. odd: 1 for an odd number, else 0;
/// signX, signY: -1 for 1 or 2 of them, and for 2 or 3, else 1.
template <class Scalar>
struct QuarterTurns {
  Scalar odd, signX, signY;
  [[gnu::always_inline]] void operator()(unsigned int d, Scalar* p) const {
    for (unsigned int t = 0; 2 * t < d; ++t) {
      const Scalar first = p[t], last = p[d - t];
      p[t] = odd != 0.0 ? last : first;
      p[d - t] = odd != 0.0 ? first : last;
    }
    Scalar powerX = signX, powerY = signY;
    for (unsigned int t = 1; t <= d; ++t, powerX *= signX, powerY *= signY) {
      p[t] *= powerX;
      p[d - t] *= powerY;
    }
  }
};

/// A local array for a line of this degree; degrees end at 100, as in the options.
template <class Degree>
inline constexpr unsigned int kLineSize = 101;
template <unsigned int D>
inline constexpr unsigned int kLineSize<Constant<D>> = D + 1;

/// Takes `count` lines of d + 1 coefficients, one after the other, through `operation`: line i has
/// its places at at[i (d + 1)] and on. out may be in.
template <class Degree, class Scalar, class Operation>
[[gnu::always_inline]] inline void ForLines(Degree d, unsigned int count, const unsigned int* at,
                                            const Scalar* in, Scalar* out,
                                            Operation const& operation) {
  for (; count > 0; --count, at += d + 1) {
    Scalar p[kLineSize<Degree>];
    Repeat(
        Next(d), [&](auto t) __attribute__((always_inline)) { p[t] = in[at[t]]; });
    operation(d, p);
    Repeat(
        Next(d), [&](auto t) __attribute__((always_inline)) { out[at[t]] = p[t]; });
  }
}

/// The same for all lines of one direction in a basis of degree N: N + 1 - d of degree d, which
/// start at places[lineStart[d]].
template <class Scalar, class Operation>
[[gnu::always_inline]] inline void ForAllLines(unsigned int N, const unsigned int* lineStart,
                                               const unsigned int* places, const Scalar* in,
                                               Scalar* out, Operation const& operation) {
  Repeat(
      Constant<kUnrolledDegree + 1>(), [&](auto d) __attribute__((always_inline)) {
        if (d <= N) ForLines(d, N + 1 - d, places + lineStart[d], in, out, operation);
      });
  for (unsigned int d = kUnrolledDegree + 1; d <= N; ++d)
    ForLines(d, N + 1 - d, places + lineStart[d], in, out, operation);
}

}  // namespace QXHermiteMath::kernel
