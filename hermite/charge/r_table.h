#pragma once

#include <vector>

// Coulomb integrals of Hermite Gaussians: the auxiliary table of McMurchie and Davidson, J. Comput.
// Phys. 26 (1978) 218.
//
//   R(a; b, c, d) = d^b/dX^b d^c/dY^c d^d/dZ^d of (-2 alpha)^a F_a(alpha (X^2 + Y^2 + Z^2)),
//   F_n(T)        = integral over s from 0 to 1 of s^(2n) exp(-T s^2), the Boys functions,
//
// for all a + b + c + d <= N. Wanted are the R(0; b, c, d), the derivatives of F_0; the others lead
// to them:
//
//   R(a; 0, 0, 0)     = (-2 alpha)^a F_a(T)                                      BuildBoys
//   R(a; b + 1, c, d) = X R(a + 1; b, c, d) + b R(a + 1; b - 1, c, d), likewise  BuildMcMurchie-
//                       along y where b = 0, along z where b = c = 0             Davidson
//
// Entries stand by rising total t = a + b + c + d, then by rising v = b + c + d, then b, then c, so
// that the table of a lower order is a prefix of that of a higher one:
//
//   index   0    1    2    3    4    5    6    7    8    9    10
//   a;bcd   0;0  1;0  0;001  0;010  0;100  2;0  1;001  1;010  1;100  0;002  0;011

namespace QXHermiteMath {

/// 2 pi times the Coulomb constant, kcal angstrom / (mol e^2): a function of width lambda and
/// coefficient q has at r the potential R(0; l, m, n) q kTwoPiCoulomb / lambda^(l + m + n + 2),
/// with alpha = lambda^2 and (X, Y, Z) its centre minus r, and the field that one derivative more
/// gives.
inline constexpr double kTwoPiCoulomb = 2086.417842569099;

/// pi/4, as the closed form of the Boys functions has it.
inline constexpr double kQuarterPi = 0.7853981633974483;

/// Number of entries of the table of an order. 32-bit unsigned arithmetic.
constexpr unsigned int SizeOfRMatrix(unsigned int order) {
  return (order + 4) * (order + 3) * (order + 2) * (order + 1) / 24;
}

/// Place of R(a; b, c, d). 32-bit unsigned arithmetic.
constexpr unsigned int RIndex(unsigned int a, unsigned int b, unsigned int c, unsigned int d) {
  const unsigned int v = b + c + d;
  const unsigned int t = a + v;
  return (t + 3) * (t + 2) * (t + 1) * t / 24 + (v + 2) * (v + 1) * v / 6 +
         (2 * v - b + 3) * b / 2 + c;
}

/// F_n(T) in closed form, for every T:
///   (sqrt(pi/(4T)) erf(sqrt(T)) - exp(-T) sum over k < n of t_k) / ((2n + 1) t_n),
///   t_k = (2T)^k / (1 3 5 .. (2k + 1)).
/// NaN at T = 0, on purpose. For small T the difference cancels: about n log10(1/T) digits go.
double BoysFunc(unsigned int n, double T);

/// Fills the entries R(a; 0, 0, 0) up to the order. R: X, Y, Z. NaN where all three are 0. The
/// table must have SizeOfRMatrix(order) entries, which is not checked. Always true.
bool BuildBoys(unsigned int order, double alpha, double const* R, std::vector<double>& table);

/// Fills the other entries from those. Entries beyond the order stay as they are. Always true.
bool BuildMcMurchieDavidson(unsigned int order, double const* R, std::vector<double>& table);

}  // namespace QXHermiteMath
