#include "tools/charge_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "hermite/charge/charge_density.h"
#include "host/grid/field_grid.h"
#include "tools/charge_potential.h"
#include "tools/drawn_bonds.h"
#include "tools/inertial_frame.h"
#include "tools/site_cube.h"

namespace QXTools {
namespace {

using Eigen::Vector3d;
using QXHermiteMath::QXHermiteChargeDensity;
using QXMolKit::QXMol;

constexpr unsigned int kDim = 48;       ///< elements of a field, an axis
constexpr double kMargin = 3.5;         ///< of a field around the sites, in angstrom
constexpr double kPotentialLevel = 15;  ///< kcal/mol/e
constexpr double kDensityLevel = 0.02;  ///< e/angstrom^3

QXMol MoleculeOf(unsigned int element, const std::vector<double>& places) {
  QXMol mol;
  for (size_t i = 0; i < places.size(); i += 3) mol.NewAtom(element);
  if (!places.empty()) mol.SetCoords(places.data());
  return mol;
}

/// The sites that have functions, as dummies.
QXMol ActiveSites(const QXHermiteChargeDensity& density) {
  const auto layout = density.GetParams();
  std::vector<double> places;
  for (unsigned int site = 0; site < layout.NumSites(); ++site) {
    if (density.GetActives(site).empty()) continue;
    const std::vector<double> center = layout.GetCenter(site);
    places.insert(places.end(), center.begin(), center.end());
  }
  return MoleculeOf(0, places);
}

/// The atoms that a density came from, or its sites.
QXMol ShownAtoms(const ChargeDensity& density) {
  return density.mol.NumAtoms() > 0 ? WithBonds(density.mol) : ActiveSites(density.density);
}

/// A cube of zeros around the sites.
QXCore::QXScalarGrid CubeAround(const QXHermiteChargeDensity& density) {
  const SiteCube cube = CubeOfSites(density.GetParams());
  QXCore::QXScalarGrid grid;
  grid.SetDim(kDim, kDim, kDim);
  grid.SetSpacing(static_cast<float>((cube.width + 2.0 * kMargin) / kDim));
  grid.SetMid(static_cast<float>(cube.centre[0]), static_cast<float>(cube.centre[1]),
              static_cast<float>(cube.centre[2]));
  return grid;
}

ReportField PotentialOf(const QXHermiteChargeDensity& density) {
  ReportField field{.name = "Potential",
                    .unit = "kcal/mol/e",
                    .grid = CubeAround(density),
                    .level = kPotentialLevel,
                    .bothSigns = true};
  std::vector<double> places;
  QXCore::QXForEachElement(field.grid, [&](float, double x, double y, double z) {
    places.insert(places.end(), {x, y, z});
  });
  const std::vector<double> values = ChargePotential(density).Potential(places);
  std::transform(values.begin(), values.end(), field.grid.GetValues(),
                 [](double value) { return static_cast<float>(value); });
  return field;
}

ReportField ChargeOf(const QXHermiteChargeDensity& density) {
  ReportField field{.name = "Charge density",
                    .unit = "e/\u00c5\u00b3",
                    .grid = CubeAround(density),
                    .level = kDensityLevel,
                    .bothSigns = true};
  density.WithSpareDegree().EvaluateOnGrid(field.grid);
  return field;
}

QXMol Moved(const QXMol& mol, const Motion& motion) {
  std::vector<double> places = Coordinates(mol);
  for (size_t i = 0; i < places.size(); i += 3) {
    const Vector3d moved = motion.rotation * Vector3d::Map(&places[i]) + motion.translation;
    Vector3d::Map(&places[i]) = moved;
  }
  QXMol copy(mol);
  copy.SetCoords(places.data());
  return copy;
}

std::string NameOf(const std::string& title, const char* otherwise) {
  return title.empty() ? otherwise : title;
}

}  // namespace

Report ReportOfPath(const ElectrostaticPath& path, const ElectrostaticData& data) {
  Report report;
  report.title = "Charge density of " + NameOf(data.title, "a molecule");
  report.rowName = "step";
  report.allHydrogens = true;
  report.referenceName = NameOf(data.title, "Atoms");
  report.reference = WithBonds(data.mol);

  ReportColumn names{.name = "Step"}, functions{.name = "Functions", .decimals = 0};
  ReportColumn sites{.name = "Sites", .decimals = 0};
  ReportColumn charge{.name = "Charge", .unit = "e", .decimals = 4};
  const char* const unit = "relative";
  ReportColumn errors[] = {{.name = "Fitted V", .unit = unit, .decimals = 4},
                           {.name = "Fitted E", .unit = unit, .decimals = 4},
                           {.name = "Held-out V", .unit = unit, .decimals = 4},
                           {.name = "Held-out E", .unit = unit, .decimals = 4}};
  for (const ElectrostaticStep& step : path.Steps()) {
    const bool isChosen = &step == &path.Chosen();
    if (isChosen) report.chosen = names.texts.size();
    names.texts.push_back(
        fmt::format("step {}{}", names.texts.size() + 1, isChosen ? ", chosen" : ""));
    functions.numbers.push_back(step.functions);
    report.poses.push_back(ActiveSites(step.density));
    sites.numbers.push_back(report.poses.back().NumAtoms());
    charge.numbers.push_back(step.density.TotalCharge());
    const double values[] = {step.fitted.potential, step.fitted.field, step.heldOut.potential,
                             step.heldOut.field};
    for (size_t i = 0; i < std::size(values); ++i) errors[i].numbers.push_back(values[i]);
  }
  report.fields = {PotentialOf(path.Chosen().density), ChargeOf(path.Chosen().density)};
  for (ReportField& field : report.fields) {
    field.name += fmt::format(" of step {}", report.chosen + 1);
    field.row = report.chosen;
  }
  report.columns = {std::move(names), std::move(functions), std::move(sites), std::move(charge)};
  report.curve = ReportCurve{.x = 1, .y = {}};
  for (ReportColumn& error : errors) {
    if (std::all_of(error.numbers.begin(), error.numbers.end(),
                    [](double e) { return std::isnan(e); }))
      continue;
    report.curve->y.push_back(report.columns.size());
    report.columns.push_back(std::move(error));
  }
  return report;
}

Report ReportOfDensity(const ChargeDensity& density) {
  Report report;
  report.title = "Potential of " + NameOf(density.title, "a charge density");
  report.rowName = "site";
  report.allHydrogens = true;
  report.referenceName = NameOf(density.title, "Atoms");
  report.reference = ShownAtoms(density);
  report.fields = {PotentialOf(density.density), ChargeOf(density.density)};
  ReportColumn names{.name = "Site"}, functions{.name = "Functions", .decimals = 0};
  ReportColumn degree{.name = "Degree", .decimals = 0}, width{.name = "Width", .unit = "1/\u00c5"};
  const auto layout = density.density.GetParams();
  for (unsigned int site = 0; site < layout.NumSites(); ++site) {
    const auto actives = density.density.GetActives(site);
    if (actives.empty()) continue;
    names.texts.push_back(fmt::format("site {}", site + 1));
    functions.numbers.push_back(static_cast<double>(actives.size()));
    degree.numbers.push_back(layout.GetNPolyMax(site));
    width.numbers.push_back(layout.GetLambda(site));
    report.poses.push_back(MoleculeOf(0, layout.GetCenter(site)));
  }
  report.columns = {std::move(names), std::move(functions), std::move(degree), std::move(width)};
  return report;
}

Report ReportOfScan(const ChargeDensity& a, const ChargeDensity& b, const EnergyScan& scan) {
  Report report;
  report.title = NameOf(b.title, "B") + " around " + NameOf(a.title, "A");
  report.rowName = "place";
  report.allHydrogens = true;
  report.referenceName = NameOf(a.title, "A");
  report.reference = ShownAtoms(a);
  report.fields = {PotentialOf(a.density)};
  const size_t rows = std::min(scan.values.size(), kMostReportRows);
  const auto first = [rows](const std::vector<double>& values) {
    return std::vector<double>(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(rows));
  };
  ReportColumn names{.name = "Place"};
  const QXMol moving = ShownAtoms(b);
  for (size_t i = 0; i < rows; ++i) {
    names.texts.push_back(
        fmt::format("{} by {:.10g} {}", scan.coordinate, scan.values[i], scan.unit));
    report.poses.push_back(Moved(moving, scan.motions[i]));
  }
  report.columns = {
      std::move(names),
      {.name = scan.coordinate, .unit = scan.unit, .numbers = first(scan.values)},
      {.name = "Energy", .unit = "kcal/mol", .decimals = 4, .numbers = first(scan.energies)}};
  report.curve = ReportCurve{.x = 1, .y = {2}};
  report.score = 2;
  return report;
}

}  // namespace QXTools
