#include "hermite/overlay/shape_overlay.h"

#include <algorithm>
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
  lanes.SetRef(ref.GetCoefficients().data(), options.GetNPolyMax(), options);
}

double QXShapeOverlay::FindBestOverlay(QXMol const& fit, unsigned int nPoses, QXMol& result) {
  QXMolKit::qxmolostream record(std::string(fit.GetTitle()) + ".qxb");
  auto [molecules, coefficients] = GetStarts(fit, coefficientTag.c_str(), options, false);
  ShapeLanes objective(lanes, PointersTo(coefficients));
  std::vector<OverlayPoint> points(molecules.size());
  FindOptima(objective, {tolerance, iterationLimit}, points);

  std::vector<std::pair<double, QXMol>> results;
  for (size_t i = 0; i < molecules.size(); ++i) {
    QXMol pose(1);
    const double tanimoto = Finish(molecules[i], coefficients[i], points[i], pose);
    QXMolKit::QXWriteMolecule(record, molecules[i]);
    QXMolKit::QXWriteMolecule(record, pose);
    results.emplace_back(tanimoto, std::move(pose));
  }
  record.close();
  return PostProcessOverlayData(results, nPoses, trans, result);
}

double QXShapeOverlay::FindLocalMinimum(QXMol const& start, std::vector<double>& coefficients,
                                        QXMol& pose) {
  overlap.Setup(coefficients, options);
  const std::vector<double> x = FindOptimum(overlap, tolerance, iterationLimit);
  OverlayPoint point{.value = overlap(x.data())};
  std::copy(x.begin(), x.end(), point.x.begin());
  return Finish(start, coefficients, point, pose);
}

double QXShapeOverlay::Finish(QXMol const& start, std::vector<double>& coefficients,
                              OverlayPoint const& point, QXMol& pose) {
  const double tanimoto = TanimotoFromValue(point.value, overlap.GetRefSelfOverlap(),
                                            QXCalcHermiteSelfOverlap(coefficients, options));
  const std::vector<double> p(point.x.begin(), point.x.end());
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
