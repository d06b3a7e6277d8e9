// The exact overlap of lists of Gaussians and its polish, beside what they replace: plain sums with
// std::exp. Run from the root of the project, where examples/data lies. Overlays are those of
// examples/data/drugs.sdf, or of the SD file that the environment variable QX_BENCH_LIGANDS names,
// whose first record is the reference.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

#include "bench/peak.h"
#include "bench/synthetic.h"
#include "hermite/hermite.h"
#include "hermite/internal.h"
#include "host/minimizer/bfgs.h"
#include "host/molkit/molstream.h"

using namespace QXHermiteMath;

namespace {

using Gaussians = std::vector<QXGaussian>;
using Pose = std::array<double, 6>;

constexpr double kTolerance = 1e-6;
constexpr double kWidth = 0.6;  // of expansions, 1/angstrom

// The textbook's way: every pair in turn.
class PlainOverlap : public QXMinimizer::QXFunc1 {
 public:
  void SetupRef(Gaussians const& gaussians) { ref = Widened(gaussians); }
  void Setup(Gaussians const& gaussians) { fit = Widened(gaussians); }
  using QXFunc1::operator();
  unsigned int NumVar() const override { return 6; }
  double operator()(double const* x) override {
    double gradient[6];
    return (*this)(x, gradient);
  }
  const double* GetFComponents(double const*) override { return nullptr; }
  double operator()(double const* x, double* gradient) override {
    const std::vector<double> Q = RotFromEulerXYZ(x[0], x[1], x[2]);
    const double axes[3][3] = {{1, 0, 0}, {0, std::cos(x[0]), std::sin(x[0])}, {Q[2], Q[5], Q[8]}};
    double sum = 0;
    std::fill(gradient, gradient + 6, 0.0);
    for (const Atom& r : ref) {
      double q[3], F[3] = {};
      for (size_t a = 0; a < 3; ++a)
        q[a] = Q[3 * a] * r.place[0] + Q[3 * a + 1] * r.place[1] + Q[3 * a + 2] * r.place[2];
      for (const Atom& f : fit) {
        const double d[3] = {q[0] - f.place[0] - x[3], q[1] - f.place[1] - x[4],
                             q[2] - f.place[2] - x[5]};
        const double w = r.width + f.width, k = r.width * f.width / w;
        const double ratio = 3.141592653589793 / w;
        const double v = r.amplitude * f.amplitude * ratio * std::sqrt(ratio) *
                         std::exp(-k * (d[0] * d[0] + d[1] * d[1] + d[2] * d[2]));
        sum += v;
        for (size_t a = 0; a < 3; ++a) F[a] += 2.0 * k * v * d[a];
      }
      const double torque[3] = {q[1] * F[2] - q[2] * F[1], q[2] * F[0] - q[0] * F[2],
                                q[0] * F[1] - q[1] * F[0]};
      for (size_t a = 0; a < 3; ++a) {
        for (size_t b = 0; b < 3; ++b) gradient[a] += axes[a][b] * torque[b];
        gradient[3 + a] -= F[a];
      }
    }
    return -sum;
  }

