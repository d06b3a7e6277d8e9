#pragma once

#include <vector>

// Spatial moments of a density straight from its coefficients.
//
// With p(k, e) the integral of t^e h_k(t) dt over the real line, the integral of X^a Y^b Z^c f is
//
//   (sum of c_lmn p(l, a) p(m, b) p(n, c)) / (lambda_x^(a+1) lambda_y^(b+1) lambda_z^(c+1)).

namespace QXHermiteMath {

/// The integral from 0 to infinity of t^(a-1) H_k(t) exp(-b t^2) dt, term by term over H_k.
double HermiteMomentsMasterIntegral(unsigned int a, double b, unsigned int k);

/// p(k, e); exactly 0 when k + e is odd.
double Hermite1DMoment(unsigned int k, unsigned int e);

/// p(0, e) .. p(N, e) at once, by p(k, e + 1) = p(k + 1, e)/2 + k p(k - 1, e) from
/// p(k + 2, 0) = 2 (k + 1) p(k, 0): no cancellation and no gamma function, unlike the sum.
std::vector<double> Hermite1DMoments(unsigned int N, unsigned int e);

/// The integral of X^a Y^b Z^c f, in coordinates relative to the centre of the expansion.
/// coefficients hold the basis of degree N in shell order. A zero lambda gives a non-finite value.
double Hermite3DMoment(unsigned int a, unsigned int b, unsigned int c, unsigned int N,
                       double lambdaX, double lambdaY, double lambdaZ,
                       std::vector<double> const& coefficients);

}  // namespace QXHermiteMath
