#include "tools/electrostatic_fit.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "hermite/charge/pruned_lasso_charge_density.h"
#include "hermite/charge/relaxed_lasso_charge_density.h"
#include "tools/charge_potential.h"

namespace QXTools {

using QXHermiteMath::QXHermiteChargeDensity;
using QXHermiteMath::QXLassoChargeDensity;
using QXHermiteMath::QXLassoChargeDensityOptions;
using QXHermiteMath::QXMultiHermiteParameters;
using QXHermiteMath::QXPrunedLassoChargeDensity;
using QXHermiteMath::QXRelaxedLassoChargeDensity;

namespace {

double RelativeRms(const std::vector<double>& values, const std::vector<double>& truth) {
  double errors = 0.0, squares = 0.0;
  for (size_t i = 0; i < truth.size(); ++i) {
    errors += (values[i] - truth[i]) * (values[i] - truth[i]);
    squares += truth[i] * truth[i];
  }
  return squares > 0.0 ? std::sqrt(errors / squares) : NAN;
}

/// x, y, z of each point -> all x, all y, all z.
std::vector<double> ToBlocks(const std::vector<double>& triples) {
  const size_t count = triples.size() / 3;
  std::vector<double> blocks(triples.size());
  for (size_t i = 0; i < triples.size(); ++i) blocks[i / 3 + count * (i % 3)] = triples[i];
  return blocks;
}

/// Without the functions that have no weight.
QXHermiteChargeDensity OfActives(QXHermiteChargeDensity density) {
  density.SetCoefficients(density.GetDenseCoefficients());
  return density;
}

template <typename Stages>
ElectrostaticFit FitInStages(const std::vector<double>& points, const std::vector<double>& values,
                             const QXMultiHermiteParameters& layout,
                             const QXLassoChargeDensityOptions& options,
                             unsigned int mostFunctions) {
  const auto fit = std::make_shared<Stages>(layout, options);
  fit->FeatureSelection(points, values, mostFunctions);
  return {std::min(fit->MaxNumFeatures(), mostFunctions),
          [fit, points, values](unsigned int functions) {
            return OfActives(fit->FitChargeDensity(points, values, functions));
          }};
}

}  // namespace

ElectrostaticSample TakePoints(const ElectrostaticData& data, const std::vector<size_t>& places) {
  ElectrostaticSample sample;
  for (const size_t place : places) {
    sample.points.insert(sample.points.end(), &data.points[3 * place], &data.points[3 * place] + 3);
    if (!data.potential.empty()) sample.potential.push_back(data.potential[place]);
  }
  for (size_t axis = 0; axis < 3 && !data.field.empty(); ++axis) {
    for (const size_t place : places) {
      sample.field.push_back(data.field[axis * data.NumPoints() + place]);
    }
  }
  return sample;
}

RelativeErrors ErrorsOf(const QXHermiteChargeDensity& density, const ElectrostaticSample& sample) {
  ChargePotential potential(density);
  RelativeErrors errors{NAN, NAN};
  if (!sample.potential.empty()) {
    errors.potential = RelativeRms(potential.Potential(sample.points), sample.potential);
  }
  if (!sample.field.empty()) {
    errors.field = RelativeRms(ToBlocks(potential.Field(sample.points)), sample.field);
  }
  return errors;
}

ElectrostaticFit FitSample(const ElectrostaticSample& sample,
                           const QXMultiHermiteParameters& layout,
                           const QXLassoChargeDensityOptions& options, FitMethod method,
                           unsigned int mostFunctions) {
  std::vector<double> values;
  if (options.GetUsePotential()) values = sample.potential;
  if (options.GetUseElectricField()) {
    values.insert(values.end(), sample.field.begin(), sample.field.end());
  }
  if (method == FitMethod::Relaxed) {
    return FitInStages<QXRelaxedLassoChargeDensity>(sample.points, values, layout, options,
                                                    mostFunctions);
  }
  if (method == FitMethod::Pruned) {
    return FitInStages<QXPrunedLassoChargeDensity>(sample.points, values, layout, options,
                                                   mostFunctions);
  }
  const auto lasso = std::make_shared<QXLassoChargeDensity>(layout, options);
  lasso->PrepData(sample.points, values);
  // Functions leave the path again, so that more of them have to enter.
  lasso->Fit(mostFunctions > QXNumerics::QXLasso::kNoLimit / 2 ? mostFunctions : 2 * mostFunctions);
  const auto density = [lasso](unsigned int entered) {
    return OfActives(lasso->GetChargeDensity(entered));
  };
  unsigned int last = lasso->MaxNumActives();
  while (last > 0 && density(last).NumActives() > mostFunctions) --last;
  return {last, density};
}

}  // namespace QXTools
