#include "hermite/charge/lasso_charge_density.h"

#include <algorithm>
#include <memory>

#include "hermite/charge/electrostatics_design.h"
#include "hermite/multihermite/design_matrix.h"
#include "host/core/throw.h"

namespace QXHermiteMath {

using QXCore::QXThrow;

QXLassoChargeDensityOptions::QXLassoChargeDensityOptions()
    : QXOptions("Hermite Lasso Fit Options", kNumParameters, 0) {
  const auto add = [this](Place place, const char* option, const char* brief) {
    auto parameter = std::make_unique<QXBoolParameter>(option, true);
    parameter->SetBrief(brief);
    parameter->AddLegalRange("true", "false");
    SetParameter(place, std::move(parameter));
  };
  add(kUsePotential, "-UsePotential",
      "When True a Hermite charge density will be fitted to the electrostatic potential.");
  add(kUseElectricField, "-UseElectricField",
      "When True a Hermite charge density will be fitted to the electric field.");
  add(kUseNeutralCharge, "-UseNeutralCharge", "When True imposes zero total charge constraint.");
}

QXOptions* QXLassoChargeDensityOptions::CreateCopy() const {
  return new QXLassoChargeDensityOptions(*this);
}

QXLassoChargeDensity::QXLassoChargeDensity(QXMultiHermiteParameters const& newParams,
                                           QXLassoChargeDensityOptions const& newOptions)
    : params(newParams), options(newOptions), candidates(FullActivesList(newParams.NumBasis())) {}

QXLassoChargeDensity::QXLassoChargeDensity(QXMultiHermiteParameters const& newParams,
                                           QXLassoChargeDensityOptions const& newOptions,
                                           std::vector<unsigned int> const& actives)
    : params(newParams), options(newOptions), candidates(actives) {
  // In the order of the columns: site by site, see HermiteElectrostaticsDesignMatrix.
  std::sort(candidates.begin(), candidates.end());
}

bool QXLassoChargeDensity::PrepData(std::vector<double> const& points,
                                    std::vector<double> const& values) {
  const bool potential = options.GetUsePotential(), field = options.GetUseElectricField();
  if (!potential && !field) {
    QXThrow.Fatal("Cannot build model. Potential/Electric Field not set");
    return false;
  }
  if (options.GetUseNeutralCharge()) RemoveChargedActives();
  designMatrix = HermiteElectrostaticsDesignMatrix(points, params, candidates);
  targetValues = Eigen::VectorXd::Map(values.data(), static_cast<Eigen::Index>(values.size()));
  const Eigen::Index numPoints = designMatrix.rows() / 4;
  if (!field) designMatrix = designMatrix.topRows(numPoints).eval();
  if (!potential) designMatrix = designMatrix.bottomRows(3 * numPoints).eval();
  columnNorms = NormalizeDesignMatrix(designMatrix);
  return true;
}

bool QXLassoChargeDensity::PrepData(QXMol const& mol) {
  using Data = std::vector<double>;
  if (!mol.HasData("grid")) {
    QXThrow.Fatal("Grid data on molecule not found.");
    return false;
  }
  Data values;
  const auto append = [&](const char* name) {
    Data const& more = mol.GetData<Data>(name);
    values.insert(values.end(), more.begin(), more.end());
  };
  if (options.GetUsePotential()) {
    if (!mol.HasData("potential")) {
      QXThrow.Fatal("Potential data on molecule not found.");
      return false;
    }
    append("potential");
  }
  if (options.GetUseElectricField()) {
    if (!mol.HasData("electric field")) {
      QXThrow.Fatal("Electric field data on molecule not found.");
      return false;
    }
    append("electric field");
  }
  if (!options.GetUsePotential() && !options.GetUseElectricField()) {
    // With a full stop, which the same report of the other form lacks: on purpose.
    QXThrow.Fatal("Cannot build model. Potential/Electric Field not set.");
    return false;
  }
  return PrepData(mol.GetData<Data>("grid"), values);
}

bool QXLassoChargeDensity::Fit(unsigned int maxActives) {
  QXNumerics::QXLasso lasso;
  lasso.Fit(designMatrix, targetValues, maxActives);
  coefficientPath = lasso.GetCoefficients();
  fitActives = lasso.GetActives();
  for (std::vector<double>& step : coefficientPath)
    NormalizeFitCoefficients(step, fitActives, columnNorms);
  return ConvertActiveIndices();
}

bool QXLassoChargeDensity::RemoveChargedActives() {
  for (unsigned int site = 0; site < params.NumSites(); ++site) {
    const auto charged =
        std::find(candidates.begin(), candidates.end(), params.GetStartIndex(site));
    if (charged != candidates.end()) candidates.erase(charged);
  }
  return true;
}

bool QXLassoChargeDensity::ConvertActiveIndices() {
  for (unsigned int& active : fitActives) active = candidates[active];
  return true;
}

std::vector<unsigned int> QXLassoChargeDensity::GetActives(unsigned int n) const {
  return {fitActives.begin(), fitActives.begin() + n};
}

QXHermiteChargeDensity QXLassoChargeDensity::GetChargeDensity(unsigned int n) const {
  QXHermiteChargeDensity density(params);
  density.SetCoefficients(coefficientPath[n - 1], GetActives(n));
  return density;
}

QXHermiteChargeDensity QXLassoChargeDensity::GetLastChargeDensity() const {
  if (!fitActives.empty()) return GetChargeDensity(MaxNumActives());
  QXHermiteChargeDensity none(params);
  none.SetCoefficients({}, {});
  return none;
}

}  // namespace QXHermiteMath
