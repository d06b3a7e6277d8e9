// Charge densities: potential and field at points, and the Coulomb energy of two of them, each
// beside the plain loops over points, sites and functions in the same run. items are pairs of point
// and site, or of two sites.

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>

#include "bench/peak.h"
#include "hermite/hermite.h"
#include "hermite/internal.h"
#include "tests/support/charges.h"

using namespace QXHermiteMath;

namespace {

constexpr unsigned int kSites = 30;

std::vector<double> RandomPoints(size_t count, unsigned int seed, double spread) {
  std::mt19937 random(seed);
  std::normal_distribution<double> normal(0.0, spread);
  std::vector<double> points(3 * count);
  for (double& x : points) x = normal(random);
  return points;
}

// All functions active.
QXHermiteChargeDensity Density(unsigned int degree, unsigned int seed) {
  QXHermiteChargeDensity density(
      QXMultiHermiteParameters(degree, 1.1, RandomPoints(kSites, seed, 3.0)));
  std::vector<double> dense(density.GetParams().NumBasis());
  std::mt19937 random(seed + 1);
  std::uniform_real_distribution<double> uniform(-0.1, 0.1);
  for (double& q : dense) q = uniform(random);
  density.SetCoefficients(dense);
  return density;
}

void CountPairs(benchmark::State& state, int64_t pairs) {
  state.SetItemsProcessed(state.iterations() * pairs);
}

// Multiply-adds of an R table: exponential and error function as in exp_kernel.h and erf_kernel.h,
// four for each Boys function, one or two for each other entry, as many as derivatives are above.
double TableCount(unsigned int order) {
  double count = 15.0 + 25.0 + 4.0 * (order + 1.0);
  for (unsigned int v = 1; v <= order; ++v)
    for (unsigned int b = 0; b <= v; ++b)
      for (unsigned int c = 0; c <= v - b; ++c) {
        const unsigned int degree = b > 0 ? b : c > 0 ? c : v;
        count += (degree > 1 ? 2.0 : 1.0) * (order - v + 1.0);
      }
  return count;
}

// Multiply-adds for each pair.
void CountMultiplyAdds(benchmark::State& state, int64_t pairs, unsigned int order, double terms) {
  QXBench::ReportMultiplyAdds(state, static_cast<double>(pairs) * (TableCount(order) + terms));
}

void PotentialPlain(benchmark::State& state) {
  const QXHermiteChargeDensity density = Density(2, 1);
  const std::vector<double> points = RandomPoints(static_cast<size_t>(state.range(0)), 3, 5.0);
  for (auto _ : state)
    benchmark::DoNotOptimize(QXTest::PlainPotential(density, points, false).data());
  CountPairs(state, state.range(0) * kSites);
}

void Potential(benchmark::State& state) {
  const QXHermiteChargeDensity density = Density(2, 1);
  const std::vector<double> points = RandomPoints(static_cast<size_t>(state.range(0)), 3, 5.0);
  for (auto _ : state) benchmark::DoNotOptimize(density.EvaluatePotential(points).data());
  CountPairs(state, state.range(0) * kSites);
  CountMultiplyAdds(state, state.range(0) * kSites, 2, SizeOfBasis(2));
}

void FieldPlain(benchmark::State& state) {
  const QXHermiteChargeDensity density = Density(2, 1);
  const std::vector<double> points = RandomPoints(static_cast<size_t>(state.range(0)), 3, 5.0);
  for (auto _ : state)
    benchmark::DoNotOptimize(QXTest::PlainPotential(density, points, true).data());
  CountPairs(state, state.range(0) * kSites);
}

void Field(benchmark::State& state) {
  const QXHermiteChargeDensity density = Density(2, 1);
  const std::vector<double> points = RandomPoints(static_cast<size_t>(state.range(0)), 3, 5.0);
  for (auto _ : state) benchmark::DoNotOptimize(density.EvaluateElectricField(points).data());
  CountPairs(state, state.range(0) * kSites);
  CountMultiplyAdds(state, state.range(0) * kSites, 2, 3.0 * SizeOfBasis(2));
}

void EnergyPlain(benchmark::State& state) {
  const auto degree = static_cast<unsigned int>(state.range(0));
  const QXHermiteChargeDensity a = Density(degree, 1), b = Density(degree, 3);
  for (auto _ : state) benchmark::DoNotOptimize(QXTest::PlainEnergy(a, b));
  CountPairs(state, kSites * kSites);
}

void Energy(benchmark::State& state) {
  const auto degree = static_cast<unsigned int>(state.range(0));
  const QXHermiteChargeDensity a = Density(degree, 1), b = Density(degree, 3);
  std::vector<double> table;
  for (auto _ : state) benchmark::DoNotOptimize(HermiteCoulombInteractionEnergy(a, b, table));
  CountPairs(state, kSites * kSites);
  const double functions = SizeOfBasis(degree);
  CountMultiplyAdds(state, kSites * kSites, 2 * degree, functions * functions);
}

// The matrix of a fit to potential and field; items are points times functions.
Eigen::MatrixXd PlainDesign(const std::vector<double>& points,
                            const QXMultiHermiteParameters& params) {
  using Eigen::Index;
  const auto numPoints = static_cast<Index>(points.size() / 3);
  Eigen::MatrixXd matrix(4 * numPoints, params.NumBasis());
  const auto siteActives = MapActivesPerSite(FullActivesList(params.NumBasis()), params);
  QXTest::PlainTable R(params.GetLargestNPolyMax() + 1);
  for (Index p = 0; p < numPoints; ++p) {
    Index column = 0;
    for (unsigned int site = 0; site < params.NumSites(); ++site) {
      const double lambda = params.GetLambda(site), alpha = lambda * lambda;
      const std::vector<double> center = params.GetCenter(site);
      const double* point = &points[3 * static_cast<size_t>(p)];
      const double r[3] = {center[0] - point[0], center[1] - point[1], center[2] - point[2]};
      R.Build(params.GetNPolyMax(site) + 1, alpha, r);
      for (unsigned int index : siteActives[site]) {
        const auto [l, m, n] = params.GetLmn(site, index);
        const double w = 2086.417842569099 / (std::pow(lambda, l + m + n) * alpha);
        matrix(p, column) = R(l, m, n) * w;
        matrix(numPoints + p, column) = R(l + 1, m, n) * w;
        matrix(2 * numPoints + p, column) = R(l, m + 1, n) * w;
        matrix(3 * numPoints + p, column) = R(l, m, n + 1) * w;
        ++column;
      }
    }
  }
  return matrix;
}

template <class Design>
void MeasureDesign(benchmark::State& state, Design&& design) {
  const QXMultiHermiteParameters params(3, 1.1, RandomPoints(kSites, 1, 3.0));
  const std::vector<double> points = RandomPoints(static_cast<size_t>(state.range(0)), 2, 5.0);
  for (auto _ : state) benchmark::DoNotOptimize(design(points, params).data());
  state.SetItemsProcessed(state.iterations() * state.range(0) * params.NumBasis());
}

void DesignPlain(benchmark::State& state) {
  MeasureDesign(state, PlainDesign);
}

void Design(benchmark::State& state) {
  MeasureDesign(state, [](const auto& points, const auto& params) {
    return HermiteElectrostaticsDesignMatrix(points, params);
  });
  QXBench::ReportBytes(state,
                       8.0 * 4.0 * kSites * SizeOfBasis(3) * static_cast<double>(state.range(0)));
}

// What the matrix costs before anything is worked out: memory from the system as it comes, written
// once.
void DesignMemoryAlone(benchmark::State& state) {
  MeasureDesign(state, [](const auto& points, const auto& params) -> Eigen::MatrixXd {
    return Eigen::MatrixXd::Constant(static_cast<Eigen::Index>(points.size() / 3) * 4,
                                     params.NumBasis(), 1.0);
  });
}

void Points(benchmark::internal::Benchmark* bench) {
  bench->Arg(100000)->ArgName("points")->Unit(benchmark::kMillisecond);
}
void Degrees(benchmark::internal::Benchmark* bench) {
  bench->Arg(2)->Arg(3)->ArgName("degree")->Unit(benchmark::kMicrosecond);
}
void Samples(benchmark::internal::Benchmark* bench) {
  bench->Arg(5000)->ArgName("samples")->Unit(benchmark::kMillisecond);
}
BENCHMARK(PotentialPlain)->Apply(Points);
BENCHMARK(Potential)->Apply(Points);
BENCHMARK(FieldPlain)->Apply(Points);
BENCHMARK(Field)->Apply(Points);
BENCHMARK(EnergyPlain)->Apply(Degrees);
BENCHMARK(Energy)->Apply(Degrees);
BENCHMARK(DesignPlain)->Apply(Samples);
BENCHMARK(Design)->Apply(Samples);
BENCHMARK(DesignMemoryAlone)->Apply(Samples);

}  // namespace
