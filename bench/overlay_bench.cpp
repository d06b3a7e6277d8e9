// Overlays of real molecules, from conformer to scored poses, and what one start of the minimiser
// costs. Run from the root of the project, where examples/data lies.

#include <LBFGS.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <numeric>

#include "bench/peak.h"
#include "bench/synthetic.h"
#include "hermite/hermite.h"
#include "hermite/internal.h"
#include "host/minimizer/bfgs.h"
#include "host/molkit/molstream.h"

using namespace QXHermiteMath;

namespace {

constexpr double kRadius = 1.7;

QXMol WithoutHydrogens(QXMol mol) {
  QXMolKit::QXSuppressHydrogens(mol, false, false, true);
  mol.CompactAtoms();
  return mol;
}

// The molecule in the inertial frame of its heavy atoms.
QXMol Oriented(const QXMol& mol) {
  const InertialFrame frame = FindInertialFrame(GetHeavyAtomGaussians(mol)).value();
  QXMol oriented(mol);
  const double shift[] = {-frame.centre[0], -frame.centre[1], -frame.centre[2]};
  QXMolKit::QXTranslate(oriented, shift);
  QXMolKit::QXRotate(oriented, frame.rotation.data());
  return oriented;
}

std::vector<QXMol> ReadOriented(const char* file, size_t most) {
  std::vector<QXMol> mols;
  QXMolKit::qxmolistream in(file);
  QXMol mol(1);
  while (mols.size() < most && QXMolKit::QXReadMolecule(in, mol)) mols.push_back(Oriented(mol));
  return mols;
}

const QXMol& Reference() {
  static const QXMol mol = ReadOriented("examples/data/reference.sdf", 1).at(0);
  return mol;
}
const std::vector<QXMol>& Fits() {
  static const std::vector<QXMol> mols = ReadOriented("examples/data/drugs.sdf", 500);
  return mols;
}

// The reference at its best width, in a form that fixes this width for all fits.
QXHermite ExpandReference(unsigned int degree) {
  QXHermiteOptions options;
  options.SetNPolyMax(degree);
  QXHermite found, fixed;
  found.Setup(QXMolToGaussians(WithoutHydrogens(Reference()), kRadius), options);
  fixed.Setup(found.GetCoefficients(), found.GetOptions());
  return fixed;
}

// The four coefficient vectors from which a conformer starts.
std::vector<std::vector<double>> Starts(const QXMol& mol, const QXHermite& reference) {
  QXHermite h;
  h.Setup(QXMolToGaussians(WithoutHydrogens(mol), kRadius), reference.GetOptions());
  std::vector<std::vector<double>> starts;
  ComputeInertialHermiteVectors(h.GetCoefficients(), reference.GetOptions(), starts);
  starts.insert(starts.begin(), h.GetCoefficients());
  return starts;
}

// One minimiser as a function: start at zero, result into x; returns the number of evaluations.
using Search = unsigned int (*)(QXHermiteOverlap& overlap, double* x);

unsigned int SearchBFGS(QXHermiteOverlap& overlap, double* x) {
  const double start[6] = {};
  QXMinimizer::QXBFGSOpt bfgs;
  bfgs.SetTolerance(1e-6);
  bfgs.SetIterLimit(200);
  bfgs.SetLongestStep(0.5);
  bfgs(overlap, start, x);
  return bfgs.GetEvaluations();
}

unsigned int SearchLBFGSpp(QXHermiteOverlap& overlap, double* x) {
  LBFGSpp::LBFGSParam<double> param;
  param.epsilon = 1e-6;
  param.epsilon_rel = 1e-6;
  param.past = 1;
  param.delta = 1e-6;
  param.max_iterations = 200;
  LBFGSpp::LBFGSSolver<double, LBFGSpp::LineSearchBracketing> solver(param);
  unsigned int evaluations = 0;
  const auto f = [&](const Eigen::VectorXd& point, Eigen::VectorXd& gradient) {
    ++evaluations;
    return overlap(point.data(), gradient.data());
  };
  Eigen::VectorXd point = Eigen::VectorXd::Zero(6);
  double value = 0.0;
  try {
    solver.minimize(f, point, value);
  } catch (const std::exception&) {
    // A failed line search leaves the point as it is: it counts as a result.
  }
  std::copy_n(point.data(), 6, x);
  return evaluations;
}

// All starts of all fits: evaluations a start, and the mean Tanimoto of the optima found.
void Minimize(benchmark::State& state, Search search) {
  const QXHermite reference = ExpandReference(static_cast<unsigned int>(state.range(0)));
  QXHermiteOverlap overlap;
  overlap.SetupRef(reference.GetCoefficients(), reference.GetOptions());
  std::vector<std::vector<double>> starts;
  for (const QXMol& mol : Fits())
    for (auto& start : Starts(mol, reference)) starts.push_back(std::move(start));

  double evaluations = 0, tanimoto = 0;
  for (auto _ : state) {
    evaluations = tanimoto = 0;
    for (const auto& start : starts) {
      double x[6];
      overlap.Setup(start, reference.GetOptions());
      evaluations += search(overlap, x);
      tanimoto += TanimotoFromValue(overlap(x), overlap);
    }
  }
  const double count = static_cast<double>(starts.size());
  state.counters["starts"] = count;
  state.counters["evaluations/start"] = evaluations / count;
  state.counters["meanTanimoto"] = tanimoto / count;
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(starts.size()));
}
BENCHMARK_CAPTURE(Minimize, QXBFGSOpt, SearchBFGS)->Arg(5)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Minimize, LBFGSpp, SearchLBFGSpp)->Arg(5)->Arg(10)->Unit(benchmark::kMillisecond);

