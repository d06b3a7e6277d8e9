#include "hermite/overlay/overlay_search.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <utility>

#include "hermite/expansion/mol_to_gaussians.h"
#include "hermite/frame/inertial_orientation.h"
#include "hermite/frame/rigid_motion.h"
#include "hermite/overlay/shape_overlay.h"
#include "host/minimizer/bfgs.h"

namespace QXHermiteMath {

std::vector<QXGaussian> GetHeavyAtomGaussians(QXMolKit::QXMolBase const& mol) {
  return HeavyAtomsToGaussians(mol, kOverlayAtomRadius);
}

QXHermite ExpandHeavyAtoms(QXMolKit::QXMolBase const& mol, QXHermiteOptions const& options) {
  QXHermite h;
  h.Setup(GetHeavyAtomGaussians(mol), options);
  return h;
}

const std::vector<double>* FindKeptCoefficients(QXCore::QXBase const& mol, const char* tag,
                                                QXHermiteOptions const& options) {
  if (!mol.HasDataOfType<std::vector<double>>(tag)) return nullptr;
  const auto& kept = mol.GetData<std::vector<double>>(tag);
  const bool finite =
      std::all_of(kept.begin(), kept.end(), [](double c) { return std::isfinite(c); });
  return finite && kept.size() == QXHermiteBasisSize(options.GetNPolyMax()) ? &kept : nullptr;
}

std::vector<double> GetConformerCoefficients(QXMolKit::QXConfBase const& conformer, const char* tag,
                                             QXHermiteOptions const& options) {
  if (const auto* kept = FindKeptCoefficients(conformer, tag, options)) return *kept;
  return ExpandHeavyAtoms(conformer, options).GetCoefficients();
}

std::vector<std::vector<double>> GetStartCoefficients(std::vector<double> const& coefficients,
                                                      QXHermiteOptions const& options,
                                                      bool singleStart) {
  std::vector<std::vector<double>> starts;
  if (!singleStart) ComputeInertialHermiteVectors(coefficients, options, starts);
  starts.insert(starts.begin(), coefficients);
  return starts;
}

OverlayStarts GetStarts(QXMolKit::QXMCMolBase const& fit, const char* tag,
                        QXHermiteOptions const& options, bool singleStart) {
  OverlayStarts starts;
  const std::unique_ptr<QXMolKit::QXIterator<QXMolKit::QXConfBase>> confs(fit.GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) {
    const QXMolKit::QXConfBase& conformer = *confs->Get();
    const std::vector<double> c = GetConformerCoefficients(conformer, tag, options);
    size_t k = 0;
    for (std::vector<double>& start : GetStartCoefficients(c, options, singleStart)) {
      starts.coefficients.push_back(std::move(start));
      starts.molecules.push_back(GetStart(conformer, k++));
    }
  }
  return starts;
}

const double* GetStartRotation(size_t k) {
  const double* const rotations[] = {nullptr, rot_X, rot_Y, rot_Z};
  return rotations[k];
}

QXMol GetStart(QXMolKit::QXConfBase const& conformer, size_t k) {
  QXMol start(conformer, 1);
  if (k > 0) QXMolKit::QXRotate(start, GetStartRotation(k));
  return start;
}

std::vector<double> FindOptimum(QXMinimizer::QXFunc1& objective, double tolerance,
                                unsigned int iterationLimit) {
  QXMinimizer::QXBFGSOpt minimizer;
  minimizer.SetTolerance(tolerance);
  minimizer.SetIterLimit(iterationLimit);
  minimizer.SetLongestStep(kLongestStep);
  const double identity[6] = {};
  std::vector<double> p(6);
  minimizer(objective, identity, p.data());
  return p;
}

std::vector<size_t> FindBest(std::vector<double> const& scores, size_t count) {
  std::vector<size_t> order(scores.size());
  std::iota(order.begin(), order.end(), size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](size_t a, size_t b) { return IsBetter(scores[a], scores[b]); });
  order.resize(std::min(count, order.size()));
  return order;
}

std::vector<const double*> PointersTo(std::vector<std::vector<double>> const& vectors) {
  std::vector<const double*> pointers;
  for (const std::vector<double>& one : vectors) pointers.push_back(one.data());
  return pointers;
}

QXHermite MoveExpansion(std::vector<double> const& coefficients, QXHermiteOptions const& options,
                        std::vector<double> const& p) {
  QXHermite h;
  h.Setup(coefficients, options);
  QXHermiteRigidTransform(h, p);
  return h;
}

}  // namespace QXHermiteMath
