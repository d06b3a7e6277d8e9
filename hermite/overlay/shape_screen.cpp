#include "hermite/overlay/shape_screen.h"

#include <Eigen/Core>
#include <algorithm>
#include <cmath>

#include "hermite/foundations/basis.h"
#include "hermite/frame/inertial_orientation.h"
#include "hermite/frame/rigid_motion.h"
#include "hermite/overlay/overlay_search.h"
#include "hermite/overlay/polish.h"
#include "hermite/overlay/reference_model.h"
#include "hermite/overlay/tanimoto.h"

namespace QXHermiteMath {

namespace {

using Matrix = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>;

/// Poses of one conformer are one where they differ by less, in radians and angstroms: optima, and
/// what a coarse search has left near them.
constexpr double kSamePose = 0.05;
constexpr double kSameBasin = 0.25;
/// A coarse search need only tell basins apart.
constexpr double kCoarseTolerance = 1e-3;
/// Candidates for each conformer that a coarse search leaves for a fine one, at least.
constexpr size_t kCandidates = 4;

/// A point P of the conformer goes to rotation (P) + shift.
struct Motion {
  Matrix rotation;
  Eigen::Vector3d shift;
};

Motion MotionOf(QXShapePose const& pose) {
  const std::vector<double> Q = RotFromEulerXYZ(pose.x[0], pose.x[1], pose.x[2]);
  const std::array<double, 9> turn = GetAxisTurns()[pose.start].Matrix();
  const Matrix back = Eigen::Map<const Matrix>(Q.data()).transpose();
  return {back * Eigen::Map<const Matrix>(turn.data()),
          back * Eigen::Map<const Eigen::Vector3d>(&pose.x[3])};
}

bool AreAlike(Motion const& a, Motion const& b, double distance) {
  // The distance of two rotations is sqrt(8) sin(angle / 2).
  return (a.rotation - b.rotation).norm() < std::sqrt(2.0) * distance &&
         (a.shift - b.shift).norm() < distance;
}

/// The angles of Q = Rx Ry Rz, one triple of many where y stands at a right angle.
std::array<double, 3> AnglesOf(Matrix const& Q) {
  const double cosine = std::hypot(Q(0, 0), Q(0, 1));
  const double beta = std::atan2(Q(0, 2), cosine);
  if (cosine < 1e-7) return {std::atan2(std::copysign(1.0, Q(0, 2)) * Q(1, 0), Q(1, 1)), beta, 0.0};
  return {std::atan2(-Q(1, 2), Q(2, 2)), beta, std::atan2(-Q(0, 1), Q(0, 0))};
}

/// The variables of a fit before a turn, back by the angles in `turn`, of which x are those after
/// it: Q1^T (Q0^T P + t) = (Q0 Q1)^T (P + Q0 t).
std::array<double, 6> AfterTurn(std::array<double, 6> const& turn, std::array<double, 6> const& x) {
  const std::vector<double> Q0 = RotFromEulerXYZ(turn[0], turn[1], turn[2]);
  const std::vector<double> Q1 = RotFromEulerXYZ(x[0], x[1], x[2]);
  const Eigen::Map<const Matrix> first(Q0.data()), second(Q1.data());
  const std::array<double, 3> angles = AnglesOf(first * second);
  const Eigen::Vector3d t = first * Eigen::Map<const Eigen::Vector3d>(&x[3]);
  return {angles[0], angles[1], angles[2], t[0], t[1], t[2]};
}

/// Best first, those that are no numbers last.
template <class Score>
void SortByScore(std::vector<QXShapePose>& poses, Score&& score) {
  std::stable_sort(poses.begin(), poses.end(),
                   [&](auto const& a, auto const& b) { return IsBetter(score(a), score(b)); });
}

/// Keeps the first `most` poses that are farther than this from all of their conformer before them.
void KeepDistinct(std::vector<QXShapePose>& poses, size_t most, double distance) {
  std::vector<QXShapePose> kept;
  std::vector<Motion> motions;
  for (QXShapePose const& pose : poses) {
    if (kept.size() == most) break;
    const Motion motion = MotionOf(pose);
    bool known = false;
    for (size_t i = 0; i < kept.size(); ++i)
      known =
          known || (kept[i].conformer == pose.conformer && AreAlike(motions[i], motion, distance));
    if (known) continue;
    kept.push_back(pose);
    motions.push_back(motion);
  }
  poses = std::move(kept);
}

}  // namespace

QXShapeScreen::QXShapeScreen(QXHermite const& ref, std::vector<QXGaussian> const& refGaussians,
                             QXShapeScreenSettings const& newSettings)
    : settings(newSettings),
      options(ref.GetOptions()),
      norms(QXCalcHermiteNormalization(options.GetNPolyMax())),
      engine(options.GetNPolyMax(), 0, 0),
      exact(!refGaussians.empty()) {
  const unsigned int N = options.GetNPolyMax();
  if (settings.searchDegree > 0 && settings.searchDegree < N)
    stages.push_back(MakeStage(ref, settings.searchDegree));
  stages.push_back(MakeStage(ref, N));
  gaussianOverlap.SetupRef(refGaussians);
}

QXShapeScreen::Stage QXShapeScreen::MakeStage(QXHermite const& ref, unsigned int degree) const {
  const double* c = ref.GetCoefficients().data();
  Stage stage{degree, OverlapLanes(), 0.0, {}, {}};
  stage.refSelfOverlap = SelfOverlap(stage, c);
  stage.lanes.SetRef(c, degree, options);
  for (size_t k = 0; k < settings.starts; ++k) stage.turns.emplace_back(GetAxisTurns()[k], degree);
  const std::vector<double> shells(c, c + QXHermiteBasisSize(degree));
  QXHermiteOptions stageOptions = options;
  stageOptions.SetNPolyMax(degree);
  QXHermiteOverlap self;
  self.SetupRef(shells, stageOptions);
  self.Setup(shells, stageOptions);
  stage.model = GetReferenceModel(self);
  return stage;
}

std::vector<QXShapePose> QXShapeScreen::FindPoses(std::vector<QXShapeFit> const& conformers,
                                                  size_t nPoses) {
  Expand(conformers);
  std::vector<QXShapePose> poses;
  for (size_t i = 0; i < conformers.size(); ++i)
    for (size_t k = 0; k < settings.starts; ++k) poses.push_back({i, k});
  const size_t wanted = std::max<size_t>(nPoses, settings.polish);
  for (Stage& stage : stages) {
    const bool last = &stage == &stages.back();
    Search(stage, last ? settings.tolerance : std::max(settings.tolerance, kCoarseTolerance),
           poses);
    SortByScore(poses, [](auto const& pose) { return pose.tanimoto; });
    if (last)
      KeepDistinct(poses, wanted, kSamePose);
    else
      KeepDistinct(poses, std::max(2 * wanted, kCandidates * conformers.size()), kSameBasin);
  }
  if (exact) Polish(conformers, poses);
  if (poses.size() > nPoses) poses.resize(nPoses);
  return poses;
}

void QXShapeScreen::Expand(std::vector<QXShapeFit> const& conformers) {
  coefficients.clear();
  for (QXShapeFit const& fit : conformers) {
    if (fit.coefficients.empty()) engine.Expand(options, fit.gaussians, 0);
    const std::vector<double>& made =
        fit.coefficients.empty() ? engine.GetHermiteCoefficients() : fit.coefficients;
    coefficients.insert(coefficients.end(), made.begin(), made.end());
  }
}

// Moves each pose on to the optimum of this stage, and scores it there.
void QXShapeScreen::Search(Stage& stage, double tolerance, std::vector<QXShapePose>& poses) {
  const size_t size = QXHermiteBasisSize(stage.degree);
  const size_t basisSize = QXHermiteBasisSize(options.GetNPolyMax());
  std::vector<double> starts(size * poses.size());
  std::vector<const double*> fits;
  std::vector<OverlayPoint> points;
  for (QXShapePose const& pose : poses) {
    double* const start = &starts[size * points.size()];
    stage.turns[pose.start](&coefficients[basisSize * pose.conformer], start);
    fits.push_back(start);
    points.push_back({.x = pose.x});
  }
  ShapeLanes objective(stage.lanes, fits);
  FindOptima(objective, {tolerance, settings.iterationLimit, stage.model.data()}, points);
  for (size_t i = 0; i < poses.size(); ++i) {
    poses[i].x = points[i].x;
    poses[i].tanimoto =
        TanimotoFromValue(points[i].value, stage.refSelfOverlap, SelfOverlap(stage, fits[i]));
  }
}

void QXShapeScreen::Polish(std::vector<QXShapeFit> const& conformers,
                           std::vector<QXShapePose>& poses) {
  for (size_t i = 0; i < poses.size(); ++i) {
    QXShapeFit const& fit = conformers[poses[i].conformer];
    if (!fit.gaussians.empty()) MakeExact(fit, i < settings.polish, poses[i]);
  }
  if (settings.polish == 0) return;
  SortByScore(poses, [](auto const& pose) { return pose.exactTanimoto; });
  KeepDistinct(poses, poses.size(), kSamePose);
}

// The Tanimoto of the expansions at a pose.
void QXShapeScreen::ScoreExpansion(QXShapePose& pose) {
  Stage& stage = stages.back();
  const size_t size = QXHermiteBasisSize(stage.degree);
  std::vector<double> turned(size);
  stage.turns[pose.start](&coefficients[size * pose.conformer], turned.data());
  stage.lanes.MakeLanes(1);
  stage.lanes.SetFit(0, turned.data());
  double value;
  stage.lanes.Evaluate(pose.x.data(), &value, nullptr);
  pose.tanimoto = TanimotoFromValue(value, stage.refSelfOverlap, SelfOverlap(stage, turned.data()));
}

double QXShapeScreen::SelfOverlap(Stage const& stage, const double* c) const {
  return SumOfNormalizedSquares(stage.degree, c, norms.data()) / GetLambdaProduct(options);
}

// The exact Tanimoto of a pose, first brought to its optimum with `polish`. The fit is turned to
// where it lies, so that the polish begins without a turn: at a quarter turn about y the angles of
// the others would coincide.
void QXShapeScreen::MakeExact(QXShapeFit const& fit, bool polish, QXShapePose& pose) {
  const Motion motion = MotionOf(pose);
  std::vector<QXGaussian> turned = fit.gaussians;
  QXRotateGaussians(turned, {motion.rotation.data(), motion.rotation.data() + 9});
  gaussianOverlap.Setup(turned);
  const double x[6] = {0, 0, 0, motion.shift[0], motion.shift[1], motion.shift[2]};
  double overlap;
  if (polish) {
    const QXPolishedPose polished = QXPolish(gaussianOverlap, x, settings.tolerance);
    overlap = polished.overlap;
    pose.x = AfterTurn(pose.x, polished.variables);
    ScoreExpansion(pose);
  } else {
    overlap = -gaussianOverlap(x);
  }
  pose.exactTanimoto = TanimotoFromValue(-overlap, gaussianOverlap.GetRefSelfOverlap(),
                                         gaussianOverlap.GetFitSelfOverlap());
}

}  // namespace QXHermiteMath
