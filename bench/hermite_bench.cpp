// Kernels of the library at the degrees in use: expansion, width search, rotation, translation, and
// the objective of an overlay. Counts of multiply-adds are closed formulas.

#include <benchmark/benchmark.h>

#include <cmath>
#include <utility>
#include <vector>

#include "bench/peak.h"
#include "bench/synthetic.h"
#include "hermite/hermite.h"
#include "hermite/internal.h"
#include "host/minimizer/bfgs.h"

using namespace QXHermiteMath;

namespace {

constexpr double kWidth = 0.9;
constexpr unsigned int kAtoms = 25;
constexpr unsigned int kLigandAtoms = 30;
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

// Counted are the sums over the coefficients, of the tables nothing.
void Expansion(benchmark::State& state) {
  const auto degree = static_cast<unsigned int>(state.range(0));
  const auto order = static_cast<unsigned int>(state.range(1));
  const QXHermiteOptions options = QXBench::FixedOptions(degree, kWidth);
  const auto gaussians = QXBench::DrugLikeGaussians(kLigandAtoms, 1);
  QXGaussianToHermite engine(degree, 1, 1);
  for (auto _ : state) benchmark::DoNotOptimize(engine.Expand(options, gaussians, order));
  state.SetItemsProcessed(state.iterations() * kLigandAtoms);
  const double targets[] = {1, 4, 10};
  QXBench::ReportMultiplyAdds(state, targets[order] * kLigandAtoms * QXHermiteBasisSize(degree));
}
BENCHMARK(Expansion)->ArgsProduct({{3, 5, 7, 10, 14}, {0, 1, 2}})->ArgNames({"N", "order"});

// The plain form of the expansion: the public pieces, coefficient by coefficient. With order 1 also
// the derivatives by one width for all axes.
class PlainExpansion {
 public:
  PlainExpansion(unsigned int degree, std::vector<QXGaussian> gaussians)
      : degree_(degree), gaussians_(std::move(gaussians)), engine_(degree, 0, 0) {
    engine_.Expand(QXBench::FixedOptions(degree, 1.0), {}, 0);
    for (int axis = 0; axis < 3; ++axis) {
      f_[axis].resize(degree + 3);
      df_[axis].resize(degree + 1);
    }
  }

  void Expand(double lambda, unsigned int order) {
    coefficients.assign(QXHermiteBasisSize(degree_), 0.0);
    derivatives.assign(coefficients.size(), 0.0);
    for (const QXGaussian& g : gaussians_) {
      const double u = std::sqrt(2.0 * g.GetWidth()) / lambda;
      const double center[] = {g.GetX(), g.GetY(), g.GetZ()};
      for (int axis = 0; axis < 3; ++axis) {
        engine_.BuildF(g.GetWidth(), center[axis], degree_ + 2 * order, lambda, f_[axis]);
        if (order > 0) engine_.BuildFDerivative(degree_, u, f_[axis], df_[axis]);
      }
      engine_.CoefficientsConvolution(0, g, f_[0], f_[1], f_[2], coefficients);
      if (order == 0) continue;
      engine_.CoefficientsConvolution(1, g, df_[0], f_[1], f_[2], derivatives);
      engine_.CoefficientsConvolution(1, g, f_[0], df_[1], f_[2], derivatives);
      engine_.CoefficientsConvolution(1, g, f_[0], f_[1], df_[2], derivatives);
    }
  }

  std::vector<double> coefficients;
  std::vector<double> derivatives;  // times the square of the width

 private:
  unsigned int degree_;
  std::vector<QXGaussian> gaussians_;
  QXGaussianToHermite engine_;
  std::vector<double> f_[3], df_[3];
};

void ExpansionPlain(benchmark::State& state) {
  const auto degree = static_cast<unsigned int>(state.range(0));
  PlainExpansion plain(degree, QXBench::DrugLikeGaussians(kLigandAtoms, 1));
  for (auto _ : state) {
    plain.Expand(kWidth, 0);
    benchmark::DoNotOptimize(plain.coefficients.data());
  }
  state.SetItemsProcessed(state.iterations() * kLigandAtoms);
}
BENCHMARK(ExpansionPlain)->Arg(3)->Arg(5)->Arg(7)->Arg(10)->Arg(14)->ArgName("N");

// Minus the self overlap by the logarithm of one width.
class PlainSelfOverlap : public QXMinimizer::QXFunc1 {
 public:
  PlainSelfOverlap(unsigned int degree, std::vector<QXGaussian> gaussians)
      : degree_(degree), ks_(computeKs(degree)), expansion_(degree, std::move(gaussians)) {}

