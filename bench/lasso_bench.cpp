// The LASSO path beside the same algorithm as a textbook has it, which works everything out anew in
// each step; and the products that it rests on beside Eigen's. bench/lasso_sklearn.py compares with
// scikit-learn. The counters: columns that entered, and the largest difference from the textbook's
// last coefficients; multiply-adds and bytes of the products.

#include <benchmark/benchmark.h>

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "bench/peak.h"
#include "host/numerics/dense_design.h"
#include "host/numerics/lasso.h"

namespace {

using Eigen::Index, Eigen::MatrixXd, Eigen::VectorXd;

// Random numbers, the same in every run.
MatrixXd MakeDesign(Index rows, Index columns) {
  std::srand(1);
  MatrixXd X = MatrixXd::Random(rows, columns);
  X.rowwise() -= X.colwise().mean().eval();
  X.colwise().normalize();
  return X;
}

VectorXd MakeTarget(const MatrixXd& X) {
  return X * VectorXd::Random(X.cols()) + VectorXd::Random(X.rows()) / 20;
}

// The path to where one more than `limit` columns would enter, all dense. Returns the coefficients.
VectorXd Textbook(const MatrixXd& X, const VectorXd& y, Index limit) {
  VectorXd b = VectorXd::Zero(X.cols());
  std::vector<Index> active, entered;
  Index left = -1;
  for (;;) {
    const VectorXd c = X.transpose() * (y - X * b);
    const double bound = active.empty() ? c.cwiseAbs().maxCoeff() : std::abs(c[active[0]]);
    MatrixXd A(X.rows(), static_cast<Index>(active.size()));
    VectorXd signs(A.cols());
    for (Index k = 0; k < A.cols(); ++k) {
      A.col(k) = X.col(active[k]);
      signs[k] = c[active[k]] > 0 ? 1 : -1;
    }
    VectorXd d(0), a = VectorXd::Zero(X.cols());
    if (!active.empty()) {
      d = (A.transpose() * A).llt().solve(signs);
      a = X.transpose() * (A * d);
    }
    double fall = bound;
    Index next = -1, leaving = -1;
    for (Index j = 0; j < X.cols(); ++j) {
      if (j == left || std::ranges::count(active, j)) continue;
      for (const double join : {(bound - c[j]) / (1 - a[j]), (bound + c[j]) / (1 + a[j])})
        if (join >= 0 && join < fall) fall = join, next = j;
    }
    for (Index k = 0; k < A.cols(); ++k) {
      const double leave = -b[active[k]] / d[k];
      if (leave > 0 && leave < fall) fall = leave, leaving = k;
    }
    for (Index k = 0; k < A.cols(); ++k) b[active[k]] += fall * d[k];
    left = -1;
    if (leaving >= 0) {
      left = active[leaving];
      b[left] = 0;
      active.erase(active.begin() + leaving);
    } else if (next < 0) {
      return b;
    } else {
      if (!std::ranges::count(entered, next)) {
        if (static_cast<Index>(entered.size()) == limit) return b;
        entered.push_back(next);
      }
      active.push_back(next);
    }
  }
}

void BM_Path(benchmark::State& state) {
  const MatrixXd X = MakeDesign(state.range(0), state.range(1));
  const VectorXd y = MakeTarget(X);
  QXNumerics::QXLasso lasso;
  for (auto _ : state) {
    lasso.Fit(X, y, static_cast<unsigned int>(state.range(2)));
    benchmark::DoNotOptimize(lasso);
  }
  VectorXd difference = Textbook(X, y, state.range(2));
  const std::vector<unsigned int> actives = lasso.GetActives();
  for (size_t i = 0; i < actives.size(); ++i)
    difference[actives[i]] -= lasso.GetCoefficients().back()[i];
  state.counters["actives"] = static_cast<double>(actives.size());
  state.counters["difference"] = difference.cwiseAbs().maxCoeff<Eigen::PropagateNaN>();
}

void BM_PathTextbook(benchmark::State& state) {
  const MatrixXd X = MakeDesign(state.range(0), state.range(1));
  const VectorXd y = MakeTarget(X);
  for (auto _ : state) {
    VectorXd b = Textbook(X, y, state.range(2));
    benchmark::DoNotOptimize(b);
  }
}

// With few vectors, what costs is reading the matrix.
void CountProducts(benchmark::State& state) {
  const auto elements = static_cast<double>(state.range(0) * state.range(1));
  QXBench::ReportMultiplyAdds(state, elements * static_cast<double>(state.range(2)));
  QXBench::ReportBytes(state, sizeof(double) * elements);
}

void BM_Correlate(benchmark::State& state) {
  const MatrixXd X = MakeDesign(state.range(0), state.range(1));
  const MatrixXd V = X.leftCols(state.range(2));
  const QXNumerics::QXDenseDesign design(X);
  MatrixXd products;
  for (auto _ : state) {
    design.Correlate(V, products);
    benchmark::DoNotOptimize(products);
  }
  CountProducts(state);
}

void BM_CorrelateEigen(benchmark::State& state) {
  const MatrixXd X = MakeDesign(state.range(0), state.range(1));
  const MatrixXd V = X.leftCols(state.range(2));
  MatrixXd products;
  for (auto _ : state) {
    products.noalias() = X.transpose() * V;
    benchmark::DoNotOptimize(products);
  }
  CountProducts(state);
}

// rows, columns, most actives
#define QX_PATHS ->Args({300, 80, 80})->Args({2000, 400, 50})->Args({2000, 1000, 100})
BENCHMARK(BM_Path) QX_PATHS->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PathTextbook) QX_PATHS->Unit(benchmark::kMillisecond);

// rows, columns, vectors
#define QX_PRODUCTS \
  ->Args({5000, 500, 1})->Args({5000, 500, 8})->Args({5000, 500, 64})->Args({20000, 500, 1})
BENCHMARK(BM_Correlate) QX_PRODUCTS->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CorrelateEigen) QX_PRODUCTS->Unit(benchmark::kMillisecond);

}  // namespace
