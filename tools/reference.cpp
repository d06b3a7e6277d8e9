#include "tools/reference.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "hermite/expansion/mol_to_gaussians.h"
#include "hermite/overlay/shape_overlay.h"
#include "host/molkit/molstream.h"

namespace QXTools {
namespace {

using QXHermiteMath::QXHermite;
using QXHermiteMath::QXHermiteOptions;
using QXMolKit::QXMol;

bool AllEqual(const std::vector<double>& coordinates, size_t axis) {
  for (size_t i = axis; i < coordinates.size(); i += 3) {
    if (coordinates[i] != coordinates[axis]) return false;
  }
  return true;
}

std::optional<QXMol> ReadRecord(const std::string& path, unsigned int wanted, Console& console) {
  QXMolKit::qxmolistream in(path);
  if (!in) return std::nullopt;
  QXMol mol;
  while (QXMolKit::QXReadMolecule(in, mol)) {
    if (in.RecordNumber() == wanted) return mol;
    if (in.RecordNumber() > wanted) break;
  }
  if (in && in.RecordNumber() == 0) {
    console.Say(fmt::format("{}: {}", path, kNoMoleculeWarning));
    return std::nullopt;
  }
  const auto& skipped = in.SkippedRecords();
  const bool unreadable = std::any_of(skipped.begin(), skipped.end(),
                                      [&](const auto& one) { return one.record == wanted; });
  if (!unreadable) {  // otherwise the stream has said why
    console.Say(fmt::format("{}:{}: no such record, the file holds {}: choose another --ref-record",
                            path, wanted, in.RecordNumber()));
  }
  return std::nullopt;
}

QXHermite Expand(const QXMol& heavyAtoms, const QXHermiteOptions& options) {
  QXHermite expansion;
  expansion.Setup(QXHermiteMath::QXMolToGaussians(heavyAtoms, QXHermiteMath::kOverlayAtomRadius),
                  options);
  return expansion;
}

/// The best single width of a molecule: unlike three widths it does not depend on how the molecule
/// lay in its file, so frames are found with it.
double FindSingleLambda(const QXMol& heavyAtoms, QXHermiteOptions options) {
  options.SetUseSingleLambda(true);
  QXMol centred(heavyAtoms);
  MoveInto(Frame{.centre = CentreOf(centred)}, centred);
  return Expand(centred, options).GetOptions().GetLambdaX();
}

}  // namespace

std::string WhyUnfit(const QXMol& heavyAtoms) {
  if (heavyAtoms.NumAtoms() == 0)
    return "no heavy atoms: give a molecule with other atoms than hydrogen";
  const std::vector<double> coordinates = Coordinates(heavyAtoms);
  if (!std::ranges::all_of(coordinates, [](double x) { return std::isfinite(x); })) {
    return "a coordinate is not a finite number: correct it";
  }
  const bool onePoint =
      AllEqual(coordinates, 0) && AllEqual(coordinates, 1) && AllEqual(coordinates, 2);
  if (heavyAtoms.GetDimension() == 0 || (heavyAtoms.NumAtoms() > 1 && onePoint)) {
    return "no coordinates: give a structure in three dimensions";
  }
  return {};
}

bool LooksLikeDrawing(const QXMol& heavyAtoms) {
  const std::vector<double> coordinates = Coordinates(heavyAtoms);
  return heavyAtoms.NumAtoms() > 2 && coordinates[2] == 0.0 && AllEqual(coordinates, 2) &&
         !AllEqual(coordinates, 0) && !AllEqual(coordinates, 1);
}

std::optional<Reference> MakeReference(const OverlayArguments& arguments, Console& console) {
  const std::string place = fmt::format("{}:{}", arguments.reference, arguments.referenceRecord);
  const auto refuse = [&](const std::string& reason) {
    console.Say(fmt::format("{}: {}", place, reason));
    return std::nullopt;
  };
  const std::optional<QXMol> mol =
      ReadRecord(arguments.reference, arguments.referenceRecord, console);
  if (!mol) return std::nullopt;
  QXMol heavy = HeavyAtoms(*mol);
  if (const std::string reason = WhyUnfit(heavy); !reason.empty()) return refuse(reason);
  if (LooksLikeDrawing(heavy)) console.Say(fmt::format("{}: {}", place, kDrawingWarning));

  const QXHermiteOptions& options = arguments.expansion;
  Reference reference;
  reference.frameLambda = FindSingleLambda(heavy, options);
  reference.frame.centre = CentreOf(heavy);
  if (!arguments.inPlace) {
    const auto frame = FindInertialFrame(heavy, options.GetNPolyMax(), reference.frameLambda);
    if (!frame) return refuse("its moments are not finite: choose other widths");
    reference.frame = *frame;
  }
  MoveInto(reference.frame, heavy);
  const QXHermite expansion = Expand(heavy, options);
  if (!std::isfinite(expansion.GetSelfOverlap()) || expansion.GetSelfOverlap() <= 0.0) {
    return refuse("its expansion has no finite norm: choose other widths");
  }
  // Set up from coefficients, an expansion takes its widths for given ones. Every fit is expanded
  // with these options, so at the widths of the reference and not at widths of its own.
  reference.expansion.Setup(expansion.GetCoefficients(), expansion.GetOptions());
  const QXHermiteOptions& found = reference.expansion.GetOptions();
  if (found.GetLambdaX() != found.GetLambdaY() || found.GetLambdaX() != found.GetLambdaZ()) {
    console.Say(
        fmt::format("{}: its three widths differ, so that turning a density is only "
                    "approximate: leave --UseSingleLambda true unless you need them",
                    place));
  }
  return reference;
}

}  // namespace QXTools
