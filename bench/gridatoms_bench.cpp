// Atoms from grids: the gradient of the objective and the sparse regression, each beside its plain
// form, and whole searches.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

#include "bench/synthetic.h"
#include "hermite/hermite.h"
#include "hermite/internal.h"
#include "host/grid/field_grid.h"
#include "host/grid/grid_gaussian.h"
#include "host/minimizer/bfgs.h"
#include "host/numerics/lasso.h"

using namespace QXHermiteMath;

namespace {

constexpr double kWidth = 0.7;
constexpr double kRadius = 1.4;

// The places of a cubic lattice of 2 angstrom nearest the origin, each moved by up to `jitter` on
// every axis.
std::vector<double> Places(size_t atoms, double jitter) {
  std::vector<std::array<double, 3>> lattice;
  for (int i = -5; i <= 5; ++i)
    for (int j = -5; j <= 5; ++j)
      for (int k = -5; k <= 5; ++k) lattice.push_back({2.0 * i, 2.0 * j, 2.0 * k});
  const auto square = [](const auto& p) { return p[0] * p[0] + p[1] * p[1] + p[2] * p[2]; };
  std::stable_sort(lattice.begin(), lattice.end(),
                   [&](const auto& a, const auto& b) { return square(a) < square(b); });
  std::mt19937 random(7);
  std::uniform_real_distribution<double> shift(-jitter, jitter);
  std::vector<double> places;
  for (size_t i = 0; i < atoms; ++i)
    for (double x : lattice[i]) places.push_back(x + shift(random));
  return places;
}

QXHermite Reference(size_t atoms, unsigned int degree) {
  QXHermite h;
  h.Setup(makeShapeGaussians(Places(atoms, 0.4), kRadius), QXBench::FixedOptions(degree, kWidth));
  return h;
}

QXMol Carbons(const std::vector<double>& places) {
  QXMol mol;
  for (size_t i = 0; i < places.size(); i += 3) mol.NewAtom(6);
  mol.SetCoords(places.data());
  return mol;
}

QXHermiteCosAngleFunc Objective(const std::vector<double>& start, unsigned int degree) {
  QXHermiteCosAngleFunc f(QXBench::FixedOptions(degree, kWidth));
  f.SetupRef(Reference(start.size() / 3, degree));
  f.Setup(Carbons(start), kRadius);
  return f;
}

void Gradient(benchmark::State& state) {
  const std::vector<double> x = Places(static_cast<size_t>(state.range(0)), 0.0);
  QXHermiteCosAngleFunc f = Objective(x, static_cast<unsigned int>(state.range(1)));
  std::vector<double> gradient(x.size());
  for (auto _ : state) benchmark::DoNotOptimize(f(x.data(), gradient.data()));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(Gradient)->ArgsProduct({{60, 200}, {5, 10}})->ArgNames({"atoms", "N"});

// The same by the public pieces: an engine for each atom, and dot products of whole vectors.
void GradientPlain(benchmark::State& state) {
  const auto degree = static_cast<unsigned int>(state.range(1));
  const std::vector<double> x = Places(static_cast<size_t>(state.range(0)), 0.0);
  const QXHermiteOptions options = QXBench::FixedOptions(degree, kWidth);
  const QXHermite ref = Reference(x.size() / 3, degree);
  const std::vector<double>& a = ref.GetCoefficients();
  for (auto _ : state) {
    const std::vector<QXGaussian> gaussians = QXMolToGaussians(Carbons(x), kRadius);
    QXHermite fit;
    fit.Setup(gaussians, options);
    const std::vector<double>& b = fit.GetCoefficients();
    const double bb = vecProduct(b, b), p = 1.0 / std::sqrt(vecProduct(a, a) * bb);
    const double r = vecProduct(a, b) * p / bb;
    std::vector<double> gradient;
    for (const QXGaussian& g : gaussians) {
      QXGaussianToHermite engine(degree, 1, 0);
      engine.Expand(options, {g}, 3);
      for (const std::vector<double>& d : engine.GetTranslationalDerivatives())
        gradient.push_back(r * vecProduct(b, d) - p * vecProduct(a, d));
    }
    benchmark::DoNotOptimize(gradient.data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(GradientPlain)->ArgsProduct({{60, 200}, {5, 10}})->ArgNames({"atoms", "N"});

// A whole search from the lattice, as QXGridToAtoms runs it.
void FindLocalMinimum(benchmark::State& state) {
  const std::vector<double> start = Places(static_cast<size_t>(state.range(0)), 0.0);
  QXHermiteCosAngleFunc f = Objective(start, static_cast<unsigned int>(state.range(1)));
  std::vector<double> result(start.size());
  QXMinimizer::QXBFGSOpt optimizer;
  for (auto _ : state) {
    optimizer = {};
    optimizer.SetTolerance(1e-10);
    optimizer(f, start.data(), result.data());
  }
  state.counters["iterations"] = optimizer.GetIterations();
  state.counters["evaluations"] = optimizer.GetEvaluations();
  state.counters["start"] = f(start.data());
  state.counters["misfit"] = f(result.data());
}
BENCHMARK(FindLocalMinimum)
    ->ArgsProduct({{60, 200}, {5, 10}})
    ->ArgNames({"atoms", "N"})
    ->Unit(benchmark::kMillisecond);

// A map of 30 atoms, 16 angstrom wide.
constexpr unsigned int kMapAtoms = 30;

QXScalarGrid Map(unsigned int dim) {
  QXScalarGrid grid;
  grid.SetDim(dim, dim, dim);
  grid.SetSpacing(16.0f / static_cast<float>(dim));
  const std::vector<double> places = Places(kMapAtoms, 0.3);
  for (size_t i = 0; i < places.size(); i += 3)
    QXCore::QXAddGaussian(grid, 2.7, 2.34422871067 / (kRadius * kRadius), &places[i]);
  return grid;
}

// The samples and candidates of a fit of a map.
struct Samples {
  explicit Samples(unsigned int dim) {
    QXLassoAtoms search;
    search.SetupGrid(Map(dim), 0.27);
    points = search.GetGridCoordinates();
    values = search.GetGridValues();
    candidates = search.SampleAtoms(0.2, 0.3);
  }
  void Report(benchmark::State& state) const {
    state.counters["samples"] = static_cast<double>(values.size());
    const size_t numCandidates = candidates.size() / 3;
    state.counters["candidates"] = static_cast<double>(numCandidates);
  }

  std::vector<double> points, values, candidates;
};

// The fit of the atoms, twice as many as are wanted.
void LassoGaussiansSetup(benchmark::State& state) {
  const Samples samples(static_cast<unsigned int>(state.range(0)));
  for (auto _ : state) {
    QXLassoGaussians fit(samples.candidates, kRadius);
    fit.Setup(samples.points, samples.values, 2 * kMapAtoms);
    benchmark::DoNotOptimize(fit.GetActives().data());
  }
  samples.Report(state);
}
BENCHMARK(LassoGaussiansSetup)
    ->Arg(32)
    ->Arg(48)
    ->Arg(64)
    ->ArgName("dim")
    ->Unit(benchmark::kMillisecond);

// The same on the stored matrix.
void LassoGaussiansSetupStored(benchmark::State& state) {
  const Samples samples(static_cast<unsigned int>(state.range(0)));
  const auto rows = static_cast<Eigen::Index>(samples.values.size());
  for (auto _ : state) {
    QXLassoGaussians fit(samples.candidates, kRadius);
    Eigen::VectorXd norms;
    QXNumerics::QXLasso lasso;
    lasso.Fit(fit.BuildNormalizedDesignMatrix(samples.points, norms),
              Eigen::VectorXd::Map(samples.values.data(), rows), 2 * kMapAtoms);
    benchmark::DoNotOptimize(lasso.GetActives().data());
  }
  samples.Report(state);
}
BENCHMARK(LassoGaussiansSetupStored)
    ->Arg(32)
    ->Arg(48)
    ->Arg(64)
    ->ArgName("dim")
    ->Unit(benchmark::kMillisecond);

void OptimizeNumberOfAtoms(benchmark::State& state) {
  QXLassoAtoms search;
  search.SetupGrid(Map(64), 0.3);
  const QXMol atoms = Carbons(Places(static_cast<size_t>(state.range(0)), 0.3));
  QXMol best;
  for (auto _ : state) benchmark::DoNotOptimize(search.OptimizeNumberOfAtoms(atoms, best, 1));
}
BENCHMARK(OptimizeNumberOfAtoms)
    ->Arg(30)
    ->Arg(200)
    ->ArgName("atoms")
    ->Unit(benchmark::kMillisecond);

// The same with a density from scratch for each number of atoms.
void OptimizeNumberOfAtomsFresh(benchmark::State& state) {
  const QXScalarGrid map = Map(64);
  const std::vector<double> places = Places(static_cast<size_t>(state.range(0)), 0.3);
  for (auto _ : state) {
    float best = 0.0f;
    for (size_t size = 3; size <= places.size(); size += 3) {
      QXScalarGrid density = map;
      QXFieldKit::QXMakeMolecularGaussianGrid(
          density, Carbons({places.begin(), places.begin() + static_cast<long>(size)}));
      const auto [a, b, c] = QXFieldKit::QXGridOverlap(density, map);
      best = std::max(best, c / (b - c + a));
    }
    benchmark::DoNotOptimize(best);
  }
}
BENCHMARK(OptimizeNumberOfAtomsFresh)
    ->Arg(30)
    ->Arg(200)
    ->ArgName("atoms")
    ->Unit(benchmark::kMillisecond);

void GridToMol(benchmark::State& state) {
  const QXScalarGrid map = Map(static_cast<unsigned int>(state.range(0)));
  QXMol mol;
  double score = 0.0;
  for (auto _ : state) score = QXGridToMol(map, mol, kRadius, 1.2, 0.3, kMapAtoms, 1);
  state.counters["atoms"] = mol.NumAtoms();
  state.counters["tanimoto"] = score;
}
BENCHMARK(GridToMol)->Arg(32)->Arg(64)->ArgName("dim")->Unit(benchmark::kMillisecond);

}  // namespace
