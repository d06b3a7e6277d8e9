#pragma once

#include <vector>

#include "host/core/gaussian.h"
#include "host/core/simd.h"
#include "host/minimizer/func.h"

namespace QXHermiteMath {

using QXCore::QXGaussian;

namespace kernel {
struct GaussianPairs;
}

/// Minus the exact overlap of two lists of Gaussians, with no expansion in between, over the six
/// variables of rigid_motion.h:
///
///   f(x) = -sum over all pairs of A A' (pi/(w + w'))^(3/2) exp(-w w'/(w + w') |Q r - (r' + t)|^2),
///
/// A, w, r those of a Gaussian of the reference, A', w', r' of the fit. That is QXHermiteOverlap in
/// the limit of high degree, for references and fits centred on the origin. The sums are taken in
/// double precision, in as many lanes as the machine has.
///
/// SetupRef and Setup once each, in any order, and again for each change; then any number of
/// evaluations, which allocate nothing. An empty list is one of overlap 0. A copy is a function of
/// its own. One thread at a time.
///
/// Example:
///   QXGaussianOverlap overlap;
///   overlap.SetupRef(refGaussians);
///   overlap.Setup(fitGaussians);
///   double value = overlap(x), gradient[6];
///   overlap(x, gradient);
class QXGaussianOverlap : public QXMinimizer::QXFunc2 {
 public:
  explicit QXGaussianOverlap(QXCore::QXSimdLevel newLevel = QXCore::QXGetSimdLevel())
      : level(newLevel) {}

  /// The reference and the fit. Widths must be above 0, or sums of them. Always true.
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

  double GetRefSelfOverlap() const { return refSelfOverlap; }
  double GetFitSelfOverlap() const { return fitSelfOverlap; }

 private:
  /// A list as the sums need it: Gaussians that differ in place only are of one sort.
  struct List {
    struct Sort {
      double amplitude, width;
      bool operator==(Sort const&) const = default;
    };
    std::vector<double> places;  ///< x, y, z of each
    std::vector<size_t> sortOf;  ///< an index into sorts
    std::vector<Sort> sorts;
    std::vector<double> rows;  ///< x of all, y of all, z of all, each padded with zeros
  };
  static void Fill(List& list, std::vector<QXGaussian> const& gaussians);
  void PairUp(List const& first, List const& second);
  double SelfOverlap(List const& list);
  kernel::GaussianPairs GetPairs(List const& first, List const& second) const;
  template <int Order>
  double EvaluateTo(double const* x, double* hessian, double* gradient) const;

  QXCore::QXSimdLevel level;
  List ref, fit;
  std::vector<double> scales,
      factors;  ///< of the pairs, rows over the reference for each sort of fit
  double refSelfOverlap = 0.0;
  double fitSelfOverlap = 0.0;
};

}  // namespace QXHermiteMath
