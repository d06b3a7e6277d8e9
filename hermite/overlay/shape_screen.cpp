#include "hermite/overlay/shape_screen.h"

#include <Eigen/Core>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>

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
/// Candidates that a coarse search leaves for a fine one, at least.
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

/// Half turns H of the first starts: x after H, for the fit as it stands, and back with -pi for pi.
/// Q^T (H P + t) = (H Q)^T (P + H t), and H goes into Q = Rx Ry Rz by Rx(a) Hy = Hy Rx(-a).
std::array<double, 6> AcrossHalfTurn(size_t start, double pi, std::array<double, 6> x) {
  if (start == 0) return x;
  const size_t axis = start - 1;
  for (size_t k = 0; k < axis; ++k) x[k] = -x[k];
  x[axis] += pi;
  for (size_t k = 0; k < 3; ++k)
    if (k != axis) x[3 + k] = -x[3 + k];
  return x;
}

/// Best first, those that are no numbers last.
template <class Score>
void SortByScore(std::vector<QXShapePose>& poses, Score&& score) {
  std::stable_sort(poses.begin(), poses.end(), [&](auto const& a, auto const& b) {
    return score(a) > score(b) || (std::isnan(score(b)) && !std::isnan(score(a)));
  });
}

/// Keeps the first `most` poses that are farther than this from all before them.
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
      KeepDistinct(poses, std::max({wanted, conformers.size(), kCandidates}), kSameBasin);
  }
  if (exact) Polish(conformers, nPoses, poses);
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

void QXShapeScreen::Polish(std::vector<QXShapeFit> const& conformers, size_t nPoses,
                           std::vector<QXShapePose>& poses) {
  gaussiansOf = kNone;
  for (size_t i = 0; i < poses.size(); ++i) {
    QXShapeFit const& fit = conformers[poses[i].conformer];
    const bool polish = i < settings.polish;
    if (!fit.gaussians.empty() && (polish || i < nPoses || settings.polish > 0))
      MakeExact(fit, polish, poses[i]);
  }
  if (settings.polish > 0) SortByScore(poses, [](auto const& pose) { return pose.exactTanimoto; });
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

// The exact Tanimoto of a pose, first brought to its optimum with `polish`.
void QXShapeScreen::MakeExact(QXShapeFit const& fit, bool polish, QXShapePose& pose) {
  const bool halfTurn = pose.start < 4;
  const size_t start = halfTurn ? pose.start : 0;
  if (!halfTurn || gaussiansOf != pose.conformer) SetupGaussians(fit, halfTurn ? 0 : pose.start);
  gaussiansOf = halfTurn ? pose.conformer : kNone;

  std::array<double, 6> x = AcrossHalfTurn(start, std::numbers::pi, pose.x);
  double overlap;
  if (polish) {
    const QXPolishedPose polished = QXPolish(gaussianOverlap, x.data(), settings.tolerance);
    overlap = polished.overlap;
    pose.x = AcrossHalfTurn(start, -std::numbers::pi, polished.variables);
    ScoreExpansion(pose);
  } else {
    overlap = -gaussianOverlap(x.data());
  }
  pose.exactTanimoto = TanimotoFromValue(-overlap, gaussianOverlap.GetRefSelfOverlap(),
                                         gaussianOverlap.GetFitSelfOverlap());
}

void QXShapeScreen::SetupGaussians(QXShapeFit const& fit, size_t start) {
  if (start == 0) {
    gaussianOverlap.Setup(fit.gaussians);
    return;
  }
  std::vector<QXGaussian> turned = fit.gaussians;
  const std::array<double, 9> turn = GetAxisTurns()[start].Matrix();
  QXRotateGaussians(turned, {turn.begin(), turn.end()});
  gaussianOverlap.Setup(turned);
}

}  // namespace QXHermiteMath
