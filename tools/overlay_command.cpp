// `qxhermite overlay`: lays every molecule of the fit files over the reference and writes the best
// poses, in the coordinates of the reference and in order of falling score.

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>
#include <numeric>
#include <optional>
#include <utility>

#include "hermite/expansion/mol_to_gaussians.h"
#include "hermite/overlay/shape_overlay.h"
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
#include "tools/record.h"
#include "tools/records_folder.h"
#include "tools/reference.h"

namespace QXTools {
namespace {

using QXHermiteMath::QXShapeOverlay;
using QXMolKit::QXConfBase;
using QXMolKit::QXMol;

/// A pose does not lie in the plane any more, where the wedges told the stereochemistry.
constexpr const char* kFitDrawingWarning =
    "all z are zero, it looks like a drawing, whose wedge bonds mean nothing once it is turned in "
    "space: make 3-D coordinates, unless the molecule is flat";
constexpr const char* kScoreTag = "Shape Tanimoto";
/// Under the empty tag QXShapeOverlay finds the coefficients of a conformer ready-made.
constexpr const char* kCoefficientTag = "";
/// On a conformer: its place in its molecule, by which a pose tells where it came from.
constexpr const char* kPlaceTag = "qxhermite place";

/// One run of the command, from the reference to the ranking.
class OverlayRun {
 public:
  explicit OverlayRun(const OverlayArguments& arguments)
      : arguments_(arguments),
        records_(arguments.recordsFolder, console_),
        out_(arguments.output, console_),
        fitsAreGrids_(IsGridFile(arguments.fits.front())) {
    if (!arguments.csv.empty()) csv_.emplace(arguments.csv, console_);
  }
  ExitStatus Run();

 private:
  bool CanWrite();
  void OverlayFile(const std::string& path);
  void OverlayMolecule(const std::string& path, const MoleculeGroup& group);
  void OverlayGrid(const std::string& path);
  bool WriteMovedGrids();
  std::optional<QXMol> InFrame(const QXConfBase& conformer, const std::string& where, double& held);
  void KeepHits(const std::string& path, const MoleculeGroup& group, const QXMol& poses);
  bool WriteResults();
  void ReportSkipped();
  void Skip(const std::string& where, const std::string& reason);

