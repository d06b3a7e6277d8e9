#pragma once

#include <vector>

#include "hermite/overlay/gaussian_list.h"
#include "host/core/simd.h"
#include "host/minimizer/func.h"

namespace QXHermiteMath {

namespace kernel {
struct GaussianPairs;
}

/// Minus the exact overlap of two lists of Gaussians, with no expansion in between, over the six
/// variables of rigid_motion.h:
///
///   f(x) = -sum over all pairs of A A' (pi/(w + w'))^(3/2) exp(-w w'/(w + w') |Q r - (r' + t)|^2),
///
/// A, w, r those of a Gaussian of the reference, A', w', r' of the fit. QXHermiteOverlap goes there
/// with rising degree, where expansions are about the origin. Sums are in double precision,
/// relative to a sum of magnitudes good to some 1e-13.
///
/// SetupRef and Setup in any order, and again for other lists, at no allocation where there was
/// room before; then any number of evaluations, which allocate nothing. No list is the same as an
/// empty one: all overlaps are 0. One thread at a time.
///
/// Example:
///   QXGaussianOverlap overlap;
///   overlap.SetupRef(refGaussians);
///   overlap.Setup(fitGaussians);
///   double value = overlap(x), gradient[6];
///   overlap(x, gradient);
class QXGaussianOverlap : public QXMinimizer::QXFunc2 {
 public:
  /// Computes at this level of SIMD instructions; by default at the best one of the processor.
  explicit QXGaussianOverlap(QXCore::QXSimdLevel newLevel = QXCore::QXGetSimdLevel())
      : level(newLevel) {}

  /// The reference and the fit; widths must be above 0, unchecked. Always true. The time each takes
  /// is that of an evaluation or two.
  bool SetupRef(std::vector<QXGaussian> const& gaussians);
  bool Setup(std::vector<QXGaussian> const& gaussians);

  using QXMinimizer::QXFunc2::operator();
  /// Always 6.
  unsigned int NumVar() const override { return 6; }
  double operator()(double const* x) override;
  double operator()(double const* x, double* gradient) override;
  /// The Hessian, 21 doubles: the lower triangle by rows. Always true.
  bool operator()(double const* x, double* hessian, double* gradient) override;
  /// The same, and returns the value too.
  double Evaluate(double const* x, double* hessian, double* gradient) const;
  /// Not supported: warns and returns null.
  const double* GetFComponents(double const* x) override;

  /// The overlap of each with itself, as it was set up.
  double GetRefSelfOverlap() const { return refSelfOverlap; }
  double GetFitSelfOverlap() const { return fitSelfOverlap; }

 private:
  void PairUp(GaussianList const& first, GaussianList const& second);
  kernel::GaussianPairs GetPairs(GaussianList const& first, GaussianList const& second,
                                 double const* Q, double const* t) const;
  double SelfOverlap(GaussianList const& list);
  template <int Order>
  double EvaluateTo(double const* x, double* hessian, double* gradient) const;

  QXCore::QXSimdLevel level;
  GaussianList ref;
  GaussianList fit;
  std::vector<double> scales;  // of the pairs, like factors: see gaussian_overlap_kernel.h
  std::vector<double> factors;
  double refSelfOverlap = 0.0;
  double fitSelfOverlap = 0.0;
};

}  // namespace QXHermiteMath
