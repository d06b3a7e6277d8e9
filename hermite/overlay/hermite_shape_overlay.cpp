#include "hermite/overlay/hermite_shape_overlay.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "hermite/frame/rigid_motion.h"
#include "hermite/overlay/overlay_results.h"
#include "hermite/overlay/overlay_search.h"
#include "hermite/overlay/tanimoto.h"
#include "host/grid/skew_grid.h"

namespace QXHermiteMath {

using ConfIterator = std::unique_ptr<QXMolKit::QXIterator<QXMolKit::QXConfBase>>;

namespace {

constexpr const char* kGridTag = "hermite grid";

}  // namespace

QXTrans QXBestStart::GetTransform() const {
  QXTrans motion;
  if (start > 0) motion.Append(QXMolKit::QXRotMatrix(GetStartRotation(start)));
  motion.Append(QXMolKit::QXTranslation(&variables[3]));
  motion.Append(QXMolKit::QXRotMatrix(PoseRotation(variables.data()).data()));
  return motion;
}

QXHermiteShapeOverlay::QXHermiteShapeOverlay(double newTolerance, unsigned int newIterationLimit,
                                             double newLambda, unsigned int nPolyMax,
                                             bool newMakeGrid, double newGridSpacing,
                                             double newGridSize)
    : tolerance(newTolerance),
      iterationLimit(newIterationLimit),
      gridSpacing(newGridSpacing),
      gridSize(newGridSize),
      makeGrid(newMakeGrid) {
  options.SetUseOptimalLambdas(false);
  options.SetUseSingleLambda(true);
  SetLambdas(options, newLambda, newLambda, newLambda);
  options.SetNPolyMax(nPolyMax);
}

bool QXHermiteShapeOverlay::SetupRef(QXMolBase const& mol, QXTrans const& newTrans) {
  trans = newTrans;
  const QXHermite h = ExpandHeavyAtoms(mol, options);
  options = h.GetOptions();
  return SetupOverlap(h.GetCoefficients());
}

bool QXHermiteShapeOverlay::SetupRef(QXScalarGrid const& grid, QXTrans const& newTrans) {
  trans = newTrans;
  QXHermite h;
  if (!h.Setup(grid, options)) return false;
  options = h.GetOptions();
  if (makeGrid) refGrid = MakeGrid(h);
  return SetupOverlap(h.GetCoefficients());
}

bool QXHermiteShapeOverlay::SetupRef(std::vector<double> const& coefficients,
                                     QXTrans const& newTrans) {
  trans = newTrans;
  return SetupOverlap(coefficients);
}

bool QXHermiteShapeOverlay::SetupOverlap(std::vector<double> const& coefficients) {
  lanes.SetRef(coefficients.data(), options.GetNPolyMax(), options);
  return overlap.SetupRef(coefficients, options);
}

double QXHermiteShapeOverlay::FindBestOverlay(QXMCMolBase const& fit, unsigned int nPoses,
                                              QXMCMolBase& result, bool optimize,
                                              bool singleStart) {
  auto [molecules, starts] = GetStarts(fit, coefficientTag.c_str(), options, singleStart);
  const std::vector<OverlayPoint> points = FindPoints(starts, optimize);
  std::vector<double> scores;
  for (size_t i = 0; i < starts.size(); ++i) scores.push_back(Score(starts[i], points[i]));

  std::vector<std::pair<double, QXMol>> poses;
  for (size_t i : FindBest(scores, std::max(nPoses, 1u))) {
    poses.emplace_back(scores[i], QXMol(1));
    Finish(molecules[i], starts[i], scores[i], {points[i].x.begin(), points[i].x.end()},
           poses.back().second);
  }
  return PostProcessOverlayData(poses, nPoses, trans, result);
}

double QXHermiteShapeOverlay::FindBestOverlay(QXScalarGrid const& fit, QXScalarGrid& refGridOut,
                                              QXScalarGrid& fitGridOut, QXScalarGrid& movedGridOut,
                                              bool optimize, bool singleStart) {
  QXHermite h;
  if (!h.Setup(fit, options)) return 0.0;
  const QXBestStart best = FindBestStart(h.GetCoefficients(), optimize, singleStart);
  if (!makeGrid) return best.tanimoto;

  // Without a score above 0 there are no moved coefficients, and h keeps those of the fit.
  h.Setup(best.coefficients, options);
  fitGrid = MakeGrid(h);
  QXCore::QXSkewGrid moved(fit);
  QXTransform(moved, best.GetTransform());
  QXTransform(moved, trans);
  QXCore::QXMakeRegularGrid(movedGrid, moved, fit.GetSpacing());
  // Last, for an output may be the fit.
  refGridOut = refGrid;
  fitGridOut = fitGrid;
  movedGridOut = movedGrid;
  return best.tanimoto;
}

QXBestStart QXHermiteShapeOverlay::FindBestStart(std::vector<double> const& coefficients,
                                                 bool optimize, bool singleStart) {
  QXBestStart best;
  std::vector<std::vector<double>> starts =
      GetStartCoefficients(coefficients, options, singleStart);
  const std::vector<OverlayPoint> points = FindPoints(starts, optimize);
  for (size_t k = 0; k < starts.size(); ++k) {
    const double tanimoto = Score(starts[k], points[k]);
    if (tanimoto > best.tanimoto)
      best = {tanimoto,
              static_cast<unsigned int>(k),
              std::move(starts[k]),
              {points[k].x.begin(), points[k].x.end()}};
  }
  if (best.tanimoto > 0.0)
    best.coefficients = MoveExpansion(best.coefficients, options, best.variables).GetCoefficients();
  return best;
}

double QXHermiteShapeOverlay::FindLocalMinimum(QXMCMolBase const& start,
                                               std::vector<double>& coefficients, QXMCMolBase& pose,
                                               std::vector<double>& variables, bool optimize) {
  const OverlayPoint point = FindPoints({coefficients}, optimize).front();
  const double tanimoto = Score(coefficients, point);
  variables.assign(point.x.begin(), point.x.end());
  Finish(start, coefficients, tanimoto, variables, pose);
  return tanimoto;
}

// The molecule and the coefficients of a start become those of its pose.
void QXHermiteShapeOverlay::Finish(QXMCMolBase const& start, std::vector<double>& coefficients,
                                   double tanimoto, std::vector<double> const& variables,
                                   QXMCMolBase& pose) const {
  const QXHermite moved = MoveExpansion(coefficients, options, variables);
  coefficients = moved.GetCoefficients();
  pose = FindPose(start, variables);
  const ConfIterator confs(pose.GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) {
    QXMolKit::QXConfBase& conformer = *confs->Get();
    QXMolKit::QXSetSDData(conformer, "Shape Tanimoto", std::to_string(tanimoto));
    conformer.SetData(coefficientTag.c_str(), coefficients);
    // A grid that came along with the start would not fit the pose.
    conformer.DeleteData(kGridTag);
    if (makeGrid) conformer.SetData(kGridTag, MakeGrid(moved));
  }
}

double QXHermiteShapeOverlay::Score(std::vector<double> const& coefficients,
                                    OverlayPoint const& point) const {
  return TanimotoFromValue(point.value, overlap.GetRefSelfOverlap(),
                           QXCalcHermiteSelfOverlap(coefficients, options));
}

// Where each start ends, side by side; without optimize, where it stands.
std::vector<OverlayPoint> QXHermiteShapeOverlay::FindPoints(
    std::vector<std::vector<double>> const& starts, bool optimize) {
  std::vector<OverlayPoint> points(starts.size());
  if (optimize) {
    ShapeLanes objective(lanes, PointersTo(starts));
    FindOptima(objective, {tolerance, iterationLimit}, points);
    return points;
  }
  for (size_t i = 0; i < starts.size(); ++i) {
    overlap.Setup(starts[i], options);
    points[i].value = overlap(points[i].x.data());
  }
  return points;
}

QXScalarGrid QXHermiteShapeOverlay::MakeGrid(QXHermite const& h) const {
  QXScalarGrid grid;
  h.CreateGrid(grid, gridSpacing, gridSize, trans);
  return grid;
}

}  // namespace QXHermiteMath