  using QXMinimizer::QXFunc1::operator();
  unsigned int NumVar() const override { return 1; }
  double operator()(const double* x) override {
    double gradient;
    return (*this)(x, &gradient);
  }
  const double* GetFComponents(const double*) override { return nullptr; }
  double operator()(const double* x, double* gradient) override {
    const double lambda = std::exp(*x);
    expansion_.Expand(lambda, 1);
    double value = 0.0, derivative = 0.0;
    ForEachLmn(degree_, [&](unsigned int i, unsigned int l, unsigned int m, unsigned int n) {
      const double scaled = ks_[l] * ks_[m] * ks_[n] * expansion_.coefficients[i];
      value += scaled * expansion_.coefficients[i];
      derivative += 2.0 * scaled * expansion_.derivatives[i];
    });
    const double volume = lambda * lambda * lambda;
    *gradient = -(derivative / lambda - 3.0 * value) / volume;
    return -value / volume;
  }

 private:
  unsigned int degree_;
  std::vector<double> ks_;
  PlainExpansion expansion_;
};

void WidthSearch(benchmark::State& state) {
  QXHermiteOptions options;
  options.SetNPolyMax(static_cast<unsigned int>(state.range(0)));
  options.SetUseSingleLambda(state.range(1) != 0);
  const auto gaussians = QXBench::DrugLikeGaussians(kLigandAtoms, 1);
  for (auto _ : state) {
    QXHermite h;
    h.Setup(gaussians, options);
    benchmark::DoNotOptimize(h.GetSelfOverlap());
  }
}
BENCHMARK(WidthSearch)->ArgsProduct({{3, 5, 7, 10, 14}, {1, 0}})->ArgNames({"N", "single"});

void WidthSearchPlain(benchmark::State& state) {
  const auto degree = static_cast<unsigned int>(state.range(0));
  const auto gaussians = QXBench::DrugLikeGaussians(kLigandAtoms, 1);
  for (auto _ : state) {
    PlainSelfOverlap objective(degree, gaussians);
    QXMinimizer::QXBFGSOpt minimizer;
    double x = 0.0;
    minimizer(objective, &x, &x);
    PlainExpansion plain(degree, gaussians);
    plain.Expand(std::exp(x), 0);
    benchmark::DoNotOptimize(plain.coefficients.data());
  }
}
BENCHMARK(WidthSearchPlain)->Arg(3)->Arg(5)->Arg(7)->Arg(10)->Arg(14)->ArgName("N");

// A conformer into its inertial frame, expanded there at given widths.
void FrameAndExpansion(benchmark::State& state) {
  const QXHermiteOptions options =
      QXBench::FixedOptions(static_cast<unsigned int>(state.range(0)), kWidth);
  const auto placed = QXBench::DrugLikeGaussians(kLigandAtoms, 1);
  for (auto _ : state) {
    std::vector<QXGaussian> gaussians = placed;
    MoveInto(*FindInertialFrame(gaussians), gaussians);
    QXHermite h;
    h.Setup(gaussians, options);
    benchmark::DoNotOptimize(h.GetSelfOverlap());
  }
}
BENCHMARK(FrameAndExpansion)->Arg(3)->Arg(5)->Arg(7)->Arg(10)->ArgName("N");

// The same with the axes of the expansion's own moments, and its centre searched as well.
void MomentsAndExpansion(benchmark::State& state) {
  const auto degree = static_cast<unsigned int>(state.range(0));
  const QXHermiteOptions options = QXBench::FixedOptions(degree, kWidth);
  const auto placed = QXBench::DrugLikeGaussians(kLigandAtoms, 1);
  for (auto _ : state) {
    std::vector<QXGaussian> gaussians = placed;
    std::vector<double> center, rotation, eigenvalues;
    std::vector<std::vector<double>> tensor;
    QXCenterGaussians(gaussians);
    QXOrientByHermiteMomentsOfInertia(gaussians, degree, kWidth, center, rotation, tensor,
                                      eigenvalues);
    QXHermite h;
    h.Setup(gaussians, options);
    benchmark::DoNotOptimize(h.GetSelfOverlap());
  }
}
BENCHMARK(MomentsAndExpansion)->Arg(3)->Arg(5)->Arg(7)->Arg(10)->ArgName("N");

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
  QXBench::ReportMultiplyAdds(state, (derivatives ? 9 : 3) * StageCount(degree));
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
  QXBench::ReportMultiplyAdds(
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
  QXBench::ReportMultiplyAdds(
      state, derivatives
                 ? 9 * StageCount(degree) + 2 * count.z + 3 * count.y + 4 * count.x + 7 * basis
                 : 3 * StageCount(degree) + count.z + count.y + count.x + basis);
}
BENCHMARK(Objective)->ArgsProduct({{3, 5, 7, 10, 14}, {0, 1}})->ArgNames({"N", "gradient"});

}  // namespace
