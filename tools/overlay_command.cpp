// `qxhermite overlay`: lays every molecule of the fit files over the reference and writes the best
// poses, in the coordinates of the reference and in order of falling score.

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <limits>
#include <memory>
#include <numeric>
#include <optional>
#include <utility>

#include "hermite/expansion/mol_to_gaussians.h"
#include "hermite/overlay/shape_charge_overlay.h"
#include "hermite/overlay/shape_overlay.h"
#include "host/molkit/molstream.h"
#include "tools/command.h"
#include "tools/console.h"
#include "tools/coverage.h"
#include "tools/grid_density.h"
#include "tools/grid_fit.h"
#include "tools/hits.h"
#include "tools/interrupt.h"
#include "tools/molecule_groups.h"
#include "tools/output_file.h"
#include "tools/overlay_arguments.h"
#include "tools/partial_charges.h"
#include "tools/record.h"
#include "tools/records_folder.h"
#include "tools/reference.h"
#include "tools/report_poses.h"
#include "tools/shape_fit.h"

namespace QXTools {
namespace {

using QXHermiteMath::QXShapeChargeOverlay;
using QXHermiteMath::QXShapeOverlay;
using QXMolKit::QXConfBase;
using QXMolKit::QXMol;

/// A pose does not lie in the plane any more, where the wedges told the stereochemistry.
constexpr const char* kFitDrawingWarning =
    "all z are zero, it looks like a drawing, whose wedge bonds mean nothing once it is turned in "
    "space: make 3-D coordinates, unless the molecule is flat";
/// Under these tags the overlays find the coefficients of a conformer ready-made; QXShapeOverlay
/// has no other tag than the empty one.
constexpr const char* kCoefficientTag = "";
constexpr const char* kChargeTag = "qxhermite charge";
/// On a conformer: its place in its molecule, by which a pose tells where it came from.
constexpr const char* kPlaceTag = "qxhermite place";

/// The smallest shares of a molecule's densities that the expansions of its conformers hold.
struct Held {
  double shape = 1.0;
  double charge = 1.0;
};

/// A molecule has one set of charges, which its conformers may differ in: gives a pose those of the
/// conformer that it came from. Returns the place of that conformer.
size_t RestoreCharges(const MoleculeGroup& group, QXMol& pose) {
  const double place = pose.GetActive()->GetData<std::vector<double>>(kPlaceTag).front();
  SetPartialCharges(group.charges[static_cast<size_t>(place)], pose);
  return static_cast<size_t>(place);
}

/// One run of the command, from the reference to the ranking.
class OverlayRun {
 public:
  explicit OverlayRun(const OverlayArguments& arguments)
      : arguments_(arguments),
        out_(arguments.output, console_),
        fitsAreGrids_(IsGridFile(arguments.fits.front())) {
    if (!arguments.csv.empty()) csv_.emplace(arguments.csv, console_);
    if (!arguments.report.empty()) report_.emplace(arguments.report, console_);
    if (!arguments.recordsFolder.empty()) records_.emplace(arguments.recordsFolder, console_);
  }
  ExitStatus Run();

 private:
  bool CanWrite();
  void OverlayFile(const std::string& path);
  void OverlayMolecule(const std::string& path, MoleculeGroup& group);
  void OverlayGrid(const std::string& path);
  bool WriteMovedGrids();
  bool MakeCharges(const std::string& path, MoleculeGroup& group);
  std::optional<QXMol> InFrame(const QXConfBase& conformer, const std::vector<double>& charges,
                               const std::string& where, Held& held);
  void AddCharge(QXMol& moved, Held& held) const;
  QXMol FindPoses(const MoleculeGroup& group, QXMol& work);
  Ranking GetRanking() const;
  double Score(QXMol& pose);
  QXMol FindRecordedPoses(const MoleculeGroup& group, QXMol& work);
  QXMol FindChargePoses(const QXMol& work, const std::string& record);
  void MakeOverlay();
  void KeepHits(const std::string& path, const MoleculeGroup& group, const QXMol& poses);
  bool WriteReport();
  bool WriteResults();
  std::vector<std::string> PoorExpansions() const;  ///< warnings of them
  void ReportSkipped();
  void Skip(const std::string& where, const std::string& reason);

