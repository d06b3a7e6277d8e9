// Kernels of the library at the degrees in use: expansion, width search, rotation, translation, and
// the objective of an overlay. Counters: GFMA is 10^9 multiply-adds a second, from closed counts.

#include <benchmark/benchmark.h>

#include "bench/synthetic.h"
#include "hermite/hermite.h"
#include "hermite/internal.h"

using namespace QXHermiteMath;

namespace {

constexpr double kWidth = 0.9;
constexpr unsigned int kAtoms = 25;
const double kPoint[6] = {0.3, -0.2, 0.5, 0.4, -0.3, 0.2};

// Multiply-adds of one planar stage.
double StageCount(unsigned int N) {
  double count = 0;
  for (unsigned int d = 0; d <= N; ++d) count += (d + 1.0) * (d + 1.0) * (N - d + 1.0);
  return count;
}

// Multiply-adds of the three translation stages, equal degrees.
struct TranslationCount {
  double z, y, x;
};
TranslationCount CountTranslation(unsigned int N) {
  TranslationCount count{};
  for (unsigned int l = 0; l <= N; ++l) {
    for (unsigned int m = 0; m <= N - l; ++m) count.z += (N - l - m + 1.0) * (N + 1.0);
    count.y += (N - l + 1.0) * (N + 1.0) * (N + 2.0) / 2.0;
  }
  count.x = QXHermiteBasisSize(N) * (N + 1.0);
  return count;
}

void CountMultiplyAdds(benchmark::State& state, double perIteration) {
  state.counters["FMA"] = perIteration;
  state.counters["GFMA/s"] =
      benchmark::Counter(perIteration * 1e-9, benchmark::Counter::kIsIterationInvariantRate);
}

void Expansion(benchmark::State& state) {
  const auto degree = static_cast<unsigned int>(state.range(0));
  const auto order = static_cast<unsigned int>(state.range(1));
  const QXHermiteOptions options = QXBench::FixedOptions(degree, kWidth);
  const auto gaussians = QXBench::DrugLikeGaussians(kAtoms, 1);
  QXGaussianToHermite engine(degree, 1, 1);
  for (auto _ : state) benchmark::DoNotOptimize(engine.Expand(options, gaussians, order));
  state.SetItemsProcessed(state.iterations() * kAtoms);
}
BENCHMARK(Expansion)->ArgsProduct({{3, 5, 7, 10, 14}, {0, 1, 2}})->ArgNames({"N", "order"});

// The plain form of the expansion: the public pieces, coefficient by coefficient.
void ExpansionPlain(benchmark::State& state) {
  const auto degree = static_cast<unsigned int>(state.range(0));
  const QXHermiteOptions options = QXBench::FixedOptions(degree, kWidth);
  const auto gaussians = QXBench::DrugLikeGaussians(kAtoms, 1);
  QXGaussianToHermite engine(degree, 0, 0);
  engine.Expand(options, {}, 0);
  std::vector<double> fx(degree + 1), fy(degree + 1), fz(degree + 1);
  for (auto _ : state) {
    std::vector<double> c(QXHermiteBasisSize(degree), 0.0);
    for (const auto& g : gaussians) {
      engine.BuildF(g.GetWidth(), g.GetX(), degree, 0.9, fx);
      engine.BuildF(g.GetWidth(), g.GetY(), degree, 0.9, fy);
      engine.BuildF(g.GetWidth(), g.GetZ(), degree, 0.9, fz);
      engine.CoefficientsConvolution(0, g, fx, fy, fz, c);
    }
    benchmark::DoNotOptimize(c.data());
  }
  state.SetItemsProcessed(state.iterations() * kAtoms);
}
BENCHMARK(ExpansionPlain)->Arg(3)->Arg(5)->Arg(7)->Arg(10)->Arg(14)->ArgName("N");

void WidthSearch(benchmark::State& state) {
  QXHermiteOptions options;
  options.SetNPolyMax(static_cast<unsigned int>(state.range(0)));
  options.SetUseSingleLambda(state.range(1) != 0);
  const auto gaussians = QXBench::DrugLikeGaussians(kAtoms, 1);
  for (auto _ : state) {
    QXHermite h;
    h.Setup(gaussians, options);
    benchmark::DoNotOptimize(h.GetSelfOverlap());
  }
}
BENCHMARK(WidthSearch)->ArgsProduct({{3, 5, 7, 10, 14}, {1, 0}})->ArgNames({"N", "single"});

void Rotation(benchmark::State& state) {
  const auto degree = static_cast<unsigned int>(state.range(0));
  const bool derivatives = state.range(1) != 0;
  QXHermiteRotation rotation(degree);
  const QXHermiteIndex index(degree);
  std::vector<double> in(QXHermiteBasisSize(degree), 0.5), out(4 * in.size());
  for (auto _ : state) {
    if (derivatives)
      rotation.RotateWithDerivatives(kPoint, degree, in, out, index);
    else
      rotation.Rotate(kPoint, degree, in, out, index);
    benchmark::DoNotOptimize(out.data());
  }
  CountMultiplyAdds(state, (derivatives ? 9 : 3) * StageCount(degree));
}
BENCHMARK(Rotation)->ArgsProduct({{3, 5, 7, 10, 14}, {0, 1}})->ArgNames({"N", "gradient"});

void Translation(benchmark::State& state) {
  const auto degree = static_cast<unsigned int>(state.range(0));
  const bool derivatives = state.range(1) != 0;
  QXHermiteTranslation translation(degree);
  const QXHermiteIndex index(degree);
  const QXHermiteOptions options = QXBench::FixedOptions(degree, kWidth);
  std::vector<double> in(QXHermiteBasisSize(degree), 0.5), out(4 * in.size());
  for (auto _ : state) {
    if (derivatives)
      translation.TranslateWithDerivatives(kPoint + 3, options, options, in, out, index);
    else
      translation.Translate(kPoint + 3, options, options, in, out, index, true);
    benchmark::DoNotOptimize(out.data());
  }
  const TranslationCount count = CountTranslation(degree);
  CountMultiplyAdds(
      state, derivatives ? 2 * count.z + 3 * count.y + 4 * count.x : count.z + count.y + count.x);
}
BENCHMARK(Translation)->ArgsProduct({{3, 5, 7, 10, 14}, {0, 1}})->ArgNames({"N", "gradient"});

void Objective(benchmark::State& state) {
  const auto degree = static_cast<unsigned int>(state.range(0));
  const bool derivatives = state.range(1) != 0;
  const QXHermiteOptions options = QXBench::FixedOptions(degree, kWidth);
  QXHermiteOverlap overlap;
  overlap.SetupRef(QXBench::DrugLikeGaussians(kAtoms, 1), options);
  overlap.Setup(QXBench::DrugLikeGaussians(kAtoms, 2), options);
  double gradient[6];
  for (auto _ : state)
    benchmark::DoNotOptimize(derivatives ? overlap(kPoint, gradient) : overlap(kPoint));
  const TranslationCount count = CountTranslation(degree);
  const double basis = QXHermiteBasisSize(degree);
  CountMultiplyAdds(
      state, derivatives
                 ? 9 * StageCount(degree) + 2 * count.z + 3 * count.y + 4 * count.x + 7 * basis
                 : 3 * StageCount(degree) + count.z + count.y + count.x + basis);
}
BENCHMARK(Objective)->ArgsProduct({{3, 5, 7, 10, 14}, {0, 1}})->ArgNames({"N", "gradient"});

}  // namespace
