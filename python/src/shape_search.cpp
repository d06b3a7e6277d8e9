#include "python/src/shape_search.h"

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <utility>

#include "hermite/expansion/mol_to_gaussians.h"
#include "hermite/frame/axis_turns.h"
#include "hermite/frame/rigid_motion.h"
#include "hermite/overlay/shape_overlay.h"
#include "host/molkit/sdtext.h"
#include "tools/coverage.h"
#include "tools/grid_density.h"
#include "tools/hits.h"
#include "tools/partial_charges.h"
#include "tools/record.h"

namespace QXPython {
namespace {

using QXCore::QXScalarGrid;
using QXHermiteMath::QXHermite;
using QXHermiteMath::QXShapePose;
using QXMolKit::QXConfBase;
using QXMolKit::QXMol;
using QXTools::Frame;

/// The place of a conformer among those at hand, on the conformer itself.
constexpr const char* kPlaceTag = "qxhermite place";
constexpr const char* kShapeTag = "";
constexpr const char* kChargeTag = "qxhermite charge";

using Matrix3 = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>;
using Matrix4 = Eigen::Matrix<double, 4, 4, Eigen::RowMajor>;

Eigen::Isometry3d Motion(const Matrix3& rotation, const Eigen::Vector3d& shift) {
  Eigen::Isometry3d motion = Eigen::Isometry3d::Identity();
  motion.linear() = rotation;
  motion.translation() = shift;
  return motion;
}

Matrix3 MatrixOf(const double* rowMajor) {
  return Eigen::Map<const Matrix3>(rowMajor);
}

/// Into the frame: p to R (p - c).
Eigen::Isometry3d WayIn(const Frame& frame) {
  const Matrix3 rotation = MatrixOf(frame.rotation.data());
  return Motion(rotation, -(rotation * Eigen::Map<const Eigen::Vector3d>(frame.centre.data())));
}

/// What a screen does to a conformer in its frame: a turn of the axes, then Q^T (P + t).
Eigen::Isometry3d MotionOf(const QXShapePose& pose) {
  const std::vector<double> q = QXHermiteMath::RotFromEulerXYZ(pose.x[0], pose.x[1], pose.x[2]);
  const Matrix3 back = MatrixOf(q.data()).transpose();
  const Matrix3 turn = MatrixOf(QXHermiteMath::GetAxisTurns()[pose.start].Matrix().data());
  return Motion(back * turn, back * Eigen::Map<const Eigen::Vector3d>(&pose.x[3]));
}

std::array<double, 16> Rows(const Eigen::Isometry3d& motion) {
  std::array<double, 16> rows;
  Eigen::Map<Matrix4>(rows.data()) = motion.matrix();
  return rows;
}

/// The rigid motion from the atoms of one molecule to those of another.
Eigen::Isometry3d MotionBetween(const QXMolKit::QXMolBase& from, const QXMolKit::QXMolBase& to) {
  const std::vector<double> a = QXTools::Coordinates(from), b = QXTools::Coordinates(to);
  const auto n = static_cast<Eigen::Index>(a.size() / 3);
  Eigen::Isometry3d motion;
  motion.matrix() = Eigen::umeyama(Eigen::Map<const Eigen::Matrix3Xd>(a.data(), 3, n),
                                   Eigen::Map<const Eigen::Matrix3Xd>(b.data(), 3, n), false);
  return motion;
}

double TextAsNumber(const QXConfBase& conformer, const char* tag) {
  return std::strtod(QXMolKit::QXGetSDData(conformer, tag).c_str(), nullptr);
}

template <typename Visit>
void ForEachConformer(const QXMol& mol, Visit&& visit) {
  const std::unique_ptr<QXMolKit::QXIterator<QXConfBase>> confs(mol.GetConfs());
  for (size_t number = 0; confs && confs->IsValid(); confs->Next(), ++number) {
    visit(*confs->Get(), number);
  }
}

/// What a text of the tool says to do, in Python.
std::string InPython(std::string text) {
  const std::string option = "--charges gasteiger";
  const size_t at = text.find(option);
  if (at != std::string::npos) text.replace(at, option.size(), "charges=\"gasteiger\"");
  return text;
}

QXTools::Reference Checked(std::optional<QXTools::Reference> reference, const std::string& why) {
  if (!reference) throw std::invalid_argument("reference: " + InPython(why));
  return std::move(*reference);
}

}  // namespace

ShapeSearch::ShapeSearch(QXMol reference, const QXTools::OverlayArguments& arguments)
    : arguments_(arguments) {
  std::string why;
  auto made = QXTools::ReferenceOf(std::move(reference), arguments_, why);
  reference_ = Checked(std::move(made), why);
  Prepare();
}

ShapeSearch::ShapeSearch(QXScalarGrid reference, const QXTools::OverlayArguments& arguments)
    : arguments_(arguments) {
  std::string why;
  double held = 1.0;
  auto made = QXTools::ReferenceOf(std::move(reference), arguments_, why, held);
  reference_ = Checked(std::move(made), why);
  reference_.matchScale = true;
  Prepare();
}

void ShapeSearch::Prepare() {
  if (!reference_.charge) {
    screen_.emplace(reference_.expansion, reference_.gaussians,
                    QXHermiteMath::QXShapeScreenSettings{
                        arguments_.tolerance, arguments_.maxIterations, arguments_.starts,
                        arguments_.coarseDegree, arguments_.polish});
    return;
  }
  QXMol expanded;
  expanded.SetData(kShapeTag, reference_.expansion.GetCoefficients());
  expanded.SetData(kChargeTag, reference_.charge->GetCoefficients());
  charge_ = std::make_unique<QXHermiteMath::QXShapeChargeOverlay>(
      arguments_.tolerance, arguments_.maxIterations, arguments_.chargeWeight,
      arguments_.chargeOffset, reference_.expansion.GetOptions(), reference_.charge->GetOptions(),
      arguments_.chargeSigma, expanded, QXMolKit::QXTrans(), kShapeTag, kChargeTag);
}

std::string ShapeSearch::WhyUnfit(const QXMol& all, const QXMol& heavy) const {
  if (std::string reason = QXTools::WhyUnfit(heavy); !reason.empty()) return reason;
  return reference_.charge ? QXTools::WhyUncharged(all, arguments_.ComputesCharges()) : "";
}

/// The conformers that can be laid over the reference, each in the frame of overlays.
std::vector<ShapeSearch::Conformer> ShapeSearch::InFrame(const QXMol& fit, size_t number,
                                                         FoundPoses& found) {
  std::vector<Conformer> conformers;
  ForEachConformer(fit, [&](const QXConfBase& conformer, size_t place) {
    const auto skip = [&](std::string reason) {
      found.skipped.push_back({number, place, InPython(std::move(reason))});
    };
    QXMol moved(conformer, 1);
    const QXMol heavy = QXTools::HeavyAtoms(conformer);
    if (std::string why = WhyUnfit(moved, heavy); !why.empty()) return skip(std::move(why));
    if (QXTools::LooksLikeDrawing(heavy) &&
        (found.drawings.empty() || found.drawings.back() != number)) {
      found.drawings.push_back(number);
    }
    if (found.crowded.empty()) {
      const std::string crowded = QXTools::WhyCrowded(heavy);
      if (!crowded.empty()) found.crowded.emplace_back(number, crowded);
    }
    const std::optional<Frame> frame =
        arguments_.inPlace ? reference_.frame : QXTools::FindInertialFrame(conformer);
    if (!frame) return skip("its moments are not finite: check the coordinates");
    auto gaussians =
        QXHermiteMath::HeavyAtomsToGaussians(conformer, QXHermiteMath::kOverlayAtomRadius);
    QXHermiteMath::MoveInto(*frame, gaussians);
    QXHermite expansion;
    expansion.Setup(gaussians, reference_.expansion.GetOptions());
    found.held.back() = std::min(found.held.back(), QXTools::HeldShare(expansion, gaussians));
    QXHermiteMath::QXShapeFit shape{{}, QXTools::AtScaleOf(reference_, expansion)};
    shape.gaussians = std::move(gaussians);
    if (charge_) {
      QXTools::MoveInto(*frame, moved);
      moved.GetActive()->DeleteData(kShapeTag);
      moved.GetActive()->DeleteData(kChargeTag);
      moved.GetActive()->DeleteData(kPlaceTag);
      moved.GetActive()->SetData(kPlaceTag,
                                 std::vector<double>{static_cast<double>(conformers.size())});
    }
    conformers.push_back({place, *frame, std::move(moved), std::move(shape)});
  });
  return conformers;
}

std::vector<FoundPose> ShapeSearch::ByShape(std::vector<Conformer>& conformers) {
  const bool exact = !reference_.gaussians.empty();
  std::vector<QXHermiteMath::QXShapeFit> fits;
  for (Conformer& conformer : conformers) fits.push_back(std::move(conformer.fit));
  std::vector<FoundPose> poses;
  for (const QXShapePose& found : screen_->FindPoses(fits, arguments_.poses)) {
    FoundPose& pose = poses.emplace_back();
    pose.conformer = found.conformer;
    pose.transform = Rows(WayIn(reference_.frame).inverse() * MotionOf(found) *
                          WayIn(conformers[found.conformer].frame));
    pose.tanimoto = found.tanimoto;
    pose.exactTanimoto = found.exactTanimoto;
    pose.score = exact && arguments_.polish > 0 ? found.exactTanimoto : found.tanimoto;
  }
  return poses;
}

std::vector<FoundPose> ShapeSearch::ByShapeAndCharge(const std::vector<Conformer>& conformers) {
  QXMol work(conformers.front().mol);
  for (size_t i = 1; i < conformers.size(); ++i) work.NewConf(conformers[i].mol.GetActive());
  QXMol moved;
  charge_->FindBestOverlay(work, arguments_.poses, moved);
  std::vector<FoundPose> poses;
  ForEachConformer(moved, [&](const QXConfBase& conformer, size_t) {
    FoundPose& pose = poses.emplace_back();
    pose.conformer = static_cast<size_t>(conformer.GetData<std::vector<double>>(kPlaceTag).front());
    const Conformer& from = conformers[pose.conformer];
    pose.transform = Rows(WayIn(reference_.frame).inverse() * MotionBetween(from.mol, conformer) *
                          WayIn(from.frame));
    pose.score = TextAsNumber(conformer, QXTools::kComboText);
    pose.tanimoto = TextAsNumber(conformer, QXTools::kShapeText);
    pose.chargeTanimoto = TextAsNumber(conformer, QXTools::kChargeText);
  });
  return poses;
}

FoundPoses ShapeSearch::Find(const std::vector<const QXMol*>& fits) {
  FoundPoses found;
  for (size_t number = 0; number < fits.size(); ++number) {
    found.held.push_back(1.0);
    if (fits[number]->NumConfs() == 0) {
      found.skipped.push_back({number, 0, "has no atoms: give a molecule"});
      continue;
    }
    std::vector<Conformer> conformers = InFrame(*fits[number], number, found);
    if (conformers.empty()) continue;
    for (FoundPose& pose : charge_ ? ByShapeAndCharge(conformers) : ByShape(conformers)) {
      pose.fit = number;
      pose.conformer = conformers[pose.conformer].number;
      if (std::isfinite(pose.score)) {
        found.poses.push_back(pose);
      } else {
        found.skipped.push_back({number, pose.conformer,
                                 "its overlay gave no number: check the coordinates and widths"});
      }
    }
  }
  return found;
}

FoundPoses ShapeSearch::Find(const std::vector<const QXScalarGrid*>& fits) {
  FoundPoses found;
  const QXHermiteMath::QXHermiteOptions& options = GetOptions();
  QXHermiteMath::QXHermiteShapeOverlay overlay(arguments_.tolerance, arguments_.maxIterations,
                                               options.GetLambdaX(), options.GetNPolyMax(), false,
                                               0.5, 20.0);
  overlay.SetupRef(reference_.expansion.GetCoefficients(), {});
  QXTools::Reference scaled = reference_;
  scaled.matchScale = true;
  for (size_t number = 0; number < fits.size(); ++number) {
    QXScalarGrid grid(*fits[number]);
    QXTools::CutPeaks(grid, arguments_.gridShare);
    const Frame frame = arguments_.inPlace ? reference_.frame : QXTools::FindInertialFrame(grid);
    const QXHermite expansion = QXTools::ExpandInFrame(grid, frame, options);
    found.held.push_back(expansion.GetSelfOverlap() / QXTools::SelfOverlap(grid));
    const auto best = overlay.FindBestStart(QXTools::AtScaleOf(scaled, expansion), true, false);
    if (!(best.tanimoto > 0.0)) {
      found.skipped.push_back({number, 0, "it does not overlap with the reference"});
      continue;
    }
    double rotation[9], shift[3];
    best.GetTransform().Extract(rotation, shift, true);
    FoundPose& pose = found.poses.emplace_back();
    pose.fit = number;
    pose.transform =
        Rows(WayIn(reference_.frame).inverse() *
             Motion(MatrixOf(rotation), Eigen::Map<const Eigen::Vector3d>(shift)) * WayIn(frame));
    pose.score = pose.tanimoto = best.tanimoto;
  }
  return found;
}

}  // namespace QXPython
