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

bool IsTurnable(const QXHermiteOptions& options) {
  return options.GetLambdaX() == options.GetLambdaY() &&
         options.GetLambdaX() == options.GetLambdaZ();
}

std::optional<Reference> FromMolecule(const OverlayArguments& arguments, Console& console) {
  const std::string place = fmt::format("{}:{}", arguments.reference, arguments.referenceRecord);
  std::optional<QXMol> mol =
      ReadRecord(arguments.reference, arguments.referenceRecord, "--ref-record", console);
  if (!mol) return std::nullopt;
  const QXMol heavy = HeavyAtoms(*mol);
  if (WhyUnfit(heavy).empty()) {
    if (LooksLikeDrawing(heavy)) console.Say(fmt::format("{}: {}", place, kDrawingWarning));
    const std::string crowded = WhyCrowded(heavy);
    if (!crowded.empty()) console.Say(fmt::format("{}: {}", place, crowded));
    if (arguments.chargeWeight > 0.0 && arguments.ComputesCharges() &&
        !ComputeCharges(*mol, place, console))
      return std::nullopt;
  }
  std::string problem;
  std::optional<Reference> reference = ReferenceOf(std::move(*mol), arguments, problem);
  if (!reference) {
    console.Say(fmt::format("{}: {}", place, problem));
  } else if (!IsTurnable(reference->expansion.GetOptions())) {
    console.Say(
        fmt::format("{}: its three widths differ, so that turning a density is only "
                    "approximate: leave --UseSingleLambda true unless you need them",
                    place));
  }
  return reference;
}

std::optional<Reference> FromGrid(const OverlayArguments& arguments, Console& console) {
  const std::optional<QXCore::QXScalarGrid> grid = ReadDensityGrid(arguments.reference, console);
  if (!grid) return std::nullopt;
  std::string problem;
  double held = 1.0;
  std::optional<Reference> reference = ReferenceOf(*grid, arguments, problem, held);
  if (!reference) {
    console.Say(fmt::format("{}: {}", arguments.reference, problem));
    return std::nullopt;
  }
  WarnOfPoorExpansion(arguments.reference, held, console);
  return reference;
}

}  // namespace

std::optional<Reference> ReferenceOf(QXMol mol, const OverlayArguments& arguments,
                                     std::string& problem) {
  const auto refuse = [&](std::string reason) {
    problem = std::move(reason);
    return std::nullopt;
  };
  QXMol heavy = HeavyAtoms(mol);
  if (std::string reason = WhyUnfit(heavy); !reason.empty()) return refuse(std::move(reason));
  const bool charged = arguments.chargeWeight > 0.0;
  if (charged) {
    std::string reason = WhyUncharged(mol, arguments.ComputesCharges());
    if (!reason.empty()) return refuse(std::move(reason));
  }
  Reference reference;
  reference.frame.centre = CentreOf(heavy);
  if (!arguments.inPlace) {
    const auto frame = FindInertialFrame(heavy);
    if (!frame) return refuse("its moments are not finite: check the coordinates");
    reference.frame = *frame;
  }
  MoveInto(reference.frame, heavy);
  reference.gaussians = QXHermiteMath::QXMolToGaussians(heavy, QXHermiteMath::kOverlayAtomRadius);
  if (!FixWidths(Expand(heavy, arguments.expansion), reference.expansion)) return refuse(kNoNorm);
  if (charged) {
    MoveInto(reference.frame, mol);
    const QXHermite charge = ExpandCharge(mol, arguments.chargeSigma, arguments.expansion);
    if (!FixWidths(charge, reference.charge.emplace())) return refuse(kNoChargeNorm);
  }
  return reference;
}

std::optional<Reference> ReferenceOf(QXCore::QXScalarGrid grid, const OverlayArguments& arguments,
                                     std::string& problem, double& held) {
  CutPeaks(grid, arguments.gridShare);
  Reference reference;
  reference.frame = FindInertialFrame(grid);
  if (arguments.inPlace) reference.frame = {.centre = reference.frame.centre};
  const QXHermite expansion = ExpandInFrame(
      grid, reference.frame, WithWidths(arguments.expansion, grid, reference.frame.centre));
  if (!FixWidths(expansion, reference.expansion)) {
    problem = kNoNorm;
    return std::nullopt;
  }
  held = expansion.GetSelfOverlap() / SelfOverlap(grid);
  return reference;
}

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
