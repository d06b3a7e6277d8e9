#include "hermite/frame/moments.h"

#include <cmath>
#include <utility>

#include "hermite/foundations/basis.h"

namespace QXHermiteMath {

namespace {

// (-1)^s k! / (s! (k - 2s)!), the coefficient of (2t)^(k-2s) in H_k.
double PolynomialCoefficient(unsigned int k, unsigned int s) {
  const double sign = s % 2 == 0 ? 1.0 : -1.0;
  return sign * std::tgamma(k + 1.0) / (std::tgamma(s + 1.0) * std::tgamma(k - 2.0 * s + 1.0));
}

}  // namespace

double HermiteMomentsMasterIntegral(unsigned int a, double b, unsigned int k) {
  double sum = 0.0;
  for (unsigned int s = 0; s <= k / 2; ++s) {
    const double q = (static_cast<double>(a) + k) / 2.0 - s;
    sum += PolynomialCoefficient(k, s) * std::exp2(static_cast<double>(k) - 2.0 * s - 1.0) *
           std::pow(b, -q) * std::tgamma(q);
  }
  return sum;
}

double Hermite1DMoment(unsigned int k, unsigned int e) {
  if ((k + e) % 2 != 0) return 0.0;
  double sum = 0.0;
  for (unsigned int s = 0; s <= k / 2; ++s) {
    const double q = (static_cast<double>(k) + e + 1.0) / 2.0 - s;
    sum += PolynomialCoefficient(k, s) * std::exp2(static_cast<double>(k) - 2.0 * s) *
           std::exp2(q) * std::tgamma(q);
  }
  return sum;
}

std::vector<double> Hermite1DMoments(unsigned int N, unsigned int e) {
  std::vector<double> p(N + e + 1, 0.0);
  p[0] = 2.5066282746310002;  // sqrt(2 pi)
  for (unsigned int k = 0; k + 2 < p.size(); k += 2) p[k + 2] = 2.0 * (k + 1.0) * p[k];
  for (unsigned int power = 0; power < e; ++power) {
    std::vector<double> next(p.size() - 1);
    for (unsigned int k = 0; k < next.size(); ++k)
      next[k] = 0.5 * p[k + 1] + (k > 0 ? k * p[k - 1] : 0.0);
    p = std::move(next);
  }
  return p;
}

double Hermite3DMoment(unsigned int a, unsigned int b, unsigned int c, unsigned int N,
                       double lambdaX, double lambdaY, double lambdaZ,
                       std::vector<double> const& coefficients) {
  const std::vector<double> px = Hermite1DMoments(N, a);
  const std::vector<double> py = Hermite1DMoments(N, b);
  const std::vector<double> pz = Hermite1DMoments(N, c);
  double sum = 0.0;
  ForEachLmn(N, [&](unsigned int i, unsigned int l, unsigned int m, unsigned int n) {
    sum += coefficients[i] * px[l] * py[m] * pz[n];
  });
  return sum / (std::pow(lambdaX, a + 1) * std::pow(lambdaY, b + 1) * std::pow(lambdaZ, c + 1));
}

}  // namespace QXHermiteMath
