// Overlays of real molecules, from conformer to scored poses, and what one start of the minimiser
// costs. Run from the root of the project, where examples/data lies.

#include <LBFGS.h>
#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>

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
  std::vector<QXGaussian> gaussians = QXMolToGaussians(WithoutHydrogens(mol), kRadius);
  std::vector<double> center = QXCenterGaussians(gaussians);
  std::vector<double> shift, rotation, eigenvalues;
  std::vector<std::vector<double>> tensor;
  QXOrientByHermiteMomentsOfInertia(gaussians, 5, 0.6, shift, rotation, tensor, eigenvalues);
  QXMol oriented(mol);
  for (double& c : center) c = -c;
  QXMolKit::QXTranslate(oriented, center.data());
  QXMolKit::QXRotate(oriented, rotation.data());
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

void OrientOneConformer(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(Oriented(Fits().at(0)).NumAtoms());
}
BENCHMARK(OrientOneConformer)->Unit(benchmark::kMicrosecond);

}  // namespace