  const OverlayArguments& arguments_;
  Console console_;
  RecordsFolder records_;
  OutputFile out_;
  std::optional<OutputFile> csv_;
  std::deque<OutputFile> further_;  ///< grids of rank 2 and on
  Reference reference_;
  std::unique_ptr<QXShapeOverlay> overlay_;
  std::vector<Hit> hits_;
  size_t recordsRead_ = 0;  ///< of the files that are done
  size_t recordsSkipped_ = 0;
  size_t filesSkipped_ = 0;
  size_t recordsLost_ = 0;  ///< `.qxb` records that could not be kept
  PoorlyHeld poorlyHeld_;
  bool sawDrawing_ = false;
  const bool fitsAreGrids_;
};

void OverlayRun::Skip(const std::string& where, const std::string& reason) {
  console_.Say(fmt::format("{}: {}", where, reason));
  ++recordsSkipped_;
}

bool OverlayRun::CanWrite() {
  if (!records_.Error().empty()) console_.Say(records_.Error());
  return records_.Error().empty() && out_.IsOpen() && (!csv_ || csv_->IsOpen());
}

/// A copy of one conformer in the frame of overlays with its coefficients attached, or nothing when
/// it is skipped. Lowers `held` to the share of its density that the coefficients hold.
std::optional<QXMol> OverlayRun::InFrame(const QXConfBase& conformer, const std::string& where,
                                         double& held) {
  QXMol heavy = HeavyAtoms(conformer);
  if (const std::string reason = WhyUnfit(heavy); !reason.empty()) {
    Skip(where, reason);
    return std::nullopt;
  }
  if (!sawDrawing_ && LooksLikeDrawing(heavy)) {
    sawDrawing_ = true;  // one warning: a whole file of drawings is one mistake
    console_.Say(fmt::format("{}: {}", where, kFitDrawingWarning));
  }
  const unsigned int degree = arguments_.expansion.GetNPolyMax();
  const std::optional<Frame> frame = arguments_.inPlace
                                         ? reference_.frame
                                         : FindInertialFrame(heavy, degree, reference_.frameLambda);
  if (!frame) {
    Skip(where, "its moments are not finite: check the coordinates");
    return std::nullopt;
  }
  QXMol moved(conformer, 1);
  MoveInto(*frame, moved);
  MoveInto(*frame, heavy);
  const auto gaussians = QXHermiteMath::QXMolToGaussians(heavy, QXHermiteMath::kOverlayAtomRadius);
  QXHermiteMath::QXHermite expansion;
  expansion.Setup(gaussians, reference_.expansion.GetOptions());
  held = std::min(held, HeldShare(expansion, gaussians));
  // A pose of an earlier run brings coefficients of its own along, perhaps of another type.
  moved.GetActive()->DeleteData(kCoefficientTag);
  moved.GetActive()->SetData(kCoefficientTag, AtScaleOf(reference_, expansion));
  return moved;
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

void OverlayRun::OverlayMolecule(const std::string& path, const MoleculeGroup& group) {
  const std::string title = group.mol.GetTitle();
  QXMol work;
  size_t place = 0;
  double held = 1.0;
  const std::unique_ptr<QXMolKit::QXIterator<QXConfBase>> confs(group.mol.GetConfs());
  for (; confs && confs->IsValid(); confs->Next(), ++place) {
    std::optional<QXMol> moved =
        InFrame(*confs->Get(), fmt::format("{}:{}", path, group.records[place]), held);
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
  poorlyHeld_.Note(title, held);

  const std::string workingTitle = records_.NextTitle(title);
  work.SetTitle(workingTitle);
  QXMol poses;
  overlay_->FindBestOverlay(work, arguments_.poses, poses);
  if (!records_.Finish(workingTitle, title)) ++recordsLost_;
  poses.SetTitle(title);
  KeepHits(path, group, poses);
}

void OverlayRun::KeepHits(const std::string& path, const MoleculeGroup& group, const QXMol& poses) {
  const std::unique_ptr<QXMolKit::QXIterator<QXConfBase>> confs(poses.GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) {
    QXMol pose(*confs->Get(), 1);
    QXConfBase& conformer = *pose.GetActive();
    const auto place =
        static_cast<size_t>(conformer.GetData<std::vector<double>>(kPlaceTag).front());
    const double score = std::strtod(QXMolKit::QXGetSDData(conformer, kScoreTag).c_str(), nullptr);
    conformer.DeleteData(kPlaceTag);
    conformer.DeleteData(kCoefficientTag);  // they are those of the frame of the overlay
    if (!std::isfinite(score)) {
      Skip(fmt::format("{}:{}", path, group.records[place]),
           "its overlay gave no number: check the coordinates and the widths");
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
    if (!WriteMovedGrid(hits_[rank - 1], file.TemporaryPath(), name)) return false;
  }
  return true;
}

bool OverlayRun::WriteResults() {
  SortHits(hits_);
  const bool written = fitsAreGrids_ ? WriteMovedGrids()
                                     : WritePoses(hits_, out_.TemporaryPath(), arguments_.output);
  if (!written) return false;
  if (csv_ && !WriteCsv(hits_, csv_->TemporaryPath())) {
    console_.Say(fmt::format("{}: cannot be written: is the disk full?", arguments_.csv));
    return false;
  }
  std::vector<OutputFile*> files = {&out_};
  if (csv_) files.push_back(&*csv_);
  for (OutputFile& file : further_) files.push_back(&file);
  return std::all_of(files.begin(), files.end(), [](OutputFile* file) { return file->Commit(); });
}

void OverlayRun::ReportSkipped() {
  const auto report = [&](size_t count, const char* one, const char* many) {
    if (count > 0) console_.Say(fmt::format("{} {}", count, count == 1 ? one : many));
  };
  report(recordsSkipped_, "record skipped", "records skipped");
  report(filesSkipped_, "file skipped", "files skipped");
  report(recordsLost_, ".qxb record not kept", ".qxb records not kept");
}

ExitStatus OverlayRun::Run() {
  if (!CanWrite()) return kNothingDone;
  std::optional<Reference> reference = MakeReference(arguments_, console_);
  if (!reference) {
    console_.Say("the reference could not be used: nothing was written");
    return kNothingDone;
  }
  reference_ = std::move(*reference);
  overlay_ = std::make_unique<QXShapeOverlay>(arguments_.tolerance, arguments_.maxIterations,
                                              reference_.expansion, WayBack(reference_.frame));

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
  if (!arguments_.quiet) std::fputs(HitsTable(hits_, arguments_.top).c_str(), stdout);
  if (!poorlyHeld_.IsEmpty()) console_.Say(poorlyHeld_.Warning(arguments_.inPlace));
  ReportSkipped();
  return recordsSkipped_ + filesSkipped_ + recordsLost_ > 0 ? kSomeSkipped : kAllWell;
}

class OverlayCommand : public Command {
 public:
  std::string Name() const override { return "overlay"; }
  std::string Brief() const override {
    return "Lays molecules or grids over a reference by shape and ranks them by Tanimoto.";
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
