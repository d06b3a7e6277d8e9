// The minimisers on the problems of Moré, Garbow and Hillstrom, beside LBFGSpp in the same run. The
// counters tell more than the times: evaluations, the value reached (all minima are 0), and whether
// the peer gave up with an exception. Both stop at a change of 1e-10, relative to max(1, |f|). And
// what the cores cost beside the objective, an evaluation of six variables.

#include <LBFGS.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <vector>

#include "host/minimizer/bfgs.h"
#include "host/minimizer/bfgs_core.h"
#include "host/minimizer/newton.h"
#include "tests/host/minimizer/problems.h"

namespace {

using namespace QXTest;

struct Beale {
  static constexpr int kVariables = 2;
  static constexpr double kStart[] = {1, 1};
  template <typename T>
  static T Value(const T* x) {
    const T a = x[1], b = a * a, c = b * a;
    return Square(T(1.5 - x[0] * (1.0 - a))) + Square(T(2.25 - x[0] * (1.0 - b))) +
           Square(T(2.625 - x[0] * (1.0 - c)));
  }
};

/// Rosenbrock's function in n/2 pairs of variables; n even.
class ExtendedRosenbrock : public CountedFunc {
 public:
  explicit ExtendedRosenbrock(unsigned int n) : n_(n) {}
  using CountedFunc::operator();
  unsigned int NumVar() const override { return n_; }
  double operator()(const double* x, double* gradient) override {
    ++evaluations;
    Problem<Rosenbrock> pair;
    double value = 0;
    for (unsigned int i = 0; i < n_; i += 2) value += pair(x + i, gradient + i);
    return value;
  }
  std::vector<double> Start() const {
    std::vector<double> start;
    for (unsigned int i = 0; i < n_; i += 2) start.insert(start.end(), {-1.2, 1.0});
    return start;
  }

 private:
  unsigned int n_;
};

constexpr double kTolerance = 1e-10;

struct Outcome {
  double value = 0;
  bool failed = false;
};

Outcome SearchBFGS(CountedFunc& f, const std::vector<double>& start) {
  std::vector<double> x(start.size());
  QXMinimizer::QXBFGSOpt bfgs;
  bfgs.SetTolerance(kTolerance);
  return {bfgs(f, start.data(), x.data()), false};
}

Outcome SearchLBFGSpp(CountedFunc& f, const std::vector<double>& start) {
  LBFGSpp::LBFGSParam<double> param;
  param.epsilon = param.epsilon_rel = kTolerance;
  param.past = 1;
  param.delta = kTolerance;
  param.max_iterations = 1000;
  LBFGSpp::LBFGSSolver<double, LBFGSpp::LineSearchBracketing> solver(param);
  const auto call = [&f](const Eigen::VectorXd& x, Eigen::VectorXd& gradient) {
    return f(x.data(), gradient.data());
  };
  Eigen::VectorXd x =
      Eigen::Map<const Eigen::VectorXd>(start.data(), static_cast<Eigen::Index>(start.size()));
  Outcome outcome;
  try {
    solver.minimize(call, x, outcome.value);
  } catch (const std::exception&) {
    outcome.failed = true;
  }
  return outcome;
}

template <typename F>
void Measure(benchmark::State& state, F f, const std::vector<double>& start,
             Outcome (*search)(CountedFunc&, const std::vector<double>&)) {
  Outcome outcome;
  for (auto _ : state) {
    f.evaluations = 0;
    outcome = search(f, start);
    benchmark::DoNotOptimize(outcome);
  }
  state.counters["evaluations"] = f.evaluations;
  state.counters["value"] = outcome.value;
  state.counters["failed"] = outcome.failed;
}

template <typename Formula>
void BM_BFGS(benchmark::State& state) {
  Measure(state, Problem<Formula>(), {std::begin(Formula::kStart), std::end(Formula::kStart)},
          SearchBFGS);
}

template <typename Formula>
void BM_LBFGSpp(benchmark::State& state) {
  Measure(state, Problem<Formula>(), {std::begin(Formula::kStart), std::end(Formula::kStart)},
          SearchLBFGSpp);
}

template <typename Formula>
void BM_Newton(benchmark::State& state) {
  Problem<Formula> f;
  std::vector<double> x(f.NumVar());
  QXMinimizer::QXNewtonOpt newton;
  newton.SetIterLimit(1000);
  double value = 0;
  for (auto _ : state) {
    f.evaluations = 0;
    value = newton(f, nullptr, Formula::kStart, x.data());
    benchmark::DoNotOptimize(value);
  }
  state.counters["evaluations"] = f.evaluations;
  state.counters["value"] = value;
}

void BM_ManyVariablesBFGS(benchmark::State& state) {
  const ExtendedRosenbrock f(static_cast<unsigned int>(state.range(0)));
  Measure(state, f, f.Start(), SearchBFGS);
}
void BM_ManyVariablesLBFGSpp(benchmark::State& state) {
  const ExtendedRosenbrock f(static_cast<unsigned int>(state.range(0)));
  Measure(state, f, f.Start(), SearchLBFGSpp);
}

/// Six variables, some curvature and a little more: next to nothing to evaluate.
double Bowl(const double* x, double* gradient) {
  double value = -5;
  for (int i = 0; i < 6; ++i) {
    const double curvature = 1 + 0.7 * i, d = x[i] - 0.1 * (i + 1);
    value += (0.5 * curvature + 0.25 * d * d) * d * d;
    gradient[i] = (curvature + d * d) * d;
  }
  return value;
}

/// What a step of the minimiser itself costs. Items are evaluations.
void BM_BFGSCore(benchmark::State& state) {
  constexpr double kOrigin[6] = {};
  double evaluations = 0;
  for (auto _ : state) {
    QXMinimizer::QXBFGSCore core;
    core.Start(6, kOrigin, 1000, kTolerance, 0.5);
    while (core.Tell(Bowl(core.Point(), core.Gradient()))) continue;
    benchmark::DoNotOptimize(core.BestValue());
    evaluations += core.Evaluations();
  }
  state.SetItemsProcessed(static_cast<int64_t>(evaluations));
}
BENCHMARK(BM_BFGSCore);

#define QX_PROBLEM(Formula)       \
  BENCHMARK(BM_BFGS<Formula>);    \
  BENCHMARK(BM_LBFGSpp<Formula>); \
  BENCHMARK(BM_Newton<Formula>)

QX_PROBLEM(Rosenbrock);
QX_PROBLEM(PowellBadlyScaled);
QX_PROBLEM(BrownBadlyScaled);
QX_PROBLEM(Beale);
QX_PROBLEM(PowellSingular);
QX_PROBLEM(Wood);

BENCHMARK(BM_ManyVariablesBFGS)->Arg(60)->Arg(600);
BENCHMARK(BM_ManyVariablesLBFGSpp)->Arg(60)->Arg(600);

}  // namespace