// --- The search itself: the four starts of one conformer, tolerance 1e-6.

struct FourStarts {
  explicit FourStarts(unsigned int degree)
      : reference(ExpandReference(degree)), starts(Starts(Fits().at(0), reference)) {}
  QXHermite reference;
  std::vector<std::vector<double>> starts;
};

// The objective as the dense operators make it: one rotation block and one translation matrix an
// axis, with their derivatives. Plain scalar loops.
class DenseOverlap : public QXMinimizer::QXFunc1 {
 public:
  DenseOverlap(const std::vector<double>& newRef, const QXHermiteOptions& newOptions)
      : ref(newRef),
        options(newOptions),
        N(options.GetNPolyMax()),
        index(N),
        rotation(N),
        translation(N),
        R(4 * ref.size()),
        T(4 * ref.size()) {}
  void Setup(const std::vector<double>& newFit) { fit = newFit; }
  unsigned int NumVar() const override { return 6; }
  double operator()(double const* x) override {
    double gradient[6];
    return (*this)(x, gradient);
  }
  const double* GetFComponents(double const*) override { return nullptr; }
  double operator()(double const* x, double* gradient) override {
    rotation.RotateWithDerivatives(x, N, ref, R, index);
    translation.TranslateWithDerivatives(x + 3, options, options, fit, T, index);
    const double volume = GetLambdaProduct(options);
    const double lambda[] = {options.GetLambdaX(), options.GetLambdaY(), options.GetLambdaZ()};
    for (size_t k = 0; k < 3; ++k) {
      gradient[k] = -Dot(k + 1, 0) / volume;
      gradient[3 + k] = lambda[k] * Dot(0, k + 1) / volume;
    }
    return -Dot(0, 0) / volume;
  }

 private:
  double Dot(size_t i, size_t j) const {
    const double *r = &R[i * ref.size()], *t = &T[j * ref.size()];
    return std::inner_product(r, r + ref.size(), t, 0.0);
  }
  std::vector<double> ref, fit;
  QXHermiteOptions options;
  unsigned int N;
  QXHermiteIndex index;
  QXHermiteRotation rotation;
  QXHermiteTranslation translation;
  std::vector<double> R, T;
};