  const OverlayArguments& arguments_;
  Console console_;
  std::optional<RecordsFolder> records_;
  OutputFile out_;
  std::optional<OutputFile> csv_;
  std::optional<OutputFile> report_;
  std::deque<OutputFile> further_;  ///< grids of rank 2 and on
  Reference reference_;
  std::optional<ShapeFit> shapeFit_;
  std::optional<ExactScore> exactScore_;
  std::unique_ptr<QXShapeOverlay> overlay_;  ///< writes records, where they are asked for
  std::unique_ptr<QXShapeChargeOverlay> chargeOverlay_;  ///< instead, where charge is weighed
  std::vector<Hit> hits_;
  std::vector<QXCore::QXScalarGrid> movedGrids_;  ///< of the first hits, for the report
  size_t recordsRead_ = 0;                        ///< of the files that are done
  size_t recordsSkipped_ = 0;
  size_t filesSkipped_ = 0;
  size_t recordsLost_ = 0;  ///< `.qxb` records that could not be kept
  PoorlyHeld poorlyHeld_;
  PoorlyHeld chargePoorlyHeld_;
  bool sawDrawing_ = false;
  bool sawCrowded_ = false;
  const bool fitsAreGrids_;
};

void OverlayRun::Skip(const std::string& where, const std::string& reason) {
  console_.Say(fmt::format("{}: {}", where, reason));
  ++recordsSkipped_;
}

bool OverlayRun::CanWrite() {
  const std::string error = records_ ? records_->Error() : "";
  if (!error.empty()) console_.Say(error);
  return error.empty() && out_.IsOpen() && (!csv_ || csv_->IsOpen()) &&
         (!report_ || report_->IsOpen());
}

/// Computes the charges where that is asked for. False when they are impossible.
bool OverlayRun::MakeCharges(const std::string& path, MoleculeGroup& group) {
  if (!arguments_.ComputesCharges() || group.records.empty()) return true;
  std::string where = fmt::format("{}:{}", path, group.records.front());
  if (group.records.back() > group.records.front())
    where += fmt::format("-{}", group.records.back());
  if (!ComputeCharges(group.mol, where, console_)) {
    recordsSkipped_ += group.records.size();
    return false;
  }
  group.charges.assign(group.records.size(), GetPartialCharges(group.mol));
  return true;
}

/// A copy of one conformer in the frame of overlays with its coefficients attached, or nothing when
/// it is skipped. Lowers `held` to the shares that the coefficients hold.
std::optional<QXMol> OverlayRun::InFrame(const QXConfBase& conformer,
                                         const std::vector<double>& charges,
                                         const std::string& where, Held& held) {
  QXMol heavy = HeavyAtoms(conformer);
  if (const std::string reason = WhyUnfit(heavy); !reason.empty()) {
    Skip(where, reason);
    return std::nullopt;
  }
  QXMol moved(conformer, 1);
  SetPartialCharges(charges, moved);
  if (reference_.charge) {
    if (const std::string reason = WhyUncharged(moved, arguments_.ComputesCharges());
        !reason.empty()) {
      Skip(where, reason);
      return std::nullopt;
    }
  }
  if (!sawDrawing_ && LooksLikeDrawing(heavy)) {
    sawDrawing_ = true;  // one warning: a whole file of drawings is one mistake
    console_.Say(fmt::format("{}: {}", where, kFitDrawingWarning));
  }
  if (!sawCrowded_) {
    const std::string crowded = WhyCrowded(heavy);
    sawCrowded_ = !crowded.empty();
    if (sawCrowded_) console_.Say(fmt::format("{}: {}", where, crowded));
  }
  const std::optional<Frame> frame =
      arguments_.inPlace ? reference_.frame : FindInertialFrame(heavy);
  if (!frame) {
    Skip(where, "its moments are not finite: check the coordinates");
    return std::nullopt;
  }
  MoveInto(*frame, moved);
  MoveInto(*frame, heavy);
  const auto gaussians = QXHermiteMath::QXMolToGaussians(heavy, QXHermiteMath::kOverlayAtomRadius);
  QXHermiteMath::QXHermite expansion;
  expansion.Setup(gaussians, reference_.expansion.GetOptions());
  held.shape = std::min(held.shape, HeldShare(expansion, gaussians));
  // A pose of an earlier run brings coefficients of its own along, perhaps of another type.
  moved.GetActive()->DeleteData(kCoefficientTag);
  moved.GetActive()->SetData(kCoefficientTag, AtScaleOf(reference_, expansion));
  if (reference_.charge) AddCharge(moved, held);
  return moved;
}

/// Attaches the coefficients of the charge density too.
void OverlayRun::AddCharge(QXMol& moved, Held& held) const {
  const auto gaussians =
      QXHermiteMath::QXMolToElectroStaticGaussians(moved, arguments_.chargeSigma);
  QXHermiteMath::QXHermite expansion;
  expansion.Setup(gaussians, reference_.charge->GetOptions());
  held.charge = std::min(held.charge, HeldShare(expansion, gaussians));
  moved.GetActive()->DeleteData(kChargeTag);
  moved.GetActive()->SetData(kChargeTag, expansion.GetCoefficients());
}

void OverlayRun::OverlayGrid(const std::string& path) {
  ++recordsRead_;
  double held = 1.0;
  std::optional<Hit> hit = OverlayGridFile(path, arguments_, reference_, console_, held);
  if (!hit) {
    ++filesSkipped_;
    return;
  }
  poorlyHeld_.Note(hit->pose.GetTitle(), held);
  hits_.push_back(std::move(*hit));
}

void OverlayRun::OverlayMolecule(const std::string& path, MoleculeGroup& group) {
  if (!MakeCharges(path, group)) return;
  QXMol work;
  size_t place = 0;
  Held held;
  const std::unique_ptr<QXMolKit::QXIterator<QXConfBase>> confs(group.mol.GetConfs());
  for (; confs && confs->IsValid(); confs->Next(), ++place) {
    std::optional<QXMol> moved = InFrame(*confs->Get(), group.charges[place],
                                         fmt::format("{}:{}", path, group.records[place]), held);
    if (!moved) continue;
    moved->GetActive()->DeleteData(kPlaceTag);
    moved->GetActive()->SetData(kPlaceTag, std::vector<double>{static_cast<double>(place)});
    if (work.NumConfs() == 0) {
      work = std::move(*moved);
    } else {
      work.NewConf(moved->GetActive());
    }
  }
  if (work.NumConfs() == 0) return;
  poorlyHeld_.Note(work.GetTitle(), held.shape);
  chargePoorlyHeld_.Note(work.GetTitle(), held.charge);
  KeepHits(path, group, FindPoses(group, work));
}

QXMol OverlayRun::FindPoses(const MoleculeGroup& group, QXMol& work) {
  if (records_) return FindRecordedPoses(group, work);
  if (!chargeOverlay_) return shapeFit_->FindPoses(work, kCoefficientTag);
  QXMol poses;
  chargeOverlay_->FindBestOverlay(work, arguments_.poses, poses);
  return poses;
}

QXMol OverlayRun::FindRecordedPoses(const MoleculeGroup& group, QXMol& work) {
  const std::string title = work.GetTitle();
  const std::string workingTitle = records_->NextTitle(title);
  QXMol poses;
  if (chargeOverlay_) {
    poses = FindChargePoses(work, workingTitle + ".qxb");
  } else {
    QXMol recorded;
    work.SetTitle(workingTitle);
    overlay_->FindBestOverlay(work, 0, recorded);
    work.SetTitle(title);
    poses = shapeFit_->FindPoses(work, kCoefficientTag);
  }
  const auto complete = [&](QXMol& pose) {
    pose.SetTitle(title.c_str());
    RestoreCharges(group, pose);
  };
  if (!records_->Finish(workingTitle, complete)) ++recordsLost_;
  return poses;
}

/// The overlay by shape and charge keeps no record, so the poses that it found stand for it.
QXMol OverlayRun::FindChargePoses(const QXMol& work, const std::string& record) {
  constexpr unsigned int kAll = std::numeric_limits<unsigned int>::max();
  QXMol poses;
  chargeOverlay_->FindBestOverlay(work, kAll, poses);
  QXMol best;
  QXMolKit::qxmolostream out(record);
  const std::unique_ptr<QXMolKit::QXIterator<QXConfBase>> confs(poses.GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) {
    const QXMol pose(*confs->Get(), 1);
    QXMolKit::QXWriteMolecule(out, pose);
    if (best.NumConfs() == 0) {
      best = pose;
    } else if (best.NumConfs() < arguments_.poses) {
      best.NewConf(pose.GetActive());
    }
  }
  return best;
}

Ranking OverlayRun::GetRanking() const {
  if (reference_.charge) return Ranking::ByCombo;
  return exactScore_->Exists() && arguments_.polish > 0 ? Ranking::ByExactTanimoto
                                                        : Ranking::ByTanimoto;
}

/// The score by which a pose is ranked; tells the pose its exact one, where there is one.
double OverlayRun::Score(QXMol& pose) {
  QXConfBase& conformer = *pose.GetActive();
  QXMolKit::QXDeleteSDData(conformer, kExactText);
  if (exactScore_->Exists()) {
    QXMolKit::QXSetSDData(conformer, kExactText, std::to_string((*exactScore_)(pose)));
  }
  const Ranking ranking = GetRanking();
  const char* const tag = ranking == Ranking::ByCombo           ? kComboText
                          : ranking == Ranking::ByExactTanimoto ? kExactText
                                                                : kShapeText;
  return std::strtod(QXMolKit::QXGetSDData(conformer, tag).c_str(), nullptr);
}

void OverlayRun::KeepHits(const std::string& path, const MoleculeGroup& group, const QXMol& poses) {
  const std::unique_ptr<QXMolKit::QXIterator<QXConfBase>> confs(poses.GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) {
    QXMol pose(*confs->Get(), 1);
    QXConfBase& conformer = *pose.GetActive();
    const size_t place = RestoreCharges(group, pose);
    const double score = Score(pose);
    if (!reference_.charge) {  // what an earlier run told does not hold for this pose
      QXMolKit::QXDeleteSDData(conformer, kChargeText);
      QXMolKit::QXDeleteSDData(conformer, kComboText);
    }
    conformer.DeleteData(kPlaceTag);
    conformer.DeleteData(kCoefficientTag);  // they are those of the frame of the overlay
    if (!std::isfinite(score)) {
      Skip(fmt::format("{}:{}", path, group.records[place]),
           fmt::format("its overlay gave no number: check the coordinates{} the widths",
                       reference_.charge ? ", the charges and" : " and"));
      continue;
    }
    hits_.push_back(
        {score, path, group.records[place], static_cast<unsigned int>(place + 1), std::move(pose)});
  }
}

void OverlayRun::OverlayFile(const std::string& path) {
  GroupReader reader(path, arguments_.group);
  MoleculeGroup group;
  while (!Interrupted() && reader.Next(group)) {
    if (group.records.empty()) {
      Skip(fmt::format("{}:{}", path, reader.RecordsRead()), WhyUnfit(group.mol));
    }
    OverlayMolecule(path, group);
    console_.UpdateProgress(recordsRead_ + reader.RecordsRead());
  }
  if (Interrupted()) return;
  if (reader.IsOpen() && reader.RecordsRead() == 0) {
    console_.Say(fmt::format("{}: {}", path, kNoMoleculeWarning));
  }
  if (!reader.IsOpen() || reader.RecordsRead() == 0) ++filesSkipped_;
  recordsRead_ += reader.RecordsRead();
  recordsSkipped_ += reader.RecordsSkipped();
}

bool OverlayRun::WriteMovedGrids() {
  for (size_t rank = 1; rank <= hits_.size(); ++rank) {
    const std::string name = RankedName(arguments_.output, rank);
    if (rank > 1) further_.emplace_back(name, console_);
    const OutputFile& file = rank > 1 ? further_.back() : out_;
    if (!file.IsOpen()) return false;
    const std::optional<QXCore::QXScalarGrid> moved =
        WriteMovedGrid(hits_[rank - 1], file.TemporaryPath(), name);
    if (!moved) return false;
    if (report_ && rank <= kMostRowGrids) movedGrids_.push_back(Reduced(*moved));
  }
  return true;
}

bool OverlayRun::WriteReport() {
  std::vector<Hit> shown(hits_.begin(), hits_.begin() + std::min(hits_.size(), kMostReportRows));
  if (shown.size() < hits_.size()) {
    console_.Say(fmt::format("{}: the page shows the best {} of {} poses", arguments_.report,
                             shown.size(), hits_.size()));
  }
  Report report = ReportOfHits(shown);
  report.settings = arguments_.settings;
  if (!AddReference(report, arguments_.reference, arguments_.referenceRecord, "--ref-record",
                    console_)) {
    return false;
  }
  report.title =
      "Overlay on " + (report.fields.empty() ? report.referenceName : report.fields.front().name);
  for (size_t row = 0; row < movedGrids_.size(); ++row) AddRowGrid(report, row, movedGrids_[row]);
  if (fitsAreGrids_ && movedGrids_.size() < hits_.size()) {
    report.remarks.emplace_back(
        "Grids", fmt::format("{} of {}: the best ones", movedGrids_.size(), hits_.size()));
  }
  for (const std::string& warning : PoorExpansions())
    report.remarks.emplace_back("Beware", warning);
  if (QXTools::WriteReport(report, report_->TemporaryPath())) return true;
  console_.Say(fmt::format("{}: cannot be written: is the disk full?", arguments_.report));
  return false;
}

bool OverlayRun::WriteResults() {
  SortHits(hits_);
  const bool written = fitsAreGrids_ ? WriteMovedGrids()
                                     : WritePoses(hits_, out_.TemporaryPath(), arguments_.output);
  if (!written) return false;
  if (csv_ && !WriteCsv(hits_, csv_->TemporaryPath(), GetRanking())) {
    console_.Say(fmt::format("{}: cannot be written: is the disk full?", arguments_.csv));
    return false;
  }
  if (report_ && !WriteReport()) return false;
  std::vector<OutputFile*> files = {&out_};
  if (csv_) files.push_back(&*csv_);
  if (report_) files.push_back(&*report_);
  for (OutputFile& file : further_) files.push_back(&file);
  return std::all_of(files.begin(), files.end(), [](OutputFile* file) { return file->Commit(); });
}

std::vector<std::string> OverlayRun::PoorExpansions() const {
  const std::string inPlace = arguments_.inPlace ? " or leave out --in-place" : "";
  std::vector<std::string> warnings;
  if (!poorlyHeld_.IsEmpty()) {
    warnings.push_back(poorlyHeld_.Warning("raise --NPolyMax" + inPlace));
  }
  if (!chargePoorlyHeld_.IsEmpty()) {
    warnings.push_back(
        chargePoorlyHeld_.Warning("raise --NPolyMax or change --charge-sigma" + inPlace, true));
  }
  return warnings;
}

void OverlayRun::ReportSkipped() {
  const auto report = [&](size_t count, const char* one, const char* many) {
    if (count > 0) console_.Say(fmt::format("{} {}", count, count == 1 ? one : many));
  };
  report(recordsSkipped_, "record skipped", "records skipped");
  report(filesSkipped_, "file skipped", "files skipped");
  report(recordsLost_, ".qxb record not kept", ".qxb records not kept");
}

void OverlayRun::MakeOverlay() {
  const QXMolKit::QXTrans back = WayBack(reference_.frame);
  exactScore_.emplace(reference_);
  if (!reference_.charge) {
    shapeFit_.emplace(arguments_, reference_);
    if (records_) {
      overlay_ = std::make_unique<QXShapeOverlay>(arguments_.tolerance, arguments_.maxIterations,
                                                  reference_.expansion, back);
    }
    return;
  }
  QXMol expanded;
  expanded.SetData(kCoefficientTag, reference_.expansion.GetCoefficients());
  expanded.SetData(kChargeTag, reference_.charge->GetCoefficients());
  chargeOverlay_ = std::make_unique<QXShapeChargeOverlay>(
      arguments_.tolerance, arguments_.maxIterations, arguments_.chargeWeight,
      arguments_.chargeOffset, reference_.expansion.GetOptions(), reference_.charge->GetOptions(),
      arguments_.chargeSigma, expanded, back, kCoefficientTag, kChargeTag);
}

ExitStatus OverlayRun::Run() {
  if (!CanWrite()) return kNothingDone;
  std::optional<Reference> reference = MakeReference(arguments_, console_);
  if (!reference) {
    console_.Say("the reference could not be used: nothing was written");
    return kNothingDone;
  }
  reference_ = std::move(*reference);
  MakeOverlay();

  const bool progress = !arguments_.quiet && Console::IsTerminal();
  const auto count = [](size_t sum, const std::string& path) { return sum + CountRecords(path); };
  if (progress) {
    console_.StartProgress(
        std::accumulate(arguments_.fits.begin(), arguments_.fits.end(), size_t{0}, count));
  }
  for (const std::string& path : arguments_.fits) {
    if (fitsAreGrids_) {
      if (!Interrupted()) OverlayGrid(path);
      console_.UpdateProgress(recordsRead_);
    } else {
      OverlayFile(path);
    }
  }
  console_.EndProgress();
  if (WasInterrupted(console_)) return kNothingDone;
  if (hits_.empty()) {
    ReportSkipped();
    console_.Say("nothing could be overlaid: nothing was written");
    return kNothingDone;
  }
  if (!WriteResults()) return kNothingDone;
  // Who reads the table may have gone; the files are what counts.
  if (!arguments_.quiet) {
    std::fputs(HitsTable(hits_, arguments_.top, GetRanking()).c_str(), stdout);
  }
  for (const std::string& warning : PoorExpansions()) console_.Say(warning);
  ReportSkipped();
  return recordsSkipped_ + filesSkipped_ + recordsLost_ > 0 ? kSomeSkipped : kAllWell;
}

class OverlayCommand : public Command {
 public:
  std::string Name() const override { return "overlay"; }
  std::string Brief() const override {
    return "Lays molecules or grids over a reference, by shape or by shape and charge, and ranks "
           "them by Tanimoto.";
  }
  void Declare(CLI::App& app) override { DeclareOverlayArguments(app, arguments_); }
  std::string Check() const override { return CheckOverlayArguments(arguments_); }
  ExitStatus Run() override { return OverlayRun(arguments_).Run(); }

 private:
  OverlayArguments arguments_;
};

}  // namespace

std::unique_ptr<Command> MakeOverlayCommand() {
  return std::make_unique<OverlayCommand>();
}

}  // namespace QXTools
