// Multi-centre expansions: values at points, on grids, and design matrices, each beside the plain
// loops over points, sites and functions in the same run. items are points or elements times
// functions.

#include <benchmark/benchmark.h>

#include <random>

#include "bench/peak.h"
#include "hermite/hermite.h"
#include "hermite/internal.h"

using namespace QXHermiteMath;

namespace {

constexpr unsigned int kDegree = 5;
constexpr unsigned int kSites = 30;

std::vector<double> RandomPoints(size_t count, unsigned int seed) {
  std::mt19937 random(seed);
  std::normal_distribution<double> normal(0.0, 4.0);
  std::vector<double> points(3 * count);
  for (double& x : points) x = normal(random);
  return points;
}

// kSites sites, 500 of their 1680 functions.
QXMultiHermite Model() {
  QXMultiHermite model(QXMultiHermiteParameters(kDegree, 1.1, RandomPoints(kSites, 1)));
  std::vector<double> dense(model.GetParams().NumBasis());
  std::mt19937 random(2);
  for (int i = 0; i < 500; ++i) {
    size_t index;
    do index = random() % dense.size();
    while (dense[index] != 0.0);
    dense[index] = 0.01 + 1e-4 * i;
  }
  model.SetCoefficients(dense);
  return model;
}

// Multiply-adds of the functions of one axis: an exponential, as in exp_kernel.h, and two for each
// degree.
constexpr double FunctionCount(unsigned int degree) {
  return 15.0 + 2.0 * degree;
}

// The functions of a site along an axis, at a coordinate.
void Build(QXMultiHermite& model, const QXMultiHermiteParameters& params, unsigned int site,
           size_t axis, double coordinate, std::vector<double>& table) {
  model.BuildHermites((coordinate - params.GetCenter(site)[axis]) * params.GetLambda(site),
                      params.GetNPolyMax(site), table);
}

struct Tables {
  explicit Tables(const QXMultiHermiteParameters& params)
      : x(params.GetLargestNPolyMax() + 1), y(x), z(x) {}
  void BuildAll(QXMultiHermite& model, const QXMultiHermiteParameters& params, unsigned int site,
                const double* point) {
    Build(model, params, site, 0, point[0], x);
    Build(model, params, site, 1, point[1], y);
    Build(model, params, site, 2, point[2], z);
  }
  std::vector<double> x, y, z;
};

// The sum over one site, as a look-up of each of its functions.
double SiteSum(const QXMultiHermite& model, const QXMultiHermiteParameters& params,
               const std::vector<unsigned int>& actives, unsigned int site, const Tables& tables,
               double sum) {
  for (unsigned int index : actives) {
    const auto [l, m, n] = params.GetLmn(site, index);
    sum += tables.x[l] * model.GetCoefficient(index) * tables.y[m] * tables.z[n];
  }
  return sum;
}

std::vector<std::vector<unsigned int>> ActivesPerSite(const QXMultiHermite& model) {
  return MapActivesPerSite(model.GetActives(), model.GetParams());
}

void EvaluatePlain(benchmark::State& state) {
  QXMultiHermite model = Model();
  const QXMultiHermiteParameters params = model.GetParams();
  const std::vector<double> points = RandomPoints(static_cast<size_t>(state.range(0)), 3);
  const auto actives = ActivesPerSite(model);
  for (auto _ : state) {
    Tables tables(params);
    std::vector<double> values(points.size() / 3);
    for (size_t i = 0; i < values.size(); ++i) {
      for (unsigned int site = 0; site < params.NumSites(); ++site) {
        tables.BuildAll(model, params, site, &points[3 * i]);
        values[i] = SiteSum(model, params, actives[site], site, tables, values[i]);
      }
    }
    benchmark::DoNotOptimize(values.data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0) * model.NumActives());
}

void Evaluate(benchmark::State& state) {
  QXMultiHermite model = Model();
  const std::vector<double> points = RandomPoints(static_cast<size_t>(state.range(0)), 3);
  for (auto _ : state) benchmark::DoNotOptimize(model.Evaluate(points).data());
  state.SetItemsProcessed(state.iterations() * state.range(0) * model.NumActives());
  QXBench::ReportMultiplyAdds(
      state, static_cast<double>(state.range(0)) *
                 (3.0 * model.NumActives() + 3.0 * kSites * FunctionCount(kDegree)));
}

// What Evaluate needs in any case: the functions of all sites at all points.
void EvaluateFunctionsAlone(benchmark::State& state) {
  QXMultiHermite model = Model();
  const QXMultiHermiteParameters params = model.GetParams();
  const std::vector<double> points = RandomPoints(static_cast<size_t>(state.range(0)), 3);
  const std::vector<double> centers = params.GetCenterValues();
  std::vector<double> table(kDegree + 1);
  for (auto _ : state) {
    for (size_t i = 0; i < points.size(); i += 3)
      for (size_t j = 0; j < centers.size(); ++j) {
        BuildHermiteFunctions((points[i + j % 3] - centers[j]) * 1.1, kDegree, table);
        benchmark::DoNotOptimize(table.data());
      }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0) * model.NumActives());
}

// With an extent of 10 angstrom, the cube that is made has the dimension of the argument.
double Spacing(const benchmark::State& state) {
  return 16.0 / (static_cast<double>(state.range(0)) - 1.5);
}

