#include "hermite/overlay/tanimoto.h"

#include "host/core/throw.h"

namespace QXHermiteMath {

bool QXShapeComboTanimoto::SetupRef(std::vector<QXGaussian> const& gaussians,
                                    QXHermiteOptions const& options) {
  overlap.SetupRef(gaussians, options);
  refOptions = overlap.GetRefOptions();
  return true;
}

bool QXShapeComboTanimoto::SetupRef(std::vector<double> const& coefficients,
                                    QXHermiteOptions const& options) {
  overlap.SetupRef(coefficients, options);
  refOptions = overlap.GetRefOptions();
  return true;
}

bool QXShapeComboTanimoto::Setup(std::vector<QXGaussian> const& gaussians) {
  return overlap.Setup(gaussians, refOptions);
}

bool QXShapeComboTanimoto::Setup(std::vector<double> const& coefficients) {
  return overlap.Setup(coefficients, refOptions);
}

double QXShapeComboTanimoto::operator()(double const* x) {
  return -TanimotoFromValue(overlap(x), overlap);
}

double QXShapeComboTanimoto::operator()(double const* x, double* gradient) {
  const double v = overlap(x, gradient);
  const double s = overlap.GetRefSelfOverlap() + overlap.GetFitSelfOverlap();
  const double scale = s * (1.0 / ((s + v) * (s + v)));
  for (int i = 0; i < 6; ++i) gradient[i] *= scale;
  return v / (s + v);
}

bool QXShapeComboTanimoto::ComputeTanimoto(double const* x, double& tanimoto) {
  tanimoto = TanimotoFromValue(overlap(x), overlap);
  return true;
}

const double* QXShapeComboTanimoto::GetFComponents(double const*) {
  QXCore::QXThrow.Warning("This method has not been implemented yet.");
  return nullptr;
}

double CombineShapeAndCharge(double shape, double S, double charge, double C, double weight,
                             double const* chargeGradient, double* gradient, size_t stride) {
  const double shapeDenominator = shape + S;
  const double chargeDenominator = charge + C;
  const bool noCharge = chargeDenominator == 0.0;
  const double shapeScale = S / (shapeDenominator * shapeDenominator);
  const double chargeScale = noCharge ? 0.0 : weight * C / (chargeDenominator * chargeDenominator);
  for (size_t i = 0; i < 6 * stride; i += stride)
    gradient[i] = shapeScale * gradient[i] + chargeScale * chargeGradient[i];
  const double chargeTanimoto = noCharge ? 0.0 : -charge / chargeDenominator;
  return shape / shapeDenominator - chargeTanimoto * weight;
}

bool QXShapeChargeComboTanimoto::SetupRef(std::vector<QXGaussian> const& shapeGaussians,
                                          QXHermiteOptions const& newShapeOptions,
                                          std::vector<QXGaussian> const& chargeGaussians,
                                          QXHermiteOptions const& newChargeOptions) {
  shapeOverlap.SetupRef(shapeGaussians, newShapeOptions);
  chargeOverlap.SetupRef(chargeGaussians, newChargeOptions);
  shapeOptions = shapeOverlap.GetRefOptions();
  chargeOptions = chargeOverlap.GetRefOptions();
  return true;
}

bool QXShapeChargeComboTanimoto::SetupRef(std::vector<double> const& shapeCoefficients,
                                          QXHermiteOptions const& newShapeOptions,
                                          std::vector<double> const& chargeCoefficients,
                                          QXHermiteOptions const& newChargeOptions) {
  shapeOverlap.SetupRef(shapeCoefficients, newShapeOptions);
  chargeOverlap.SetupRef(chargeCoefficients, newChargeOptions);
  shapeOptions = shapeOverlap.GetRefOptions();
  chargeOptions = chargeOverlap.GetRefOptions();
  return true;
}

bool QXShapeChargeComboTanimoto::Setup(std::vector<QXGaussian> const& shapeGaussians,
                                       std::vector<QXGaussian> const& chargeGaussians) {
  shapeOverlap.Setup(shapeGaussians, shapeOptions);
  chargeOverlap.Setup(chargeGaussians, chargeOptions);
  return true;
}

bool QXShapeChargeComboTanimoto::Setup(std::vector<double> const& shapeCoefficients,
                                       std::vector<double> const& chargeCoefficients) {
  shapeOverlap.Setup(shapeCoefficients, shapeOptions);
  chargeOverlap.Setup(chargeCoefficients, chargeOptions);
  return true;
}

double QXShapeChargeComboTanimoto::operator()(double const* x) {
  const double shape = shapeOverlap(x);
  const double charge = chargeOverlap(x);
  const double denominator =
      (chargeOverlap.GetRefSelfOverlap() + charge) + chargeOverlap.GetFitSelfOverlap();
  const double chargeTanimoto = denominator == 0.0 ? 0.0 : -charge / denominator;
  return -TanimotoFromValue(shape, shapeOverlap) - (chargeTanimoto + chargeOffset) * chargeWeight;
}

double QXShapeChargeComboTanimoto::operator()(double const* x, double* gradient) {
  const double S = shapeOverlap.GetRefSelfOverlap() + shapeOverlap.GetFitSelfOverlap();
  const double C = chargeOverlap.GetRefSelfOverlap() + chargeOverlap.GetFitSelfOverlap();
  double chargeGradient[6];
  const double shape = shapeOverlap(x, gradient);
  const double charge = chargeOverlap(x, chargeGradient);
  return CombineShapeAndCharge(shape, S, charge, C, chargeWeight, chargeGradient, gradient) -
         chargeOffset * chargeWeight;
}

bool QXShapeChargeComboTanimoto::ComputeShapeChargeTanimotos(double const* x, double& shapeTanimoto,
                                                             double& chargeTanimoto) {
  shapeTanimoto = TanimotoFromValue(shapeOverlap(x), shapeOverlap);
  chargeTanimoto = TanimotoFromValue(chargeOverlap(x), chargeOverlap);
  return true;
}

const double* QXShapeChargeComboTanimoto::GetFComponents(double const*) {
  QXCore::QXThrow.Warning("This method has not been implemented yet.");
  return nullptr;
}

}  // namespace QXHermiteMath
