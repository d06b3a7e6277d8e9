#pragma once

#include <array>
#include <vector>

#include "hermite/expansion/expansion_kernel.h"
#include "hermite/foundations/basis.h"
#include "host/core/gaussian.h"

namespace QXHermiteMath {

using QXCore::QXGaussian;

/// The engine that expands a sum of Gaussians, analytically: with F the integrals of
/// gaussian_integrals.h on the three axes and A_g the amplitudes,
///
///   c_lmn = sum over g of A_g F_l(x axis) F_m(y axis) F_n(z axis) / (K_l K_m K_n).
///
/// Built once for a degree and reused; every Expand overwrites all results but the lists of
/// translational derivatives. The Gaussians are taken as they are, about the origin of their
/// coordinates. An engine is scratch: one thread at a time.
///
/// Example:
///   QXGaussianToHermite engine(options.GetNPolyMax(), 0, 0);
///   engine.Expand(options, gaussians, 0);
///   const std::vector<double>& c = engine.GetHermiteCoefficients();
class QXGaussianToHermite {
 public:
  /// Storage for first derivatives when either flag is non-zero, for second derivatives when
  /// secondFlag is.
  QXGaussianToHermite(unsigned int nPolyMax, unsigned int firstFlag, unsigned int secondFlag);

  /// Expands at one of the orders
  ///   0 coefficients and self overlap;
  ///   1, 2 also first, second derivatives in the widths, of coefficients and self overlap;
  ///   3, 4 also first, second derivatives of the coefficients in a common shift of the Gaussians,
  ///   appended to lists that are never cleared: take a fresh engine for each such expansion.
  /// Orders 1 and 3 need a non-zero flag at construction, 2 and 4 the second flag; unchecked.
  /// A degree in the options below the engine's fills a prefix of the coefficients and leaves the
  /// tail. False, with nothing changed, for a degree above the engine's; false for an unknown
  /// order, after coefficients are cleared and options copied.
  bool Expand(const QXHermiteOptions& options, const std::vector<QXGaussian>& gaussians,
              unsigned int order);

  /// f[0 .. kMax] = F of one axis for the factor exp(-width (x - center)^2). Always true.
  bool BuildF(double width, double center, unsigned int kMax, double lambda,
              std::vector<double>& f);
  /// dF_k/du for k = 0 .. N, from f[0 .. N + 2]; u = sqrt(2 w)/lambda. Always true.
  bool BuildFDerivative(unsigned int N, double u, const std::vector<double>& f,
                        std::vector<double>& df);
  /// d^2 F_k/du^2 for k = 0 .. N, from f[0 .. N + 4]. Always true.
  bool BuildFSecondDerivative(unsigned int N, double u, const std::vector<double>& f,
                              std::vector<double>& ddf);
  /// dF_k/ds for k = 0 .. N, from f[0 .. N + 1]; s = -X sqrt(2 w). Always true.
  bool BuildFSecondArgDerivative(unsigned int N, double u, const std::vector<double>& f,
                                 std::vector<double>& df);
  /// d^2 F_k/ds^2 for k = 0 .. N, from f[0 .. N + 2]. Always true.
  bool BuildFSecondArgSecondDerivative(unsigned int N, double u, const std::vector<double>& f,
                                       std::vector<double>& ddf);

  /// result_lmn += A (-sqrt(2 w))^order f1[l] f2[m] f3[n] / (K_l K_m K_n) over the degree of the
  /// last Expand, in shell order. Adds to what is there. Always true.
  bool CoefficientsConvolution(unsigned int order, const QXGaussian& g,
                               const std::vector<double>& f1, const std::vector<double>& f2,
                               const std::vector<double>& f3, std::vector<double>& result);

  /// Coefficients in shell order; as many as the engine's degree has.
  const std::vector<double>& GetHermiteCoefficients() const { return hermiteCoefficients; }
  double GetSelfOverlap() const { return selfOverlap; }

  /// dS/d lambda_a into GetSelfOverlapLambdaDerivatives (x, y, z). Expand at orders 1 and 2 has
  /// called it. Always true.
  bool SelfOverlapLambdaDerivatives();
  /// d^2 S/d lambda_a d lambda_b into GetSelfOverlapLambdaSecondDerivatives, in the order
  /// xx, xy, yy, xz, yz, zz. Expand at order 2 has called it. Always true.
  bool SelfOverlapLambdaSecondDerivatives();
  const std::vector<double>& GetSelfOverlapLambdaDerivatives() const {
    return selfOverlapLambdaDerivatives;
  }
  const std::vector<double>& GetSelfOverlapLambdaSecondDerivatives() const {
    return selfOverlapLambdaSecondDerivatives;
  }

  /// dc/dX, dc/dY, dc/dZ of each Expand at order 3 or 4 so far, three vectors an Expand.
  std::vector<std::vector<double>> GetTranslationalDerivatives() const {
    return translationalDerivatives;
  }
  /// The gradient of the linear form q . c under a common shift (X, Y, Z) of the Gaussians, from
  /// the first three vectors of the list. Undefined before an Expand of order 3 or 4.
  std::vector<double> GetTranslationalDerivativeConvolution(const std::vector<double>& q) const;
  /// Its second derivatives xx, xy, yy, xz, yz, zz, from the first six vectors of that list.
  std::vector<double> GetTranslationalSecondDerivativeConvolution(
      const std::vector<double>& q) const;

  /// First derivatives x, y, z of the coefficients, of the last Expand with order above 0: in the
  /// widths (orders 1, 2) or in a common shift (3, 4).
  const std::array<std::vector<double>, 3>& GetFirstDerivatives() const { return firstDerivatives; }
  /// Second derivatives, stored as xx, yy, zz, xy, xz, yz, of the last Expand of order 2 or 4.
  const std::array<std::vector<double>, 6>& GetSecondDerivatives() const {
    return secondDerivatives;
  }

 private:
  using Table = std::vector<kernel::BatchRow>;
  enum Second : size_t { kXX, kYY, kZZ, kXY, kXZ, kYZ };

  void Clear(unsigned int order, unsigned int N);
  template <unsigned int Derivatives, bool InWidths>
  void AddGaussians(const std::vector<QXGaussian>& gaussians);
  void AppendTranslationalDerivatives(bool second);
  std::vector<double> Convolve(const std::vector<std::vector<double>>& list, size_t count,
                               const std::vector<double>& q) const;
  double WeightedDot(const std::vector<double>& a, const std::vector<double>& b) const;

  unsigned int nPolyMax;
  QXHermiteOptions options;
  Table fx, fy, fz;        // F of the Gaussians in work
  Table dfx, dfy, dfz;     // their first derivatives
  Table ddfx, ddfy, ddfz;  // and second
  double selfOverlap = 0.0;
  std::vector<double> selfOverlapLambdaDerivatives;
  std::vector<double> selfOverlapLambdaSecondDerivatives;
  std::vector<double> hermiteCoefficients;
  std::array<std::vector<double>, 3> firstDerivatives;
  std::array<std::vector<double>, 6> secondDerivatives;
  std::vector<double> ks;  // K_0 .. K_N
  std::vector<std::vector<double>> translationalDerivatives;
  std::vector<std::vector<double>> translationalSecondDerivatives;
  std::vector<double> norms;           // M_0 .. M_N
  std::vector<double> weights;         // K_l K_m K_n in shell order
  std::vector<double> inverseWeights;  // one over those
};

}  // namespace QXHermiteMath