void CreateGridPlain(benchmark::State& state) {
  QXMultiHermite model = Model();
  const QXMultiHermiteParameters params = model.GetParams();
  const auto actives = ActivesPerSite(model);
  QXScalarGrid grid;
  for (auto _ : state) {
    const auto dim = static_cast<unsigned int>(state.range(0));
    grid.SetDim(dim, dim, dim);
    grid.SetSpacing(static_cast<float>(Spacing(state)));
    Tables tables(params);
    const std::vector<float> coords = QXElementCoords(grid, 0);
    for (unsigned int site = 0; site < params.NumSites(); ++site) {
      float* value = grid.GetValues();
      for (float z : coords) {
        Build(model, params, site, 2, z, tables.z);
        for (float y : coords) {
          Build(model, params, site, 1, y, tables.y);
          for (float x : coords) {
            Build(model, params, site, 0, x, tables.x);
            *value =
                static_cast<float>(SiteSum(model, params, actives[site], site, tables, *value));
            ++value;
          }
        }
      }
    }
  }
  state.SetItemsProcessed(state.iterations() * grid.GetSize() * model.NumActives());
}

void CreateGrid(benchmark::State& state) {
  QXMultiHermite model = Model();
  QXScalarGrid grid;
  for (auto _ : state) model.CreateGrid(grid, Spacing(state), 10.0);
  if (grid.GetXDim() != state.range(0)) state.SkipWithError("another dimension");
  state.SetItemsProcessed(state.iterations() * grid.GetSize() * model.NumActives());
  QXBench::ReportMultiplyAdds(state, static_cast<double>(grid.GetSize()) * kSites * (kDegree + 1));
}

// 100 sites of 20 functions.
QXMultiHermite Designed() {
  return QXMultiHermite(QXMultiHermiteParameters(3, 1.1, RandomPoints(100, 4)));
}

// One matrix is read or written.
void ReportMatrix(benchmark::State& state, unsigned int columns) {
  QXBench::ReportBytes(state, 8.0 * columns * static_cast<double>(state.range(0)));
}

void DesignPlain(benchmark::State& state) {
  QXMultiHermite model = Designed();
  const QXMultiHermiteParameters params = model.GetParams();
  const std::vector<double> points = RandomPoints(static_cast<size_t>(state.range(0)), 5);
  for (auto _ : state) {
    Eigen::MatrixXd matrix(points.size() / 3, params.NumBasis());
    Tables tables(params);
    for (Eigen::Index row = 0; row < matrix.rows(); ++row) {
      Eigen::Index column = 0;
      for (unsigned int site = 0; site < params.NumSites(); ++site) {
        tables.BuildAll(model, params, site, &points[static_cast<size_t>(3 * row)]);
        ForEachLmn(params.GetNPolyMax(site),
                   [&](unsigned int, unsigned int l, unsigned int m, unsigned int n) {
                     matrix(row, column++) = tables.y[m] * tables.z[n] * tables.x[l];
                   });
      }
    }
    benchmark::DoNotOptimize(matrix.data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0) * params.NumBasis());
}

void Design(benchmark::State& state) {
  QXMultiHermite model = Designed();
  const std::vector<double> points = RandomPoints(static_cast<size_t>(state.range(0)), 5);
  for (auto _ : state) benchmark::DoNotOptimize(model.BuildDesignMatrix(points).data());
  state.SetItemsProcessed(state.iterations() * state.range(0) * model.GetParams().NumBasis());
  ReportMatrix(state, model.GetParams().NumBasis());
}

// What the matrix costs before anything is worked out: memory from the system, written once.
void DesignMemoryAlone(benchmark::State& state) {
  for (auto _ : state) {
    Eigen::MatrixXd matrix = Eigen::MatrixXd::Constant(state.range(0), 2000, 1.0);
    benchmark::DoNotOptimize(matrix.data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0) * 2000);
  ReportMatrix(state, 2000);
}

void NormalizePlain(benchmark::State& state) {
  Eigen::MatrixXd matrix =
      Designed().BuildDesignMatrix(RandomPoints(static_cast<size_t>(state.range(0)), 5));
  for (auto _ : state) {
    const Eigen::RowVectorXd means = matrix.colwise().mean();
    matrix.rowwise() -= means;
    const Eigen::VectorXd norms = matrix.colwise().norm();
    for (Eigen::Index j = 0; j < matrix.cols(); ++j) matrix.col(j) /= norms[j];
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * matrix.size());
}

void Normalize(benchmark::State& state) {
  Eigen::MatrixXd matrix =
      Designed().BuildDesignMatrix(RandomPoints(static_cast<size_t>(state.range(0)), 5));
  for (auto _ : state) {
    benchmark::DoNotOptimize(NormalizeDesignMatrix(matrix).data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * matrix.size());
  ReportMatrix(state, static_cast<unsigned int>(matrix.cols()));
}

void Points(benchmark::internal::Benchmark* bench) {
  bench->Arg(100000)->ArgName("points")->Unit(benchmark::kMillisecond);
}
void Cube(benchmark::internal::Benchmark* bench) {
  bench->Arg(100)->ArgName("dim")->Unit(benchmark::kMillisecond);
}
void Samples(benchmark::internal::Benchmark* bench) {
  bench->Arg(20000)->ArgName("samples")->Unit(benchmark::kMillisecond);
}
BENCHMARK(EvaluatePlain)->Apply(Points);
BENCHMARK(Evaluate)->Apply(Points);
BENCHMARK(EvaluateFunctionsAlone)->Apply(Points);
BENCHMARK(CreateGridPlain)->Apply(Cube);
BENCHMARK(CreateGrid)->Apply(Cube);
BENCHMARK(DesignPlain)->Apply(Samples);
BENCHMARK(Design)->Apply(Samples);
BENCHMARK(DesignMemoryAlone)->Apply(Samples);
BENCHMARK(NormalizePlain)->Apply(Samples);
BENCHMARK(Normalize)->Apply(Samples);

}  // namespace
