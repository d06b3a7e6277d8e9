#pragma once

#include <vector>

#include "hermite/expansion/hermite.h"
#include "host/minimizer/func.h"
#include "host/molkit/mol.h"

namespace QXHermiteMath {

using QXMolKit::QXMol;

/// How far a set of atoms is from a target density, over the Cartesian coordinates of the atoms:
///
///   f(x) = 1 - a.b / sqrt(a.a b.b),
///
/// a the coefficients of the reference, b those of the shape Gaussians of carbons at x, in one
/// basis. 0 means proportional, 1 orthogonal, 2 opposite: the scale of either density plays no
/// part. The products are plain sums over the raw coefficients, so this is not the cosine of the
/// overlap of QXHermiteOverlap, in which each basis function has its norm: low degrees lead, and
/// those above about 7 hardly count.
///
/// Calling order: SetupRef, Setup, then any number of evaluations. Nothing is checked: a reference
/// or a fit of all zeros, such as one without atoms, gives NaN. Coordinates are narrowed to single
/// precision like those of any molecule. The fit changes at each evaluation: one thread at a time.
///
/// Make the reference under options with -UseOptimalLambdas false. SetupRef takes the flag over,
/// and with it set every evaluation searches widths of its own for the fit: slow, and a fit in
/// another basis than the reference, with a gradient that is not that of the value. For the same
/// reason leave -UseCenterOfMass false, as it is by default, and have the density near the origin
/// instead; and where the reference has three different widths, -UseSingleLambda false.
///
/// Example:
///   QXHermiteCosAngleFunc f(options);
///   f.SetupRef(reference);
///   f.Setup(atoms, 1.7);
///   std::vector<double> x(f.NumVar()), gradient(f.NumVar());
///   double value = f(x.data(), gradient.data());
class QXHermiteCosAngleFunc : public QXMinimizer::QXFunc1 {
 public:
  /// Copies the options under which the atoms are expanded. Degree, widths and -UseOptimalLambdas
  /// will be those of the reference.
  explicit QXHermiteCosAngleFunc(QXHermiteOptions const& newOptions);

  /// The target. Always true.
  bool SetupRef(QXHermite hermite);
  /// The number of atoms, by a molecule whose coordinates become the current fit, and their radius
  /// in angstrom. Hydrogens count like any atom. Always true.
  bool Setup(QXMol const& mol, double newRadius);

  /// The current fit, that of the last evaluation, on a cubic grid of width 20 + 6 angstrom, moved
  /// by trans: see QXHermite::CreateGrid. Always true.
  bool CreateGrid(QXScalarGrid& grid, float spacing, QXTrans& trans);

  using QXMinimizer::QXFunc1::operator();
  /// 3 for each atom; 0 before Setup.
  unsigned int NumVar() const override { return numVar; }
  double operator()(double const* x) override;
  /// Not supported: warns and returns null.
  const double* GetFComponents(double const* x) override;
  /// The value, and in gradient its derivatives by x, y, z of atom 0, of atom 1, and so on.
  double operator()(double const* x, double* gradient) override;

 private:
  std::vector<QXGaussian> MoveFit(double const* x);
  double Value() const;

  QXHermiteOptions options;
  unsigned int numVar = 0;
  QXHermite ref;
  QXHermite fit;
  double radius = 1.7;
  std::vector<double> normalization;  // for ComputeCosAngleGrad, which has no use for it
};

/// The gradient of 1 - a.b / sqrt(a.a b.b), a = ref and b = fit, in the centres of the Gaussians
/// of which `fit` is the expansion under `options`: x, y, z of Gaussian 0, then of Gaussian 1, and
/// so on. Both vectors hold the basis of the options; unchecked. The last argument is not used.
std::vector<double> ComputeCosAngleGrad(QXHermiteOptions const& options, std::vector<double>& ref,
                                        std::vector<double>& fit,
                                        std::vector<QXGaussian> const& gaussians,
                                        std::vector<double> const& normalization);

/// sqrt(K_l K_m K_n / (lambda_x lambda_y lambda_z)) for each basis function, in shell order: the
/// root of the integral of its square.
void computeHermiteNormalizationVector(std::vector<double>& normalization,
                                       QXHermiteOptions const& options);

/// The dot product over the length of a.
double vecProduct(std::vector<double> const& a, std::vector<double> const& b);

}  // namespace QXHermiteMath
