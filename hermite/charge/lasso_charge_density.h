#pragma once

#include <Eigen/Core>
#include <vector>

#include "hermite/charge/charge_density.h"
#include "hermite/multihermite/multi_hermite_parameters.h"
#include "host/core/options.h"
#include "host/molkit/mol.h"
#include "host/numerics/lasso.h"

namespace QXHermiteMath {

using QXCore::QXBoolParameter;
using QXCore::QXOptions;
using QXMolKit::QXMol;

/// To what a charge density is fitted.
///
/// - -UsePotential (true): to the electrostatic potential.
/// - -UseElectricField (true): to the electric field.
/// - -UseNeutralCharge (true): without the functions that carry a net charge.
///
/// Copies are deep. Example: `QXLassoChargeDensityOptions o; o.SetUseElectricField(false);`
class QXLassoChargeDensityOptions : public QXOptions {
 public:
  /// All at their default values.
  QXLassoChargeDensityOptions();

  /// A copy on the heap, owned by the caller, of class QXLassoChargeDensityOptions.
  QXOptions* CreateCopy() const override;

  /// -UsePotential: whether the potential takes part.
  bool GetUsePotential() const { return Get(kUsePotential); }
  void SetUsePotential(bool value) { Set(kUsePotential, value); }

  /// -UseElectricField: whether the field takes part.
  bool GetUseElectricField() const { return Get(kUseElectricField); }
  void SetUseElectricField(bool value) { Set(kUseElectricField, value); }

  /// -UseNeutralCharge: without the functions that carry charge.
  bool GetUseNeutralCharge() const { return Get(kUseNeutralCharge); }
  void SetUseNeutralCharge(bool value) { Set(kUseNeutralCharge, value); }

 private:
  enum Place : size_t { kUsePotential, kUseElectricField, kUseNeutralCharge, kNumParameters };

  bool Get(Place place) const {
    bool value = false;
    GetParameter(place)->GetValue(value, false);
    return value;
  }
  void Set(Place place, bool value) { GetParameter(place)->SetValue(value); }
};

/// Fits a charge density to the electrostatic potential, the electric field or both at points
/// around a molecule. The model is linear, one column of HermiteElectrostaticsDesignMatrix for each
/// candidate function, and sparse: the LASSO (QXNumerics::QXLasso) walks a path of growing sets of
/// functions, and the caller takes the density at the step that is good enough.
///
/// Columns are centred and scaled to norm 1 over all rows of the fit, potential and field
/// together. The values are taken as they are and there is no intercept: what is fitted is how
/// the values vary. A constant that no function explains is lost. Potential (kcal/mol/e) and field
/// (kcal/mol/e/angstrom) weigh alike, number by number.
///
/// A point on a site makes the columns of the site NaN, and the LASSO leaves them out with one
/// warning that counts them; so it does columns that are constant over the sample. A value that is
/// not finite leaves nothing fitted, with a warning.
///
/// Example:
///   QXLassoChargeDensity fit(QXMultiHermiteParameters(2, 1.2, atoms), options);
///   fit.PrepData(points, values);
///   fit.Fit();
///   QXHermiteChargeDensity density = fit.GetChargeDensity(std::min(20u, fit.MaxNumActives()));
class QXLassoChargeDensity {
 public:
  /// Every function of the layout is a candidate.
  QXLassoChargeDensity(QXMultiHermiteParameters const& newParams,
                       QXLassoChargeDensityOptions const& newOptions);
  /// These are, in rising order whatever order they come in. Not checked against the layout.
  QXLassoChargeDensity(QXMultiHermiteParameters const& newParams,
                       QXLassoChargeDensityOptions const& newOptions,
                       std::vector<unsigned int> const& actives);

  /// Prepares a fit to values at points (x, y, z of each, angstrom). values: the potential at the P
  /// points, then the field in three blocks: all x, all y, all z (not interleaved, as
  /// EvaluateElectricField gives it), without what the options leave out: P, 3P or 4P numbers,
  /// which is not checked. With -UseNeutralCharge it calls RemoveChargedActives. False, with a
  /// fatal report and no change, when the options leave out both.
  bool PrepData(std::vector<double> const& points, std::vector<double> const& values);
  /// The same from vectors of double attached to a molecule: "grid" (the points), and as far as the
  /// options want them "potential" and "electric field". False, with a fatal report and no change,
  /// when one is missing or the options leave out both.
  bool PrepData(QXMol const& mol);

  /// Walks the whole path, or that of so many functions, which is its beginning, replacing any
  /// before. Path and actives are empty where there is nothing to fit: no candidates, no points, or
  /// values that no function follows. Always true.
  bool Fit(unsigned int maxActives = QXNumerics::QXLasso::kNoLimit);

  /// Takes the functions that carry charge, l = m = n = 0, out of the candidates, so that every
  /// density fitted is neutral: all others integrate to 0. Of a candidate given twice it takes the
  /// first. Always true.
  bool RemoveChargedActives();
  /// Turns the actives from columns of the design matrix, as the regression gives them, into flat
  /// indices. Fit does so: not for a second time. Always true.
  bool ConvertActiveIndices();

  /// Flat indices of the functions in the order in which they first entered, all or the first n; n
  /// is not checked.
  std::vector<unsigned int> GetActives() const { return fitActives; }
  std::vector<unsigned int> GetActives(unsigned int n) const;
  unsigned int MaxNumActives() const { return static_cast<unsigned int>(fitActives.size()); }
  /// The functions that may be chosen, rising.
  std::vector<unsigned int> const& GetCandidates() const { return candidates; }
  /// What the regression is given: a column for each candidate, centred and of norm 1.
  Eigen::MatrixXd const& GetDesignMatrix() const { return designMatrix; }
  /// Step k: the coefficients of the first k + 1 actives where the next function enters, or at the
  /// end of the path. A function that has left stands there with 0.
  std::vector<std::vector<double>> const& GetCoefficientPath() const { return coefficientPath; }

  /// The density of the first n actives, step n - 1 of the path. n: 1 .. MaxNumActives(), not
  /// checked.
  QXHermiteChargeDensity GetChargeDensity(unsigned int n) const;
  /// That of the end of the path; without active functions where the path is empty.
  QXHermiteChargeDensity GetLastChargeDensity() const;

 private:
  QXMultiHermiteParameters params;
  QXLassoChargeDensityOptions options;
  Eigen::MatrixXd designMatrix;  // normalised
  Eigen::VectorXd targetValues;
  Eigen::VectorXd columnNorms;  // of the design matrix, centred, before it was scaled
  std::vector<std::vector<double>> coefficientPath;
  std::vector<unsigned int> fitActives;
  std::vector<unsigned int> candidates;
};

}  // namespace QXHermiteMath
