#pragma once

#include <cmath>
#include <vector>

#include "hermite/charge/charge_density.h"

// Plain twins of potential, field and energy of charge densities: the formulas as one would write
// them down, a loop for each sum, a look-up for each coefficient, a power for each function. Each
// adds up the magnitudes of its terms too, where it is given a place for them.

namespace QXTest {

/// One R table, by the recurrences of Boys and of McMurchie and Davidson, entry by entry.
class PlainTable {
 public:
  explicit PlainTable(unsigned int maxOrder) : values(Index(maxOrder + 1, 0, 0, 0), 0.0) {}

  static unsigned int Index(unsigned int a, unsigned int b, unsigned int c, unsigned int d) {
    const unsigned int v = b + c + d, t = a + v;
    return (t + 3) * (t + 2) * (t + 1) * t / 24 + (v + 2) * (v + 1) * v / 6 +
           (2 * v - b + 3) * b / 2 + c;
  }
  double operator()(unsigned int a, unsigned int b, unsigned int c, unsigned int d) const {
    return values[Index(a, b, c, d)];
  }

  void Build(unsigned int N, double alpha, const double* R) {
    const double T = alpha * (R[0] * R[0] + R[1] * R[1] + R[2] * R[2]);
    const double e = std::exp(-T);
    double p = std::pow(-2.0 * alpha, static_cast<double>(N));
    double term = 1.0, sum = 0.0;
    for (unsigned int k = 1; k <= N; ++k) {
      sum += term;
      term = term * (2.0 * T) / (2.0 * k + 1.0);
    }
    double F = (std::sqrt(0.7853981633974483 / T) * std::erf(std::sqrt(T)) - e * sum) /
               ((2.0 * N + 1.0) * term);
    values[Index(N, 0, 0, 0)] = F * p;
    for (unsigned int k = N; k > 0; --k) {
      F = (2.0 * T * F + e) / (2.0 * k - 1.0);
      p = -0.5 * p / alpha;
      values[Index(k - 1, 0, 0, 0)] = F * p;
    }
    for (unsigned int b = 0; b <= N; ++b)
      for (unsigned int c = 0; c <= N - b; ++c)
        for (unsigned int d = b + c == 0 ? 1 : 0; d <= N - b - c; ++d)
          for (unsigned int a = 0; a <= N - b - c - d; ++a) {
            double& value = values[Index(a, b, c, d)];
            if (b > 0)
              value = R[0] * At(a + 1, b - 1, c, d) + Times(b - 1, a + 1, b - 2, c, d);
            else if (c > 0)
              value = R[1] * At(a + 1, 0, c - 1, d) + Times(c - 1, a + 1, 0, c - 2, d);
            else
              value = R[2] * At(a + 1, 0, 0, d - 1) + Times(d - 1, a + 1, 0, 0, d - 2);
          }
  }

 private:
  double At(unsigned int a, unsigned int b, unsigned int c, unsigned int d) const {
    return values[Index(a, b, c, d)];
  }
  double Times(unsigned int factor, unsigned int a, unsigned int b, unsigned int c,
               unsigned int d) const {
    return factor == 0 ? 0.0 : factor * At(a, b, c, d);
  }

  std::vector<double> values;
};

/// The potential at each point, or, with `field`, the three components of the field; in the latter
/// the table goes from site to site and point to point, and is built to the order of the site.
inline std::vector<double> PlainPotential(const QXHermiteMath::QXHermiteChargeDensity& density,
                                          const std::vector<double>& points, bool field,
                                          std::vector<double>* magnitudes = nullptr) {
  const QXHermiteMath::QXMultiHermiteParameters params = density.GetParams();
  const size_t results = field ? 3 : 1;
  std::vector<double> values(points.size() / 3 * results), sizes(values.size());
  PlainTable R(params.GetLargestNPolyMax() + (field ? 1 : 0));
  for (size_t p = 0; p < points.size() / 3; ++p) {
    for (unsigned int site = 0; site < params.NumSites(); ++site) {
      const std::vector<unsigned int> actives = density.GetActives(site);
      if (actives.empty()) continue;
      const double lambda = params.GetLambda(site);
      const std::vector<double> center = params.GetCenter(site);
      const double r[3] = {center[0] - points[3 * p], center[1] - points[3 * p + 1],
                           center[2] - points[3 * p + 2]};
      R.Build(params.GetNPolyMax(site), lambda * lambda, r);
      for (unsigned int index : actives) {
        const auto [l, m, n] = params.GetLmn(site, index);
        const double w =
            density.GetCoefficient(index) / (std::pow(lambda, l + m + n) * (lambda * lambda));
        const double terms[3] = {field ? R(0, l + 1, m, n) * w : R(0, l, m, n) * w,
                                 field ? R(0, l, m + 1, n) * w : 0.0,
                                 field ? R(0, l, m, n + 1) * w : 0.0};
        for (size_t i = 0; i < results; ++i) {
          values[results * p + i] += terms[i];
          sizes[results * p + i] += std::fabs(terms[i]);
        }
      }
    }
  }
  for (double& value : values) value *= 2086.417842569099;
  for (double& size : sizes) size *= 2086.417842569099;
  if (magnitudes) *magnitudes = sizes;
  return values;
}

inline double PlainEnergy(const QXHermiteMath::QXHermiteChargeDensity& a,
                          const QXHermiteMath::QXHermiteChargeDensity& b,
                          double* magnitude = nullptr) {
  const QXHermiteMath::QXMultiHermiteParameters pa = a.GetParams(), pb = b.GetParams();
  PlainTable R(pa.GetLargestNPolyMax() + pb.GetLargestNPolyMax());
  double energy = 0.0, size = 0.0;
  for (unsigned int s = 0; s < pa.NumSites(); ++s) {
    for (unsigned int t = 0; t < pb.NumSites(); ++t) {
      const double la = pa.GetLambda(s), lb = pb.GetLambda(t);
      const double alpha = la * la, beta = lb * lb;
      const std::vector<double> A = pa.GetCenter(s), B = pb.GetCenter(t);
      const double r[3] = {A[0] - B[0], A[1] - B[1], A[2] - B[2]};
      R.Build(pa.GetNPolyMax(s) + pb.GetNPolyMax(t), alpha * beta / (alpha + beta), r);
      for (unsigned int i : a.GetActives(s)) {
        const auto [l, m, n] = pa.GetLmn(s, i);
        const double g = std::pow(la, l + m + n) * (std::sqrt(alpha + beta) * alpha * beta);
        for (unsigned int j : b.GetActives(t)) {
          const auto [l2, m2, n2] = pb.GetLmn(t, j);
          const double term = a.GetCoefficient(i) * b.GetCoefficient(j) *
                              R(0, l + l2, m + m2, n + n2) / (std::pow(-lb, l2 + m2 + n2) * g);
          energy += term;
          size += std::fabs(term);
        }
      }
    }
  }
  if (magnitude) *magnitude = size * 11617.858885866724;
  return energy * 11617.858885866724;
}

}  // namespace QXTest
