#include "tools/shape_fit.h"

#include <memory>
#include <string>
#include <vector>

#include "hermite/overlay/overlay_results.h"
#include "hermite/overlay/overlay_search.h"
#include "hermite/overlay/tanimoto.h"
#include "tools/hits.h"

namespace QXTools {
namespace {

using QXHermiteMath::QXShapeFit;
using QXHermiteMath::QXShapePose;
using QXMolKit::QXConfBase;
using QXMolKit::QXMol;

QXHermiteMath::QXShapeScreenSettings SettingsOf(const OverlayArguments& arguments) {
  return {arguments.tolerance, arguments.maxIterations, arguments.starts, arguments.coarseDegree,
          arguments.polish};
}

}  // namespace

ShapeFit::ShapeFit(const OverlayArguments& arguments, const Reference& reference)
    : poses_(arguments.poses),
      withGaussians_(arguments.polish > 0),
      back_(WayBack(reference.frame)),
      screen_(reference.expansion, reference.gaussians, SettingsOf(arguments)) {}

QXMol ShapeFit::FindPoses(const QXMol& work, const char* coefficientTag) {
  std::vector<QXShapeFit> fits;
  std::vector<QXMol> conformers;
  const std::unique_ptr<QXMolKit::QXIterator<QXConfBase>> confs(work.GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) {
    const QXConfBase& conformer = *confs->Get();
    fits.push_back({{}, conformer.GetData<std::vector<double>>(coefficientTag)});
    if (withGaussians_) fits.back().gaussians = QXHermiteMath::GetHeavyAtomGaussians(conformer);
    conformers.emplace_back(conformer, 1);
  }
  QXMol poses;
  for (const QXShapePose& found : screen_.FindPoses(fits, poses_)) {
    QXMol start(conformers[found.conformer]);
    QXMolKit::QXRotate(start, QXHermiteMath::GetAxisTurns()[found.start].Matrix().data());
    QXMol pose = QXHermiteMath::FindPose(start, {found.x.begin(), found.x.end()});
    back_.Transform(pose.GetActive());
    QXMolKit::QXSetSDData(*pose.GetActive(), kShapeText, std::to_string(found.tanimoto));
    if (poses.NumConfs() == 0) {
      poses = std::move(pose);
    } else {
      poses.NewConf(pose.GetActive());
    }
  }
  return poses;
}

ExactScore::ExactScore(const Reference& reference)
    : exists_(!reference.gaussians.empty()), frame_(reference.frame) {
  overlap_.SetupRef(reference.gaussians);
}

double ExactScore::operator()(const QXMol& pose) {
  constexpr double kAsItLies[6] = {};
  QXMol inFrame(pose);
  MoveInto(frame_, inFrame);
  overlap_.Setup(QXHermiteMath::GetHeavyAtomGaussians(inFrame));
  return QXHermiteMath::TanimotoFromValue(overlap_(kAsItLies), overlap_.GetRefSelfOverlap(),
                                          overlap_.GetFitSelfOverlap());
}

}  // namespace QXTools
