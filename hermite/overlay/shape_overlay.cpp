#include "hermite/overlay/shape_overlay.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "hermite/expansion/mol_to_gaussians.h"
#include "hermite/frame/inertial_orientation.h"
#include "hermite/frame/rigid_motion.h"
#include "hermite/overlay/overlay_results.h"
#include "hermite/overlay/tanimoto.h"
#include "host/minimizer/bfgs.h"
#include "host/molkit/molstream.h"

namespace QXHermiteMath {

using QXMolKit::QXConfBase;
using ConfIterator = std::unique_ptr<QXMolKit::QXIterator<QXConfBase>>;

const double rot_X[9] = {1, 0, 0, 0, -1, 0, 0, 0, -1};
const double rot_Y[9] = {-1, 0, 0, 0, 1, 0, 0, 0, -1};
const double rot_Z[9] = {-1, 0, 0, 0, -1, 0, 0, 0, 1};

namespace {

// Radians and angstroms. Longer steps leap between optima, so that the last digits of the input
// chose among them: in 5 of 2500 pairs of drugs, against none with it. It also saves evaluations.
constexpr double kLongestStep = 0.5;

}  // namespace

QXShapeOverlay::QXShapeOverlay(double newTolerance, unsigned int newIterationLimit,
                               QXHermite const& ref, QXTrans const& newTrans)
    : tolerance(newTolerance),
      iterationLimit(newIterationLimit),
      options(ref.GetOptions()),
      trans(newTrans) {
  overlap.SetupRef(ref.GetCoefficients(), options);
}

std::vector<double> QXShapeOverlay::GetCoefficients(QXConfBase const& conformer) const {
  if (conformer.HasDataOfType<std::vector<double>>(coefficientTag.c_str())) {
    const auto& kept = conformer.GetData<std::vector<double>>(coefficientTag.c_str());
    const bool finite =
        std::all_of(kept.begin(), kept.end(), [](double c) { return std::isfinite(c); });
    if (finite && kept.size() == QXHermiteBasisSize(options.GetNPolyMax())) return kept;
  }
  QXMol mol(conformer, 1);
  QXMolKit::QXSuppressHydrogens(mol, false, false, true);
  mol.CompactAtoms();
  QXHermite h;
  h.Setup(QXMolToGaussians(mol, kOverlayAtomRadius), options);
  return h.GetCoefficients();
}

double QXShapeOverlay::FindBestOverlay(QXMol const& fit, unsigned int nPoses, QXMol& result) {
  std::vector<std::pair<double, QXMol>> results;
  QXMolKit::qxmolostream record(std::string(fit.GetTitle()) + ".qxb");
  const double* const halfTurns[] = {rot_X, rot_Y, rot_Z};

  const auto runStart = [&](QXMol start, std::vector<double> coefficients) {
    QXMol pose(1);
    const double tanimoto = FindLocalMinimum(start, coefficients, pose);
    QXMolKit::QXWriteMolecule(record, start);
    QXMolKit::QXWriteMolecule(record, pose);
    results.emplace_back(tanimoto, std::move(pose));
  };

  const ConfIterator confs(fit.GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) {
    const QXConfBase& conformer = *confs->Get();
    const std::vector<double> coefficients = GetCoefficients(conformer);
    std::vector<std::vector<double>> turned;
    ComputeInertialHermiteVectors(coefficients, options, turned);

    runStart(QXMol(conformer, 1), coefficients);
    for (size_t k = 0; k < 3; ++k) {
      QXMol start(conformer, 1);
      QXMolKit::QXRotate(start, halfTurns[k]);
      runStart(std::move(start), turned[k]);
    }
  }
  record.close();
  return PostProcessOverlayData(results, nPoses, trans, result);
}

double QXShapeOverlay::FindLocalMinimum(QXMol const& start, std::vector<double>& coefficients,
                                        QXMol& pose) {
  QXMinimizer::QXBFGSOpt minimizer;
  minimizer.SetTolerance(tolerance);
  minimizer.SetIterLimit(iterationLimit);
  minimizer.SetLongestStep(kLongestStep);
  const double identity[6] = {};
  std::vector<double> p(6);
  overlap.Setup(coefficients, options);
  minimizer(overlap, identity, p.data());
  const double value = overlap(p.data());
  pose = FindPose(start, p);

  QXHermite h;
  h.Setup(coefficients, options);
  QXHermiteRigidTransform(h, p);
  coefficients = h.GetCoefficients();

  const double tanimoto = TanimotoFromValue(value, overlap);
  const ConfIterator confs(pose.GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) {
    QXMolKit::QXSetSDData(*confs->Get(), "Shape Tanimoto", std::to_string(tanimoto));
    confs->Get()->SetData(coefficientTag.c_str(), coefficients);
  }
  return tanimoto;
}

}  // namespace QXHermiteMath