 private:
  struct Atom {
    double place[3], amplitude, width;
  };
  static std::vector<Atom> Widened(Gaussians const& gaussians) {
    std::vector<Atom> atoms;
    for (const QXGaussian& g : gaussians)
      atoms.push_back({{g.GetX(), g.GetY(), g.GetZ()}, g.GetAmplitude(), g.GetWidth()});
    return atoms;
  }
  std::vector<Atom> ref, fit;
};

const Pose kPlace = {0.1, -0.2, 0.15, 0.3, -0.2, 0.1};

template <class Overlap>
Overlap Synthetic(const benchmark::State& state) {
  const unsigned int atoms = static_cast<unsigned int>(state.range(0));
  Overlap overlap;
  overlap.SetupRef(QXBench::DrugLikeGaussians(atoms, 1));
  overlap.Setup(QXBench::DrugLikeGaussians(atoms, 2));
  return overlap;
}

// Of a pair: 4 for the exponent, 11 for the exponential, 1 for the value, 3 for the force and 6 for
// its derivatives. What the sums over pairs go through afterwards is not counted.
void ReportPairs(benchmark::State& state, unsigned int perPair) {
  QXBench::ReportMultiplyAdds(state,
                              perPair * static_cast<double>(state.range(0) * state.range(0)));
}

void Value(benchmark::State& state) {
  auto overlap = Synthetic<QXGaussianOverlap>(state);
  for (auto _ : state) benchmark::DoNotOptimize(overlap(kPlace.data()));
  ReportPairs(state, 16);
}
template <class Overlap>
void Gradient(benchmark::State& state) {
  auto overlap = Synthetic<Overlap>(state);
  Pose gradient;
  for (auto _ : state) benchmark::DoNotOptimize(overlap(kPlace.data(), gradient.data()));
  ReportPairs(state, 19);
}
void Hessian(benchmark::State& state) {
  const auto overlap = Synthetic<QXGaussianOverlap>(state);
  double gradient[6], hessian[21];
  for (auto _ : state) benchmark::DoNotOptimize(overlap.Evaluate(kPlace.data(), hessian, gradient));
  ReportPairs(state, 25);
}
void SetupOfFit(benchmark::State& state) {
  auto overlap = Synthetic<QXGaussianOverlap>(state);
  const Gaussians fit = QXBench::DrugLikeGaussians(static_cast<unsigned int>(state.range(0)), 2);
  for (auto _ : state) benchmark::DoNotOptimize(overlap.Setup(fit));
}
BENCHMARK(Value)->Arg(25)->Arg(50);
BENCHMARK(Gradient<QXGaussianOverlap>)->Arg(25)->Arg(50);
BENCHMARK(Gradient<PlainOverlap>)->Arg(25)->Arg(50);
BENCHMARK(Hessian)->Arg(25)->Arg(50);
BENCHMARK(SetupOfFit)->Arg(25)->Arg(50);

// --- Overlays of molecules.

// The heavy atoms of all records in their inertial frames.
std::vector<Gaussians> ReadOriented(const char* file) {
  std::vector<Gaussians> all;
  QXMolKit::qxmolistream in(file);
  QXMol mol(1);
  while (QXMolKit::QXReadMolecule(in, mol)) {
    QXMolKit::QXSuppressHydrogens(mol, false, false, true);
    mol.CompactAtoms();
    Gaussians gaussians = QXMolToGaussians(mol, kOverlayAtomRadius);
    QXCenterGaussians(gaussians);
    std::vector<double> center, rotation, eigenvalues;
    std::vector<std::vector<double>> tensor;
    QXOrientByHermiteMomentsOfInertia(gaussians, 5, kWidth, center, rotation, tensor, eigenvalues);
    QXMolKit::QXRotate(mol, rotation.data());
    gaussians = QXMolToGaussians(mol, kOverlayAtomRadius);
    QXCenterGaussians(gaussians);
    all.push_back(std::move(gaussians));
  }
  return all;
}

// The reference, then the fits.
const std::vector<Gaussians>& Molecules() {
  static const std::vector<Gaussians> all = [] {
    if (const char* file = std::getenv("QX_BENCH_LIGANDS")) return ReadOriented(file);
    std::vector<Gaussians> read = ReadOriented("examples/data/reference.sdf");
    for (Gaussians& fit : ReadOriented("examples/data/drugs.sdf")) read.push_back(std::move(fit));
    return read;
  }();
  return all;
}

// A fit at start k: as it stands, or after a half turn about x, y or z.
Gaussians AtStart(Gaussians fit, size_t k) {
  for (QXGaussian& g : fit) {
    if (k != 0 && k != 1) g.SetX(-g.GetX());
    if (k != 0 && k != 2) g.SetY(-g.GetY());
    if (k != 0 && k != 3) g.SetZ(-g.GetZ());
  }
  return fit;
}

Pose Minimize(QXMinimizer::QXFunc1& objective, const Pose& start, double& evaluations) {
  QXMinimizer::QXBFGSOpt bfgs;
  bfgs.SetTolerance(kTolerance);
  bfgs.SetLongestStep(0.5);
  Pose x;
  bfgs(objective, start.data(), x.data());
  evaluations += bfgs.GetEvaluations();
  return x;
}

// The optima of expansions from the four starts of each fit, best first.
struct Candidate {
  Gaussians fit;
  Pose pose;
  double tanimoto;
};
std::vector<std::vector<Candidate>> ExpandedOptima(unsigned int degree) {
  const QXHermiteOptions options = QXBench::FixedOptions(degree, kWidth);
  QXHermiteOverlap overlap;
  overlap.SetupRef(Molecules().front(), options);
  std::vector<std::vector<Candidate>> all;
  for (size_t i = 1; i < Molecules().size(); ++i) {
    std::vector<Candidate> candidates;
    for (size_t k = 0; k < 4; ++k) {
      Candidate c = {AtStart(Molecules()[i], k), {}, 0.0};
      overlap.Setup(c.fit, options);
      double evaluations = 0;
      c.pose = Minimize(overlap, {}, evaluations);
      c.tanimoto = TanimotoFromValue(overlap(c.pose.data()), overlap);
      candidates.push_back(std::move(c));
    }
    std::sort(candidates.begin(), candidates.end(),
              [](const Candidate& a, const Candidate& b) { return a.tanimoto > b.tanimoto; });
    all.push_back(std::move(candidates));
  }
  return all;
}

double Tanimoto(double overlap, const QXGaussianOverlap& of) {
  return overlap / (of.GetRefSelfOverlap() + of.GetFitSelfOverlap() - overlap);
}

// Counts what was done for each fit, `searches` times.
void Report(benchmark::State& state, double tanimoto, double evaluations, double searches) {
  const double fits = static_cast<double>(Molecules().size() - 1);
  state.counters["meanTanimoto"] = tanimoto / fits;
  state.counters["evaluations"] = searches > 0 ? evaluations / searches / fits : 0.0;
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(fits));
}

