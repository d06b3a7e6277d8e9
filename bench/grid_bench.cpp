// Evaluation on grids and projection of grids, at every level of instructions of this machine,
// beside the plain loops over elements and basis in the same run. items are elements times basis
// functions.

#include <benchmark/benchmark.h>

#include "bench/peak.h"
#include "bench/synthetic.h"
#include "hermite/hermite.h"
#include "hermite/internal.h"

using namespace QXHermiteMath;

namespace {

const double kLambdas[3] = {0.8, 0.8, 0.8};
const double kCenter[3] = {0.0, 0.0, 0.0};

/// A cube of 16 angstrom, with the density of a molecule on it.
struct Problem {
  explicit Problem(const benchmark::State& state)
      : N(static_cast<unsigned int>(state.range(0))),
        dim(static_cast<unsigned int>(state.range(1))) {
    QXHermiteOptions options;
    options.SetNPolyMax(N);
    options.SetUseOptimalLambdas(false);
    SetLambdas(options, kLambdas[0], kLambdas[1], kLambdas[2]);
    QXHermite h;
    h.Setup(QXBench::DrugLikeGaussians(25, 1), options);
    c = h.GetCoefficients();
    grid.SetDim(dim, dim, dim);
    grid.SetSpacing(16.0f / static_cast<float>(dim));
    EvaluateOnGrid(N, c.data(), kLambdas, grid, QXCore::QXGetSimdLevel());
  }

  /// A table of functions of one degree after the other: entry k of element i at (N + 1) i + k. All
  /// axes have the same.
  template <class Function>
  std::vector<double> Table(Function&& fill) const {
    std::vector<double> table((N + 1) * dim);
    for (unsigned int i = 0; i < dim; ++i) {
      const double x = QXCore::QXElementCoord(i, dim, grid.GetSpacing(), 0.0f);
      fill(x * kLambdas[0], &table[(N + 1) * i]);
    }
    return table;
  }

  template <class Visit>
  void ForEachElement(const std::vector<double>& table, Visit&& visit) {
    float* value = grid.GetValues();
    for (size_t z = 0; z < dim; ++z)
      for (size_t y = 0; y < dim; ++y)
        for (size_t x = 0; x < dim; ++x)
          visit(*value++, &table[(N + 1) * x], &table[(N + 1) * y], &table[(N + 1) * z]);
  }

  unsigned int N, dim;
  std::vector<double> c;
  QXScalarGrid grid;
};

void Count(benchmark::State& state, const Problem& p) {
  state.SetItemsProcessed(state.iterations() * p.grid.GetSize() * static_cast<int64_t>(p.c.size()));
}

/// Multiply-adds for each element, row along x and plane.
void CountMultiplyAdds(benchmark::State& state, const Problem& p, QXSimdLevel level, double element,
                       double row, double plane) {
  QXBench::ReportMultiplyAdds(state, p.dim * (p.dim * (p.dim * element + row) + plane), level);
}

/// The level of the third argument, if the machine has it.
bool Level(benchmark::State& state, QXSimdLevel& level) {
  level = static_cast<QXSimdLevel>(state.range(2));
  if (level <= QXCore::QXGetSimdLevel()) return true;
  state.SkipWithError("this machine has no such instructions");
  return false;
}

void EvaluationPlain(benchmark::State& state) {
  Problem p(state);
  for (auto _ : state) {
    const std::vector<double> table = p.Table([&](double t, double* h) {
      for (unsigned int k = 0; k <= p.N; ++k) h[k] = QXHermiteFunc(k, t);
    });
    p.ForEachElement(table, [&](float& value, const double* x, const double* y, const double* z) {
      float sum = 0.0f;
      ForEachLmn(p.N, [&](unsigned int i, unsigned int l, unsigned int m, unsigned int n) {
        sum += static_cast<float>(p.c[i] * x[l] * y[m] * z[n]);
      });
      value = sum;
    });
    benchmark::ClobberMemory();
  }
  Count(state, p);
}

void Evaluation(benchmark::State& state) {
  QXSimdLevel level;
  if (!Level(state, level)) return;
  Problem p(state);
  for (auto _ : state) {
    EvaluateOnGrid(p.N, p.c.data(), kLambdas, p.grid, level);
    benchmark::ClobberMemory();
  }
  Count(state, p);
  CountMultiplyAdds(state, p, level, static_cast<double>(p.c.size()), 0.0, 0.0);
}

void ProjectionPlain(benchmark::State& state) {
  Problem p(state);
  const double spacing = p.grid.GetSpacing();
  const double scale = spacing * spacing * spacing * kLambdas[0] * kLambdas[1] * kLambdas[2];
  for (auto _ : state) {
    const std::vector<double> table =
        p.Table([&](double t, double* d) { QXCalcDoubleNormalizedHermite(p.N, t, d); });
    std::vector<double> c(p.c.size());
    p.ForEachElement(table, [&](float& value, const double* x, const double* y, const double* z) {
      const double v = static_cast<double>(value) * scale;
      ForEachLmn(p.N, [&](unsigned int i, unsigned int l, unsigned int m, unsigned int n) {
        c[i] += x[l] * v * y[m] * z[n];
      });
    });
    benchmark::DoNotOptimize(c.data());
    benchmark::ClobberMemory();
  }
  Count(state, p);
}

void Projection(benchmark::State& state) {
  QXSimdLevel level;
  if (!Level(state, level)) return;
  Problem p(state);
  for (auto _ : state) {
    std::vector<double> c(p.c.size());
    ProjectGrid(p.grid, p.N, kLambdas, kCenter, c.data(), level);
    benchmark::DoNotOptimize(c.data());
    benchmark::ClobberMemory();
  }
  Count(state, p);
  CountMultiplyAdds(state, p, level, p.N + 1.0, (p.N + 1.0) * (p.N + 2.0) / 2.0,
                    static_cast<double>(p.c.size()));
}

void Plain(benchmark::internal::Benchmark* bench) {
  bench->ArgsProduct({{5, 10}, {32, 64, 128}})
      ->ArgNames({"N", "dim"})
      ->Unit(benchmark::kMillisecond);
}
void Levels(benchmark::internal::Benchmark* bench) {
  bench->ArgsProduct({{5, 10}, {32, 64, 128}, {0, 1, 2}})
      ->ArgNames({"N", "dim", "level"})
      ->Unit(benchmark::kMillisecond);
}
BENCHMARK(EvaluationPlain)->Apply(Plain);
BENCHMARK(Evaluation)->Apply(Levels);
BENCHMARK(ProjectionPlain)->Apply(Plain);
BENCHMARK(Projection)->Apply(Levels);

}  // namespace
