#pragma once

#include <cmath>
#include <limits>

#include "hermite/charge/charge_density.h"
#include "hermite/charge/r_table.h"

// Plain twins of potential, field and energy of charge densities: the formulas as one would write
// them down, a loop for each sum, a look-up for each coefficient, a power for each function.

namespace QXTest {

using QXHermiteMath::QXHermiteChargeDensity;
using QXHermiteMath::RIndex;

/// R(0; l, m, n) and the rest of the table, entry by entry.
class PlainTable {
 public:
  explicit PlainTable(unsigned int maxOrder) : R(QXHermiteMath::SizeOfRMatrix(maxOrder)) {}
  double operator()(unsigned int l, unsigned int m, unsigned int n) const {
    return R[RIndex(0, l, m, n)];
  }

  void Build(unsigned int N, double alpha, const double* r) {
    const double T = alpha * (r[0] * r[0] + r[1] * r[1] + r[2] * r[2]);
    const double e = std::exp(-T);
    double F = QXHermiteMath::BoysFunc(N, T), p = std::pow(-2.0 * alpha, N);
    R[RIndex(N, 0, 0, 0)] = F * p;
    for (unsigned int k = N; k > 0; --k) {
      F = (2.0 * T * F + e) / (2.0 * k - 1.0);
      p = -0.5 * p / alpha;
      R[RIndex(k - 1, 0, 0, 0)] = F * p;
    }
    for (unsigned int b = 0; b <= N; ++b)
      for (unsigned int c = 0; c <= N - b; ++c)
        for (unsigned int d = b + c == 0 ? 1 : 0; d <= N - b - c; ++d)
          for (unsigned int a = 0; a <= N - b - c - d; ++a) {
            const size_t axis = b > 0 ? 0 : c > 0 ? 1 : 2;
            unsigned int below[3] = {b, c, d};
            const unsigned int degree = --below[axis];
            double value = r[axis] * R[RIndex(a + 1, below[0], below[1], below[2])];
            --below[axis];
            if (degree > 0) value += degree * R[RIndex(a + 1, below[0], below[1], below[2])];
            R[RIndex(a, b, c, d)] = value;
          }
  }

 private:
  std::vector<double> R;
};

/// What rounding may do to the entries of an R table: the recurrences with what they add up taken
/// without signs, from starts (2 alpha)^a (F_a + 1/((2a + 1) t_a)), where the second term is what
/// cancels in the closed form, carried down. A few roundings for each step, and for exp and erf,
/// which are good to 7e-16 relative.
inline std::vector<double> TableRounding(unsigned int order, double alpha, const double* R) {
  using namespace QXHermiteMath;
  const double r[3] = {std::fabs(R[0]), std::fabs(R[1]), std::fabs(R[2])};
  const double T = alpha * (r[0] * r[0] + r[1] * r[1] + r[2] * r[2]);
  std::vector<double> table(SizeOfRMatrix(order));
  constexpr double epsilon = std::numeric_limits<double>::epsilon();
  double term = 1.0;
  for (unsigned int a = 0; a <= order; ++a) {
    const double start = BoysFunc(a, T) + 1.0 / ((2.0 * a + 1.0) * term);
    table[RIndex(a, 0, 0, 0)] = 8 * (order + 1) * epsilon * std::pow(2 * alpha, a) * start;
    term *= 2 * T / (2.0 * a + 3.0);
  }
  BuildMcMurchieDavidson(order, r, table);
  return table;
}

/// The potential at each point, or, with `field`, the three components of the field. The table goes
/// from site to site and from point to point, and is built to the degree of the site in both cases.
inline std::vector<double> PlainPotential(const QXHermiteChargeDensity& density,
                                          const std::vector<double>& points, bool field) {
  const QXHermiteMath::QXMultiHermiteParameters params = density.GetParams();
  std::vector<double> values(points.size() / 3 * (field ? 3 : 1));
  PlainTable R(params.GetLargestNPolyMax() + (field ? 1 : 0));
  for (size_t p = 0; p < points.size() / 3; ++p) {
    for (unsigned int site = 0; site < params.NumSites(); ++site) {
      const std::vector<unsigned int> actives = density.GetActives(site);
      if (actives.empty()) continue;
      const double lambda = params.GetLambda(site), alpha = lambda * lambda;
      const std::vector<double> center = params.GetCenter(site);
      const double* point = &points[3 * p];
      const double r[3] = {center[0] - point[0], center[1] - point[1], center[2] - point[2]};
      R.Build(params.GetNPolyMax(site), alpha, r);
      for (unsigned int index : actives) {
        const auto [l, m, n] = params.GetLmn(site, index);
        const double w = density.GetCoefficient(index) / (std::pow(lambda, l + m + n) * alpha);
        if (field) {
          values[3 * p] += R(l + 1, m, n) * w;
          values[3 * p + 1] += R(l, m + 1, n) * w;
          values[3 * p + 2] += R(l, m, n + 1) * w;
        } else {
          values[p] += R(l, m, n) * w;
        }
      }
    }
  }
  for (double& value : values) value *= QXHermiteMath::kTwoPiCoulomb;
  return values;
}

inline double PlainEnergy(const QXHermiteChargeDensity& a, const QXHermiteChargeDensity& b) {
  const QXHermiteMath::QXMultiHermiteParameters pa = a.GetParams(), pb = b.GetParams();
  PlainTable R(pa.GetLargestNPolyMax() + pb.GetLargestNPolyMax());
  double energy = 0.0;
  for (unsigned int s = 0; s < pa.NumSites(); ++s) {
    for (unsigned int t = 0; t < pb.NumSites(); ++t) {
      const double la = pa.GetLambda(s), lb = pb.GetLambda(t), alpha = la * la, beta = lb * lb;
      const std::vector<double> A = pa.GetCenter(s), B = pb.GetCenter(t);
      const double r[3] = {A[0] - B[0], A[1] - B[1], A[2] - B[2]};
      R.Build(pa.GetNPolyMax(s) + pb.GetNPolyMax(t), alpha * beta / (alpha + beta), r);
      for (unsigned int i : a.GetActives(s)) {
        const auto [l, m, n] = pa.GetLmn(s, i);
        const double g = std::pow(la, l + m + n) * (std::sqrt(alpha + beta) * alpha * beta);
        for (unsigned int j : b.GetActives(t)) {
          const auto [l2, m2, n2] = pb.GetLmn(t, j);
          energy += a.GetCoefficient(i) * b.GetCoefficient(j) * R(l + l2, m + m2, n + n2) /
                    (std::pow(-lb, l2 + m2 + n2) * g);
        }
      }
    }
  }
  return energy * 11617.858885866724;
}

}  // namespace QXTest
