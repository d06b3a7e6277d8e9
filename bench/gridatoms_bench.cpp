// Atoms from grids: the gradient of the objective, beside its plain form, and whole searches.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

#include "bench/synthetic.h"
#include "hermite/hermite.h"
#include "hermite/internal.h"
#include "host/minimizer/bfgs.h"

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

}  // namespace
