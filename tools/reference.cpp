#include "tools/reference.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "hermite/expansion/mol_to_gaussians.h"
#include "hermite/overlay/shape_overlay.h"
#include "tools/grid_density.h"
#include "tools/partial_charges.h"
#include "tools/record.h"

namespace QXTools {
namespace {

using QXHermiteMath::QXHermite;
using QXHermiteMath::QXHermiteOptions;
using QXMolKit::QXMol;

QXHermite Expand(const QXMol& heavyAtoms, const QXHermiteOptions& options) {
  QXHermite expansion;
  expansion.Setup(QXHermiteMath::QXMolToGaussians(heavyAtoms, QXHermiteMath::kOverlayAtomRadius),
                  options);
  return expansion;
}

/// The charge density, whose origin is that of the shape: never a centre of its own.
QXHermite ExpandCharge(const QXMol& mol, double sigma, QXHermiteOptions options) {
  options.SetUseCenterOfMass(false);
  QXHermite expansion;
  expansion.Setup(QXHermiteMath::QXMolToElectroStaticGaussians(mol, sigma), options);
  return expansion;
}

/// From here on the widths of an expansion are given ones: every fit is expanded with these
/// options, so at the widths of the reference and not at widths of its own. False when the
/// expansion has no norm.
bool FixWidths(const QXHermite& found, QXHermite& fixed) {
  const double norm = found.GetSelfOverlap();
  fixed.Setup(found.GetCoefficients(), found.GetOptions());
  return std::isfinite(norm) && norm > 0.0;
}

constexpr const char* kNoNorm = "its expansion has no finite norm: check the values and the widths";
constexpr const char* kNoChargeNorm =
    "its charges have no expansion of finite norm: check the charges and the widths";

std::optional<Reference> FromMolecule(const OverlayArguments& arguments, Console& console) {
  const std::string place = fmt::format("{}:{}", arguments.reference, arguments.referenceRecord);
  const auto refuse = [&](const std::string& reason) {
    console.Say(fmt::format("{}: {}", place, reason));
    return std::nullopt;
  };
  std::optional<QXMol> mol =
      ReadRecord(arguments.reference, arguments.referenceRecord, "--ref-record", console);
  if (!mol) return std::nullopt;
  QXMol heavy = HeavyAtoms(*mol);
  if (const std::string reason = WhyUnfit(heavy); !reason.empty()) return refuse(reason);
  if (LooksLikeDrawing(heavy)) console.Say(fmt::format("{}: {}", place, kDrawingWarning));

  if (arguments.chargeWeight > 0.0) {
    if (arguments.ComputesCharges() && !ComputeCharges(*mol, place, console)) return std::nullopt;
    if (const std::string reason = WhyUncharged(*mol, arguments.ComputesCharges()); !reason.empty())
      return refuse(reason);
  }

  const QXHermiteOptions& options = arguments.expansion;
  Reference reference;
  reference.frame.centre = CentreOf(heavy);
  if (!arguments.inPlace) {
    const auto frame = FindInertialFrame(heavy);
    if (!frame) return refuse("its moments are not finite: check the coordinates");
    reference.frame = *frame;
  }
  MoveInto(reference.frame, heavy);
  reference.gaussians = QXHermiteMath::QXMolToGaussians(heavy, QXHermiteMath::kOverlayAtomRadius);
  if (!FixWidths(Expand(heavy, options), reference.expansion)) return refuse(kNoNorm);
  if (arguments.chargeWeight > 0.0) {
    MoveInto(reference.frame, *mol);
    const QXHermite charge = ExpandCharge(*mol, arguments.chargeSigma, options);
    if (!FixWidths(charge, reference.charge.emplace())) return refuse(kNoChargeNorm);
  }
  const QXHermiteOptions& found = reference.expansion.GetOptions();
  if (found.GetLambdaX() != found.GetLambdaY() || found.GetLambdaX() != found.GetLambdaZ()) {
    console.Say(
        fmt::format("{}: its three widths differ, so that turning a density is only "
                    "approximate: leave --UseSingleLambda true unless you need them",
                    place));
  }
  return reference;
}

std::optional<Reference> FromGrid(const OverlayArguments& arguments, Console& console) {
  std::optional<QXCore::QXScalarGrid> grid = ReadDensityGrid(arguments.reference, console);
  if (!grid) return std::nullopt;
  CutPeaks(*grid, arguments.gridShare);
  Reference reference;
  reference.frame = FindInertialFrame(*grid);
  if (arguments.inPlace) reference.frame = {.centre = reference.frame.centre};
  const QXHermite expansion = ExpandInFrame(
      *grid, reference.frame, WithWidths(arguments.expansion, *grid, reference.frame.centre));
  if (!FixWidths(expansion, reference.expansion)) {
    console.Say(fmt::format("{}: {}", arguments.reference, kNoNorm));
    return std::nullopt;
  }
  WarnOfPoorExpansion(arguments.reference, expansion.GetSelfOverlap() / SelfOverlap(*grid),
                      console);
  return reference;
}

}  // namespace

std::optional<Reference> MakeReference(const OverlayArguments& arguments, Console& console) {
  std::optional<Reference> reference = IsGridFile(arguments.reference)
                                           ? FromGrid(arguments, console)
                                           : FromMolecule(arguments, console);
  if (reference) reference->matchScale = HasGrid(arguments);
  return reference;
}

std::vector<double> AtScaleOf(const Reference& reference, const QXHermite& fit) {
  std::vector<double> coefficients = fit.GetCoefficients();
  if (!reference.matchScale) return coefficients;
  const double scale = std::sqrt(reference.expansion.GetSelfOverlap() / fit.GetSelfOverlap());
  for (double& value : coefficients) value *= scale;
  return coefficients;
}

}  // namespace QXTools