enum class Method { Newton, BFGS };

// The exact optima next to the best `count` of those of expansions, of all fits. With 0 the best
// one is scored as it stands.
template <Method method>
void Polish(benchmark::State& state) {
  const auto optima = ExpandedOptima(static_cast<unsigned int>(state.range(0)));
  const size_t count = static_cast<size_t>(state.range(1));
  QXGaussianOverlap overlap;
  overlap.SetupRef(Molecules().front());
  double tanimoto = 0, evaluations = 0;
  for (auto _ : state) {
    tanimoto = evaluations = 0;
    for (const auto& candidates : optima) {
      double best = 0;
      for (size_t k = 0; k < std::max<size_t>(count, 1); ++k) {
        const Pose& start = candidates[k].pose;
        overlap.Setup(candidates[k].fit);
        if (count == 0) {
          best = Tanimoto(-overlap(start.data()), overlap);
        } else if (method == Method::Newton) {
          const QXPolishedPose pose = QXPolish(overlap, start.data(), kTolerance);
          evaluations += pose.evaluations;
          best = std::max(best, Tanimoto(pose.overlap, overlap));
        } else {
          const Pose x = Minimize(overlap, start, evaluations);
          best = std::max(best, Tanimoto(-overlap(x.data()), overlap));
        }
      }
      tanimoto += best;
    }
  }
  Report(state, tanimoto, evaluations, static_cast<double>(count));
}
BENCHMARK(Polish<Method::Newton>)
    ->ArgNames({"degree", "poses"})
    ->ArgsProduct({{3, 5, 10}, {0, 1, 2, 4}})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(Polish<Method::BFGS>)
    ->ArgNames({"degree", "poses"})
    ->Args({5, 2})
    ->Args({5, 4})
    ->Unit(benchmark::kMicrosecond);

// The exact optima from the four starts, with no expansion.
template <class Overlap>
void FourStarts(benchmark::State& state) {
  Overlap overlap;
  overlap.SetupRef(Molecules().front());
  QXGaussianOverlap scored;
  scored.SetupRef(Molecules().front());
  double tanimoto = 0, evaluations = 0;
  for (auto _ : state) {
    tanimoto = evaluations = 0;
    for (size_t i = 1; i < Molecules().size(); ++i) {
      double best = 0;
      for (size_t k = 0; k < 4; ++k) {
        overlap.Setup(AtStart(Molecules()[i], k));
        best = std::max(best, -overlap(Minimize(overlap, {}, evaluations).data()));
      }
      scored.Setup(Molecules()[i]);
      tanimoto += Tanimoto(best, scored);
    }
  }
  Report(state, tanimoto, evaluations, 4.0);
}
BENCHMARK(FourStarts<PlainOverlap>)->Unit(benchmark::kMicrosecond);
BENCHMARK(FourStarts<QXGaussianOverlap>)->Unit(benchmark::kMicrosecond);

}  // namespace