void SearchInLanes(benchmark::State& state) {
  const FourStarts four(static_cast<unsigned int>(state.range(0)));
  OverlapLanes lanes;
  lanes.SetRef(four.reference.GetCoefficients().data(), four.reference.GetOptions().GetNPolyMax(),
               four.reference.GetOptions());
  double evaluations = 0, longest = 0;
  for (auto _ : state) {
    std::vector<OverlayPoint> points(four.starts.size());
    ShapeLanes objective(lanes, PointersTo(four.starts));
    FindOptima(objective, {1e-6, 200}, points);
    evaluations = longest = 0;
    for (const OverlayPoint& point : points) {
      evaluations += point.evaluations;
      longest = std::max<double>(longest, point.evaluations);
    }
  }
  state.counters["evaluations"] = evaluations;
  state.counters["longest"] = longest;
}

void SearchOneAtATime(benchmark::State& state) {
  const FourStarts four(static_cast<unsigned int>(state.range(0)));
  QXHermiteOverlap overlap;
  overlap.SetupRef(four.reference.GetCoefficients(), four.reference.GetOptions());
  for (auto _ : state) {
    for (const auto& start : four.starts) {
      overlap.Setup(start, four.reference.GetOptions());
      benchmark::DoNotOptimize(FindOptimum(overlap, 1e-6, 200));
    }
  }
}

void SearchDense(benchmark::State& state) {
  const FourStarts four(static_cast<unsigned int>(state.range(0)));
  DenseOverlap overlap(four.reference.GetCoefficients(), four.reference.GetOptions());
  for (auto _ : state) {
    for (const auto& start : four.starts) {
      overlap.Setup(start);
      benchmark::DoNotOptimize(FindOptimum(overlap, 1e-6, 200));
    }
  }
}
BENCHMARK(SearchInLanes)->Arg(3)->Arg(5)->Arg(7)->Arg(10)->Arg(14)->ArgName("N");
BENCHMARK(SearchOneAtATime)->Arg(3)->Arg(5)->Arg(7)->Arg(10)->Arg(14)->ArgName("N");
BENCHMARK(SearchDense)->Arg(3)->Arg(5)->Arg(7)->Arg(10)->Arg(14)->ArgName("N");

// Multiply-adds of value and gradient: as the dense operators do them, and as the lanes do.
double DenseCount(unsigned int N) {
  double stage = 0, z = 0;
  for (unsigned int d = 0; d <= N; ++d) {
    stage += (d + 1.0) * (d + 1.0) * (N - d + 1.0);
    z += (N + 1.0) * (d + 1.0) * (N - d + 1.0);
  }
  const double pairs = (N + 1.0) * (N + 2.0) / 2;
  const double basis = QXHermiteBasisSize(N);
  return 9 * stage + 2 * z + 3 * pairs * pairs + 4 * basis * (N + 1) + 7 * basis;
}
double LaneCount(unsigned int N) {
  double shift = 0;  // of all lines along one axis, or in one plane
  for (unsigned int d = 0; d <= N; ++d) shift += (N + 1.0 - d) * d * (d + 1.0) / 2;
  return (9 + 6) * shift + 17.0 * QXHermiteBasisSize(N);
}

// One pack of evaluations with gradient, at every level of the machine.
void ObjectiveInLanes(benchmark::State& state) {
  const auto degree = static_cast<unsigned int>(state.range(0));
  const auto level = static_cast<QXCore::QXSimdLevel>(state.range(1));
  if (level > QXCore::QXGetSimdLevel()) return state.SkipWithError("not on this machine");
  const FourStarts four(degree);
  OverlapLanes lanes(level);
  lanes.SetRef(four.reference.GetCoefficients().data(), degree, four.reference.GetOptions());
  lanes.MakeLanes(8);
  const unsigned int count = lanes.NumLanes();
  for (unsigned int i = 0; i < count; ++i) lanes.SetFit(i, four.starts[i % 4].data());
  std::vector<double> x(6 * count, 0.3), values(count), gradients(6 * count);
  for (auto _ : state) {
    lanes.Evaluate(x.data(), values.data(), gradients.data());
    benchmark::DoNotOptimize(gradients.data());
  }
  QXBench::ReportMultiplyAdds(state, count * LaneCount(degree), level);
  // What the dense operators would have to do in the time.
  state.counters["dense_FMA"] =
      benchmark::Counter(count * DenseCount(degree), benchmark::Counter::kIsIterationInvariantRate);
  state.counters["lanes"] = count;
}
BENCHMARK(ObjectiveInLanes)->ArgsProduct({{3, 5, 7, 10, 14}, {0, 1, 2}})->ArgNames({"N", "level"});

