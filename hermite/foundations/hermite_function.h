#pragma once

// One-dimensional Hermite functions h_k(x) = H_k(x) exp(-x^2/2), see basis.h for the conventions.

namespace QXHermiteMath {

/// h_n(x) by the explicit sum exp(-x^2/2) n! sum_k (-1)^k (2x)^(n-2k) / ((n-2k)! k!).
/// Slow, and inaccurate at high degree, on purpose: this form defines values on grids.
double QXHermiteFunc(unsigned int n, double x);

/// h_0(x) .. h_n(x), the same bits as QXHermiteFunc: the exponential and the powers of x, which are
/// worked out once, are what takes the time. out: n + 1 doubles.
void HermiteFuncs(unsigned int n, double x, double* out);

/// The gamma function at an integer, (n - 1)!; 1 for n below 3.
double tgamma_i(unsigned int n);

/// The orthonormal functions h_k(x)/M_k, k = 0 .. n, by recurrence. out: n + 1 doubles.
/// Always true.
bool QXCalcNormalizedHermite(unsigned int n, double x, double* out);

/// The analysis functions h_k(x)/K_k, k = 0 .. n, by recurrence. out: n + 1 doubles. Always true.
/// The integral of f(x) h_k(lambda x)/K_k lambda dx is the coefficient of h_k(lambda x) in f.
bool QXCalcDoubleNormalizedHermite(unsigned int n, double x, double* out);

}  // namespace QXHermiteMath
