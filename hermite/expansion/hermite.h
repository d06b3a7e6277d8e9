#pragma once

#include <vector>

#include "hermite/foundations/options.h"
#include "host/core/gaussian.h"
#include "host/grid/scalar_grid.h"
#include "host/molkit/trans.h"

namespace QXHermiteMath {

using QXCore::QXGaussian;
using QXCore::QXScalarGrid;
using QXMolKit::QXTrans;

/// A single-centre expansion: coefficients in shell order, the options that give them meaning
/// (degree and the widths in force), the origin about which they were made, the self overlap.
///
/// Example:
///   QXHermite h;
///   h.Setup(QXMolToGaussians(mol, 1.7), options);
///   double volumeOverlap = h.GetSelfOverlap();
///
/// A plain value: const operations may be shared, others need one thread at a time.
class QXHermite {
 public:
  /// Expands Gaussians, finding the widths first as the options ask:
  ///
  ///   UseOptimalLambdas  UseSingleLambda  widths
  ///   false              false            those of the options
  ///   false              true             the smallest of the three, on all axes
  ///   true               true             one, by BFGS from the mean of the three
  ///   true               false            three, by Newton from QXApproxHermiteBestLambda
  ///
  /// With -UseCenterOfMass the Gaussians are expanded about the mean of their centres, which
  /// GetCenter then tells; otherwise about the origin. The options kept hold the widths found.
  /// Without Gaussians the coefficients are zero and a search keeps its start. Always true.
  bool Setup(const std::vector<QXGaussian>& gaussians, const QXHermiteOptions& options);

  /// Takes coefficients made elsewhere, under these very options. Clears -UseOptimalLambdas in the
  /// own copy of the options; leaves the centre. False when the size is not that of the basis:
  /// then the options are already taken over, and nothing else is, so that options and coefficients
  /// do not fit each other until a Setup succeeds.
  bool Setup(const std::vector<double>& coefficients, const QXHermiteOptions& options);

  /// Projects the values of a grid onto the basis, by the quadrature over its elements
  ///
  ///   c_lmn = spacing^3 lambda_x lambda_y lambda_z sum over elements of f d_l d_m d_n
  ///
  /// with the analysis functions d_k of QXCalcDoubleNormalizedHermite. With -UseOptimalLambdas the
  /// widths are first estimated by QXApproxHermiteBestLambda, then -UseSingleLambda sets all three
  /// to the smallest. With -UseCenterOfMass the expansion is made about the mean position of the
  /// positive values, weighted by them, which GetCenter then tells; otherwise about the origin. The
  /// extent becomes that of the longest axis and one element more. Always true.
  ///
  /// The coefficients are added to what the object holds, after it is resized to the basis: a
  /// second call at the same degree doubles them. Use a fresh object for each grid.
  bool Setup(const QXScalarGrid& grid, const QXHermiteOptions& options);

  /// The object that told these values, for callers that store expansions: coefficients of the
  /// basis of the options, a centre of three doubles. Nothing is worked out and nothing is checked.
  static QXHermite Restore(std::vector<double> coefficients, const QXHermiteOptions& options,
                           std::vector<double> center, double extent, double selfOverlap);

  /// In shell order, as many as NumCoefficients().
  const std::vector<double>& GetCoefficients() const { return coefficients; }
  /// Coefficient i, no bounds check.
  double GetCoefficient(unsigned long i) const { return coefficients[i]; }
  /// The size of the basis of the own options, also before any Setup.
  unsigned long NumCoefficients() const;
  /// The integral of the square of the expansion, as of the last Setup.
  double GetSelfOverlap() const { return selfOverlap; }
  /// The origin of the expansion in the caller's coordinates, three doubles.
  const std::vector<double>& GetCenter() const { return center; }
  /// The options with the widths in force.
  const QXHermiteOptions& GetOptions() const { return options; }
  /// Full width of the cube about the origin that holds all Gaussian centres; of a grid, that of
  /// its longest axis and one element more.
  double GetExtent() const { return extent; }

  /// Rotates the density actively by the row-major matrix m, about the centre of the expansion.
  /// Only the coefficients change. Exact when the three widths are equal. Always true.
  bool RotateHermites(double m0, double m1, double m2, double m3, double m4, double m5, double m6,
                      double m7, double m8);
  /// The same, by a vector of nine.
  bool RotateHermites(std::vector<double> const& m);

  /// Moves the density by t (angstrom); the centre stays where it was. Only the coefficients
  /// change, and what leaves the truncated basis is lost. Always true.
  bool TranslateHermites(double tx, double ty, double tz);
  /// The same, by a vector of three.
  bool TranslateHermites(std::vector<double> const& t);

  /// The density on a grid: see CreateGrid in grid_evaluation.h. The width defaults to the extent
  /// of the object. The centre of the expansion is not consulted: the origin of the expansion lies
  /// at the origin of coordinates, unless `transform` moves it.
  bool CreateGrid(QXScalarGrid& grid, double spacing) const;
  bool CreateGrid(QXScalarGrid& grid, double spacing, double width) const;
  bool CreateGrid(QXScalarGrid& grid, double spacing, QXTrans transform) const;
  bool CreateGrid(QXScalarGrid& grid, double spacing, double width, QXTrans transform) const;

  /// The coefficient vectors after half turns about x, y and z, see inertial_orientation.h.
  /// Always true.
  bool ComputeInertialHermiteVectors(std::vector<std::vector<double>>& turned) const;

 private:
  void SetupAboutOrigin(const std::vector<QXGaussian>& gaussians, const QXHermiteOptions& options);
  void FindSingleOptimalLambda(const std::vector<QXGaussian>& gaussians);
  void FindThreeOptimalLambdas(const std::vector<QXGaussian>& gaussians);

  double extent = 0.0;
  QXHermiteOptions options;
  std::vector<double> coefficients;
  double selfOverlap = 0.0;
  std::vector<double> center = {0.0, 0.0, 0.0};
};

/// Moves the Gaussians by minus the mean of their centres, in place and in single precision, and
/// returns that mean: the plain mean of positions, no weight enters. Zeros for an empty list.
std::vector<double> QXCenterGaussians(std::vector<QXGaussian>& gaussians);

}  // namespace QXHermiteMath
