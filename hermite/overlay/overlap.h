#pragma once

#include <array>
#include <vector>

#include "hermite/expansion/hermite.h"
#include "hermite/foundations/basis.h"
#include "hermite/frame/rotation.h"
#include "hermite/frame/translation.h"
#include "hermite/overlay/overlap_lanes.h"
#include "host/minimizer/func.h"

namespace QXHermiteMath {

/// The objective on which every rigid overlay rests: minus the overlap of a reference and a fit
/// expansion, as a function of the six variables of rigid_motion.h.
///
///   f(x) = -(1/L) sum over i of R_i(alpha, beta, gamma) T_i(tx, ty, tz),  L = product of the
///   reference's widths,
///
/// R the reference coefficients rotated by the angles, T the fit moved by the shifts (plus the
/// difference of the centres) and carried into the basis of the reference. No atom and no grid is
/// touched. Where both are of one degree and one set of widths nothing is projected, and shears and
/// shifts (overlap_kernel.h) do the work, but for angles and shifts beyond all measure. That is the
/// overlap of the unmoved reference with the fit moved to Q^T (P + t), points
/// being relative to the centre of the reference.
///
/// SetupRef once, then Setup for each fit, then any number of evaluations; nothing checks this,
/// nor that sizes fit the options. An evaluation writes the object's scratch: one thread at a time.
///
/// Example:
///   QXHermiteOverlap overlap;
///   overlap.SetupRef(refGaussians, options);
///   overlap.Setup(fitGaussians, overlap.GetRefOptions());
///   double value = overlap(x), gradient[6];
///   overlap(x, gradient);
class QXHermiteOverlap : public QXMinimizer::QXFunc1 {
 public:
  /// The reference, by coefficients made under these options. Rebuilds the operators. Always true,
  /// like all Setup forms.
  bool SetupRef(std::vector<double> const& coefficients, QXHermiteOptions const& options);
  /// The same, and the centre of the expansion; the options inside hermite are not consulted.
  bool SetupRef(QXHermite const& hermite, QXHermiteOptions const& options);
  /// Expands the Gaussians first. With -UseOptimalLambdas all three widths become the smallest of
  /// QXApproxHermiteBestLambda, with no search, and the flag stays true in the options kept.
  bool SetupRef(std::vector<QXGaussian> const& gaussians, QXHermiteOptions const& options);

  /// The fit, in the like three forms. A fit of a larger degree than the reference rebuilds the
  /// translation for it; the overlap is then that of its projection on the reference's basis.
  bool Setup(std::vector<double> const& coefficients, QXHermiteOptions const& options);
  bool Setup(QXHermite const& hermite, QXHermiteOptions const& options);
  bool Setup(std::vector<QXGaussian> const& gaussians, QXHermiteOptions const& options);

  using QXMinimizer::QXFunc1::operator();
  /// Always 6.
  unsigned int NumVar() const override { return 6; }
  double operator()(double const* x) override;
  /// Not supported: warns and returns null.
  const double* GetFComponents(double const* x) override;
  /// The value, and its six derivatives in gradient.
  double operator()(double const* x, double* gradient) override;

  /// The overlap of the two expansions where they stand, rounded to single precision on purpose.
  double GetOverlap();
  /// The overlap of each with itself, as it was set up.
  double GetRefSelfOverlap() const { return refSelfOverlap; }
  double GetFitSelfOverlap() const { return fitSelfOverlap; }
  /// The options under which the reference stands, and its coefficients, in shell order.
  QXHermiteOptions const& GetRefOptions() const { return refOptions; }
  std::vector<double> const& GetRefCoefficients() const { return refCoefficients; }

 private:
  void GetShift(double const* x, double* t) const;
  void LoadLane();
  bool EvaluateInLane(double const* x, double const* t, double& value, double* gradient);

  QXHermiteOptions refOptions;
  QXHermiteOptions fitOptions;
  std::vector<double> refCoefficients;
  std::vector<double> fitCoefficients;
  double refSelfOverlap = 0.0;
  double fitSelfOverlap = 0.0;
  std::vector<double> rotatedRef;
  std::vector<double> translatedFit;
  QXHermiteRotation rotation;
  QXHermiteTranslation translation;
  QXHermiteIndex index;
  std::array<double, 3> refCenter{};
  std::array<double, 3> fitCenter{};
  OverlapLanes lane;  // of one, for fits in the basis of the reference
  bool laneHoldsFit = false;
};

}  // namespace QXHermiteMath