// --- From coordinates to an exact Tanimoto.

// The heavy atoms of every molecule of the file that QX_BENCH_LIGANDS names, the first being the
// reference; else of examples/data.
const std::vector<std::vector<QXGaussian>>& Ligands() {
  static const std::vector<std::vector<QXGaussian>> ligands = [] {
    std::vector<std::vector<QXGaussian>> all;
    const char* const file = std::getenv("QX_BENCH_LIGANDS");
    QXMolKit::qxmolistream in(file ? file : "examples/data/drugs.sdf");
    QXMol mol(1);
    while (QXMolKit::QXReadMolecule(in, mol)) all.push_back(GetHeavyAtomGaussians(mol));
    return all;
  }();
  return ligands;
}

// A screen of the ligands: frame, expansion, search, polish, for each. Arguments: degree, starts,
// polish, tolerance 10^-n.
void Screen(benchmark::State& state) {
  const auto degree = static_cast<unsigned int>(state.range(0));
  const auto starts = static_cast<unsigned int>(state.range(1));
  std::vector<QXGaussian> ref = Ligands().at(0);
  MoveInto(FindInertialFrame(ref).value(), ref);
  QXHermiteOptions options;
  options.SetNPolyMax(degree);
  QXHermite found, fixed;
  found.Setup(ref, options);
  fixed.Setup(found.GetCoefficients(), found.GetOptions());
  QXShapeScreen screen(fixed, ref,
                       {.tolerance = std::pow(10.0, -static_cast<double>(state.range(3))),
                        .starts = starts,
                        .searchDegree = starts > 4 ? 4u : 0u,
                        .polish = static_cast<unsigned int>(state.range(2))});
  double exact = 0;
  for (auto _ : state) {
    exact = 0;
    for (size_t i = 1; i < Ligands().size(); ++i) {
      std::vector<QXGaussian> fit = Ligands()[i];
      MoveInto(FindInertialFrame(fit).value(), fit);
      exact += screen.FindPoses({{std::move(fit), {}}}, 1).at(0).exactTanimoto;
    }
  }
  const double count = static_cast<double>(Ligands().size() - 1);
  state.counters["meanExact"] = exact / count;
  state.counters["time/ligand"] = benchmark::Counter(
      count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(Screen)
    ->ArgNames({"N", "starts", "polish", "digits"})
    ->ArgsProduct({{3, 5, 10}, {4}, {0, 1, 2, 4}, {3, 6}})
    ->ArgsProduct({{5}, {24}, {2, 4, 8}, {4}})
    ->Unit(benchmark::kMicrosecond);

// The same in several threads, a screen each.
BENCHMARK(Screen)
    ->ArgNames({"N", "starts", "polish", "digits"})
    ->Args({5, 4, 2, 6})
    ->ThreadRange(1, 2)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

// A synthetic cloud of atoms on another, by the number of atoms and of conformers.
void ScreenBySize(benchmark::State& state) {
  const auto atoms = static_cast<unsigned int>(state.range(0));
  std::vector<QXShapeFit> fits;
  for (unsigned int seed = 0; seed < state.range(1); ++seed)
    fits.push_back({QXBench::DrugLikeGaussians(atoms, seed + 1), {}});
  const auto ref = QXBench::DrugLikeGaussians(atoms, 0);
  QXHermite reference;
  reference.Setup(ref, QXBench::FixedOptions(5, 0.6));
  QXShapeScreen screen(reference, ref, {.polish = 2});
  for (auto _ : state) benchmark::DoNotOptimize(screen.FindPoses(fits, 1));
}
BENCHMARK(ScreenBySize)
    ->ArgNames({"atoms", "conformers"})
    ->ArgsProduct({{10, 20, 40, 80}, {1}})
    ->ArgsProduct({{25}, {1, 4, 16, 64}})
    ->Unit(benchmark::kMicrosecond);

// --- Molecules: the classes, with poses as molecules.

// One conformer against the reference: four starts, poses, scores, record file.
void OverlayOneConformer(benchmark::State& state) {
  const QXHermite reference = ExpandReference(static_cast<unsigned int>(state.range(0)));
  QXMol fit(Fits().at(0));
  const auto record = std::filesystem::temp_directory_path() / "qxhermite_bench_record";
  fit.SetTitle(record.string());
  QXShapeOverlay overlay(1e-6, 200, reference, QXTrans());
  double tanimoto = 0;
  for (auto _ : state) {
    QXMol poses(1);
    tanimoto = overlay.FindBestOverlay(fit, 1, poses);
  }
  state.counters["Tanimoto"] = tanimoto;
  std::filesystem::remove(record.string() + ".qxb");
}
BENCHMARK(OverlayOneConformer)
    ->Arg(3)
    ->Arg(5)
    ->Arg(7)
    ->Arg(10)
    ->ArgName("N")
    ->Unit(benchmark::kMicrosecond);

// The same without a record.
void OverlayWithoutRecord(benchmark::State& state) {
  const QXHermite reference = ExpandReference(static_cast<unsigned int>(state.range(0)));
  QXHermiteShapeOverlay overlay(1e-6, 200, reference.GetOptions().GetLambdaX(),
                                reference.GetOptions().GetNPolyMax(), false, 0.5, 20.0);
  overlay.SetupRef(reference.GetCoefficients(), QXTrans());
  for (auto _ : state) {
    QXMol poses(1);
    benchmark::DoNotOptimize(overlay.FindBestOverlay(Fits().at(0), 1, poses, true, false));
  }
}
BENCHMARK(OverlayWithoutRecord)
    ->Arg(3)
    ->Arg(5)
    ->Arg(7)
    ->Arg(10)
    ->ArgName("N")
    ->Unit(benchmark::kMicrosecond);

// The same by shape and charge, without a record.
void OverlayOneConformerWithCharge(benchmark::State& state) {
  const QXHermiteOptions options =
      ExpandReference(static_cast<unsigned int>(state.range(0))).GetOptions();
  QXMol reference(Reference());
  QXShapeChargeOverlay overlay(1e-6, 200, 0.5, 0.0, options, options, 1.5, reference, QXTrans(),
                               "shape", "charge");
  double combination = 0;
  for (auto _ : state) {
    QXMol poses(1);
    combination = overlay.FindBestOverlay(Fits().at(0), 1, poses);
  }
  state.counters["Combo"] = combination;
}
BENCHMARK(OverlayOneConformerWithCharge)
    ->Arg(3)
    ->Arg(5)
    ->Arg(7)
    ->Arg(10)
    ->ArgName("N")
    ->Unit(benchmark::kMicrosecond);

// The fit of a screen without the search: inertial frame and expansion of 30 atoms.
void OrientAndExpand(benchmark::State& state) {
  const auto atoms = QXBench::DrugLikeGaussians(30, 5);
  const QXHermiteOptions options = QXBench::FixedOptions(5, 0.6);
  QXGaussianToHermite engine(5, 0, 0);
  for (auto _ : state) {
    std::vector<QXGaussian> fit = atoms;
    MoveInto(FindInertialFrame(fit).value(), fit);
    engine.Expand(options, fit, 0);
    benchmark::DoNotOptimize(engine.GetHermiteCoefficients().data());
  }
}
BENCHMARK(OrientAndExpand);

}  // namespace
