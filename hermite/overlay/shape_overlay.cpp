#include "hermite/overlay/shape_overlay.h"

#include <memory>

#include "hermite/overlay/overlay_results.h"
#include "hermite/overlay/overlay_search.h"
#include "hermite/overlay/tanimoto.h"
#include "host/molkit/molstream.h"

namespace QXHermiteMath {

using ConfIterator = std::unique_ptr<QXMolKit::QXIterator<QXMolKit::QXConfBase>>;

const double rot_X[9] = {1, 0, 0, 0, -1, 0, 0, 0, -1};
const double rot_Y[9] = {-1, 0, 0, 0, 1, 0, 0, 0, -1};
const double rot_Z[9] = {-1, 0, 0, 0, -1, 0, 0, 0, 1};

QXShapeOverlay::QXShapeOverlay(double newTolerance, unsigned int newIterationLimit,
                               QXHermite const& ref, QXTrans const& newTrans)
    : tolerance(newTolerance),
      iterationLimit(newIterationLimit),
      options(ref.GetOptions()),
      trans(newTrans) {
  overlap.SetupRef(ref.GetCoefficients(), options);
}

double QXShapeOverlay::FindBestOverlay(QXMol const& fit, unsigned int nPoses, QXMol& result) {
  std::vector<std::pair<double, QXMol>> results;
  QXMolKit::qxmolostream record(std::string(fit.GetTitle()) + ".qxb");
  const ConfIterator confs(fit.GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) {
    const QXMolKit::QXConfBase& conformer = *confs->Get();
    std::vector<std::vector<double>> starts = GetStartCoefficients(
        GetConformerCoefficients(conformer, coefficientTag.c_str(), options), options, false);
    for (size_t k = 0; k < starts.size(); ++k) {
      const QXMol start = GetStart(conformer, k);
      QXMol pose(1);
      const double tanimoto = FindLocalMinimum(start, starts[k], pose);
      QXMolKit::QXWriteMolecule(record, start);
      QXMolKit::QXWriteMolecule(record, pose);
      results.emplace_back(tanimoto, std::move(pose));
    }
  }
  record.close();
  return PostProcessOverlayData(results, nPoses, trans, result);
}

double QXShapeOverlay::FindLocalMinimum(QXMol const& start, std::vector<double>& coefficients,
                                        QXMol& pose) {
  overlap.Setup(coefficients, options);
  const std::vector<double> p = FindOptimum(overlap, tolerance, iterationLimit);
  const double tanimoto = TanimotoFromValue(overlap(p.data()), overlap);
  pose = FindPose(start, p);
  coefficients = MoveExpansion(coefficients, options, p).GetCoefficients();
  const ConfIterator confs(pose.GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) {
    QXMolKit::QXSetSDData(*confs->Get(), "Shape Tanimoto", std::to_string(tanimoto));
    confs->Get()->SetData(coefficientTag.c_str(), coefficients);
  }
  return tanimoto;
}

}  // namespace QXHermiteMath
