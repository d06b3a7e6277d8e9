#pragma once

#include "host/core/options.h"

namespace QXHermiteMath {

using QXCore::QXBoolParameter;
using QXCore::QXDoubleParameter;
using QXCore::QXOptions;
using QXCore::QXUIntParameter;

/// How a density is to be expanded: the one object that gives a coefficient vector its meaning.
///
/// - -NPolyMax (5): N, the largest total degree l + m + n of the basis.
/// - -LambdaX, -LambdaY, -LambdaZ (1.0): the widths, 1/angstrom: h_l(lambda_x x), see basis.h.
/// - -UseCenterOfMass (false): expand about the mean of the centres instead of the origin.
/// - -UseSingleLambda (true): one width for all axes.
/// - -UseOptimalLambdas (true): find the widths by maximising the self overlap.
///
/// Only -NPolyMax (0 to 100) and the last two booleans declare legal values; an illegal value is
/// refused by SetValue with a warning and the old one stays. Widths are not checked.
/// Copies are deep: changing a copy leaves the source alone.
///
/// Example: `QXHermiteOptions options; options.SetNPolyMax(10);`
class QXHermiteOptions : public QXOptions {
 public:
  /// All at their default values.
  QXHermiteOptions();

  /// A copy on the heap, owned by the caller, of class QXHermiteOptions.
  QXOptions* CreateCopy() const override;

  /// -NPolyMax: the degree N, 0 to 100.
  unsigned int GetNPolyMax() const { return Get<QXUIntParameter, unsigned int>(kNPolyMax); }
  void SetNPolyMax(unsigned int value) { Set<QXUIntParameter>(kNPolyMax, value); }

  /// -LambdaX: the width along x, 1/angstrom.
  double GetLambdaX() const { return Get<QXDoubleParameter, double>(kLambdaX); }
  void SetLambdaX(double value) { Set<QXDoubleParameter>(kLambdaX, value); }

  /// -LambdaY: the width along y, 1/angstrom.
  double GetLambdaY() const { return Get<QXDoubleParameter, double>(kLambdaY); }
  void SetLambdaY(double value) { Set<QXDoubleParameter>(kLambdaY, value); }

  /// -LambdaZ: the width along z, 1/angstrom.
  double GetLambdaZ() const { return Get<QXDoubleParameter, double>(kLambdaZ); }
  void SetLambdaZ(double value) { Set<QXDoubleParameter>(kLambdaZ, value); }

  /// -UseCenterOfMass: expand about the mean of the centres.
  bool GetUseCenterOfMass() const { return Get<QXBoolParameter, bool>(kUseCenterOfMass); }
  void SetUseCenterOfMass(bool value) { Set<QXBoolParameter>(kUseCenterOfMass, value); }

  /// -UseSingleLambda: one width for all axes.
  bool GetUseSingleLambda() const { return Get<QXBoolParameter, bool>(kUseSingleLambda); }
  void SetUseSingleLambda(bool value) { Set<QXBoolParameter>(kUseSingleLambda, value); }

  /// -UseOptimalLambdas: find the widths.
  bool GetUseOptimalLambdas() const { return Get<QXBoolParameter, bool>(kUseOptimalLambdas); }
  void SetUseOptimalLambdas(bool value) { Set<QXBoolParameter>(kUseOptimalLambdas, value); }

 private:
  enum Place : size_t {
    kNPolyMax,
    kLambdaX,
    kLambdaY,
    kLambdaZ,
    kUseCenterOfMass,
    kUseSingleLambda,
    kUseOptimalLambdas,
    kNumParameters
  };

  // The constructor fixes the class of each place, so the casts hold.
  template <class Parameter, class Value>
  Value Get(Place place) const {
    Value value{};
    static_cast<const Parameter*>(GetParameter(place))->GetValue(value, false);
    return value;
  }
  // The set from which all others are copied: texts and ranges are made once a run.
  struct Original {};
  explicit QXHermiteOptions(Original);
  static const QXHermiteOptions& GetOriginal();

  template <class Parameter, class Value>
  void Set(Place place, Value value) {
    static_cast<Parameter*>(GetParameter(place))->SetValue(value);
  }
};

/// Sets the three widths at once.
inline void SetLambdas(QXHermiteOptions& options, double x, double y, double z) {
  options.SetLambdaX(x);
  options.SetLambdaY(y);
  options.SetLambdaZ(z);
}

/// lambda_x lambda_y lambda_z, the factor between integrals over r and over scaled coordinates.
inline double GetLambdaProduct(QXHermiteOptions const& options) {
  return (options.GetLambdaX() * options.GetLambdaY()) * options.GetLambdaZ();
}

}  // namespace QXHermiteMath
