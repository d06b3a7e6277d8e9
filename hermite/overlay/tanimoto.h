#pragma once

#include <vector>

#include "hermite/overlay/overlap.h"

// The Tanimoto coefficient T = O/(A + B - O) of two densities, O their overlap and A, B their self
// overlaps, as an objective for a minimiser. With v = -O the value of QXHermiteOverlap, T is
// -v/((A + v) + B), and the objective v/((A + v) + B).

namespace QXHermiteMath {

/// The objective -T of two shape densities over the six rigid variables.
class QXShapeComboTanimoto : public QXMinimizer::QXFunc1 {
 public:
  /// The reference, by Gaussians or by coefficients, as QXHermiteOverlap::SetupRef. Always true.
  bool SetupRef(std::vector<QXGaussian> const& gaussians, QXHermiteOptions const& options);
  bool SetupRef(std::vector<double> const& coefficients, QXHermiteOptions const& options);
  /// The fit, under the options the reference ended with. Always true. Where they ask for optimal
  /// widths, Gaussians of the fit get widths of their own, and the overlap is taken across them.
  bool Setup(std::vector<QXGaussian> const& gaussians);
  bool Setup(std::vector<double> const& coefficients);

  using QXMinimizer::QXFunc1::operator();
  /// Always 6.
  unsigned int NumVar() const override { return 6; }
  double operator()(double const* x) override;
  /// Not supported: warns and returns null.
  const double* GetFComponents(double const* x) override;
  double operator()(double const* x, double* gradient) override;

  /// T at x. Always true.
  bool ComputeTanimoto(double const* x, double& tanimoto);
  double GetRefShapeSelfOverlap() const { return overlap.GetRefSelfOverlap(); }
  double GetFitShapeSelfOverlap() const { return overlap.GetFitSelfOverlap(); }

 private:
  QXHermiteOptions refOptions;
  QXHermiteOverlap overlap;
};

/// -T_shape - w T_charge of two values of -O and the sums S, C of the self overlaps, and its
/// gradient: that of the shape value on entry. Six variables, `stride` apart in both gradients. A
/// denominator of exactly 0 makes T_charge 0.
double CombineShapeAndCharge(double shape, double S, double charge, double C, double weight,
                             double const* chargeGradient, double* gradient, size_t stride = 1);

/// The objective -T_shape - w (T_charge + c) over the six rigid variables. A charge density has
/// either sign, so T_charge is not confined to 0 .. 1. A denominator of exactly 0 makes T_charge 0;
/// the shape term has no such guard.
class QXShapeChargeComboTanimoto : public QXMinimizer::QXFunc1 {
 public:
  /// w and c of the objective.
  QXShapeChargeComboTanimoto(double weight, double offset)
      : chargeWeight(weight), chargeOffset(offset) {}

  /// The reference in both roles. Always true.
  bool SetupRef(std::vector<QXGaussian> const& shapeGaussians,
                QXHermiteOptions const& newShapeOptions,
                std::vector<QXGaussian> const& chargeGaussians,
                QXHermiteOptions const& newChargeOptions);
  bool SetupRef(std::vector<double> const& shapeCoefficients,
                QXHermiteOptions const& newShapeOptions,
                std::vector<double> const& chargeCoefficients,
                QXHermiteOptions const& newChargeOptions);
  /// The fit in both roles, under the options the reference ended with. Always true.
  bool Setup(std::vector<QXGaussian> const& shapeGaussians,
             std::vector<QXGaussian> const& chargeGaussians);
  bool Setup(std::vector<double> const& shapeCoefficients,
             std::vector<double> const& chargeCoefficients);

  using QXMinimizer::QXFunc1::operator();
  /// Always 6.
  unsigned int NumVar() const override { return 6; }
  double operator()(double const* x) override;
  /// Not supported: warns and returns null.
  const double* GetFComponents(double const* x) override;
  double operator()(double const* x, double* gradient) override;

  /// T_shape and T_charge at x, with no guard for a zero denominator. Always true.
  bool ComputeShapeChargeTanimotos(double const* x, double& shapeTanimoto, double& chargeTanimoto);
  double GetRefShapeSelfOverlap() const { return shapeOverlap.GetRefSelfOverlap(); }
  double GetFitShapeSelfOverlap() const { return shapeOverlap.GetFitSelfOverlap(); }
  QXHermiteOverlap const& GetShapeOverlap() const { return shapeOverlap; }
  QXHermiteOverlap const& GetChargeOverlap() const { return chargeOverlap; }
  double GetRefChargeSelfOverlap() const { return chargeOverlap.GetRefSelfOverlap(); }
  double GetFitChargeSelfOverlap() const { return chargeOverlap.GetFitSelfOverlap(); }

 private:
  QXHermiteOptions shapeOptions;
  QXHermiteOptions chargeOptions;
  QXHermiteOverlap shapeOverlap;
  QXHermiteOverlap chargeOverlap;
  double chargeWeight;
  double chargeOffset;
};

/// T from v = -O and the self overlaps A and B, -v/((A + v) + B), with no guard.
inline double TanimotoFromValue(double v, double A, double B) {
  return -v / ((A + v) + B);
}
inline double TanimotoFromValue(double v, QXHermiteOverlap const& overlap) {
  return TanimotoFromValue(v, overlap.GetRefSelfOverlap(), overlap.GetFitSelfOverlap());
}

}  // namespace QXHermiteMath
