#include "hermite/foundations/basis.h"

#include <cmath>

namespace QXHermiteMath {

namespace {

constexpr double kSqrtPi = 1.7724538509055159;
constexpr double kQuarticRootPi = 1.3313353638003897;

}  // namespace

// The loops below count to "less than N + 1", so that N = 4294967295 wraps to an empty basis.

QXHermiteIndex::QXHermiteIndex(unsigned int N) {
  table.resize(N + 1);
  for (unsigned int l = 0; l < N + 1; ++l) {
    table[l].resize(N - l + 1);
    for (unsigned int m = 0; m <= N - l; ++m) {
      std::vector<unsigned int>& row = table[l][m];
      row.reserve(N - l - m + 1);
      for (unsigned int n = 0; n <= N - l - m; ++n) row.push_back(GetLmnIndex(l, m, n));
    }
  }
}

std::vector<double> reorder(unsigned int N, const std::vector<double>& c) {
  std::vector<double> nested(c.size(), 0.0);
  size_t position = 0;
  for (unsigned int l = 0; l < N + 1; ++l)
    for (unsigned int m = 0; m <= N - l; ++m)
      for (unsigned int n = 0; n <= N - l - m; ++n) nested[position++] = c[GetLmnIndex(l, m, n)];
  return nested;
}

std::vector<double> computeKs(unsigned int N) {
  std::vector<double> ks(N + 1);
  if (ks.empty()) return ks;
  ks[0] = kSqrtPi;
  for (unsigned int k = 1; k <= N; ++k) ks[k] = (ks[k - 1] + ks[k - 1]) * k;
  return ks;
}

std::vector<double> QXCalcHermiteNormalization(unsigned int N) {
  std::vector<double> norms(N + 1);
  if (norms.empty()) return norms;
  norms[0] = kQuarticRootPi;
  for (unsigned int k = 1; k <= N; ++k)
    norms[k] = std::sqrt(static_cast<double>(k + k)) * norms[k - 1];
  return norms;
}

bool ScaleCoeffsByK(unsigned int N, std::vector<double>& c) {
  const std::vector<double> ks = computeKs(N);
  ForEachLmn(N, [&](unsigned int i, unsigned int l, unsigned int m, unsigned int n) {
    c[i] /= ks[m] * ks[l] * ks[n];
  });
  return true;
}

double SumOfNormalizedSquares(unsigned int N, const double* coefficients, const double* norms) {
  double sum = 0.0;
  ForEachLmn(N, [&](unsigned int i, unsigned int l, unsigned int m, unsigned int n) {
    const double scaled = coefficients[i] * norms[l] * norms[m] * norms[n];
    sum += scaled * scaled;
  });
  return sum;
}

double QXCalcHermiteSelfOverlap(std::vector<double> const& coefficients,
                                QXHermiteOptions const& options) {
  const unsigned int N = options.GetNPolyMax();
  const std::vector<double> norms = QXCalcHermiteNormalization(N);
  return SumOfNormalizedSquares(N, coefficients.data(), norms.data()) / GetLambdaProduct(options);
}

double QXCalcHermiteSelfOverlap(std::vector<double> const& coefficients,
                                QXHermiteOptions const& options, std::vector<double> const& ks) {
  double sum = 0.0;
  ForEachLmn(options.GetNPolyMax(),
             [&](unsigned int i, unsigned int l, unsigned int m, unsigned int n) {
               sum += coefficients[i] * coefficients[i] * ks[l] * ks[m] * ks[n];
             });
  return sum / GetLambdaProduct(options);
}

}  // namespace QXHermiteMath
