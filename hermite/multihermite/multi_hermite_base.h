#pragma once

#include <map>
#include <vector>

#include "hermite/multihermite/multi_hermite_parameters.h"
#include "host/grid/scalar_grid.h"

namespace QXHermiteMath {

using QXCore::QXScalarGrid;

struct HermiteTerm;
class SiteTables;

/// The largest dimension of the cubes of QXMultiHermiteBase::CreateGrid.
inline constexpr unsigned int kLargestMultiGridDim = 300;

/// A sum of products of one-dimensional functions about several sites,
///
///   f(r) = sum over active (s, lmn) of c b_l(lambda_s (x - x_s)) b_m(lambda_s (y - y_s))
///          b_n(lambda_s (z - z_s)),
///
/// sparse over the flat basis of its layout. What the functions b_k are is for a derived class to
/// tell: see BuildHermites.
///
/// A flat index is active when it has a coefficient, be it zero. Give coefficients before anything
/// else is asked for; until then only Evaluate, CreateGrid and the dense vector of all sites
/// answer, with zeros. Sizes and sites are not checked. An object is destroyed as the type that it
/// was made as.
class QXMultiHermiteBase {
 public:
  /// Without active functions.
  QXMultiHermiteBase(QXMultiHermiteParameters const& newParams) : params(newParams) {}

  /// Fills out[0 .. n] with b_0(t) .. b_n(t). A family may leave entries as they were: the tables
  /// behind `out` are zero at first and go from site to site within one call.
  virtual bool BuildHermites(double t, unsigned int n, std::vector<double>& out) = 0;

  /// newCoefficients[i] belongs to the flat index actives[i], a zero too; of two equal indices the
  /// first one's counts. Replaces all that was there. Always true.
  bool SetCoefficients(std::vector<double> const& newCoefficients,
                       std::vector<unsigned int> const& actives);
  /// From a value for each function of the flat basis: those above or below zero become active, so
  /// that a NaN is left out. Replaces all that was there. Always true.
  bool SetCoefficients(std::vector<double> const& dense);

  /// Rotates the density about the origin of coordinates: the coefficients of each site, then the
  /// sites. rotation: nine doubles, row-major. Always true.
  bool Rotate(std::vector<double> const& rotation);
  /// Moves the density by three doubles. Always true.
  bool Translate(std::vector<double> const& translation);

  /// The sites with their degrees and widths, and the number of functions that have a coefficient.
  QXMultiHermiteParameters GetParams() const { return params; }
  unsigned int NumActives() const { return static_cast<unsigned int>(coefficients.size()); }
  /// All active indices, rising.
  std::vector<unsigned int> GetActives() const;
  /// Those of a site, in the order in which they were given.
  std::vector<unsigned int> GetActives(unsigned int site) const { return siteActives[site]; }
  /// The coefficient of a flat index. std::out_of_range when it is not active.
  double GetCoefficient(unsigned int index) const;
  /// A value for each function of the flat basis, zero where it is not active.
  std::vector<double> GetDenseCoefficients() const;
  /// The same for one site, in shell order.
  std::vector<double> GetDenseCoefficients(unsigned int site) const;

  /// The value at each point; points: x, y, z of each.
  std::vector<double> Evaluate(std::vector<double> const& points);

  /// Makes `grid` a cube of the given spacing that reaches 3 angstrom beyond `extent` on either
  /// side, about its mid point as it stands, and fills it. The dimension is that of CubeDim: at
  /// most kLargestMultiGridDim, with a warning where more would be needed. Each site is summed in
  /// double and added to the grid in single precision, one site after the other. Always true.
  bool CreateGrid(QXScalarGrid& grid, double spacing, double extent);

  /// Sets the elements of a grid, of any geometry, to the values at their places, summed likewise.
  /// Always true.
  bool EvaluateOnGrid(QXScalarGrid& grid);

 protected:
  /// For a family H_k(t) exp(-newExponent t^2), H_k the physicists' Hermite polynomials: its
  /// functions may be worked out without BuildHermites, many at a time.
  QXMultiHermiteBase(QXMultiHermiteParameters const& newParams, double newExponent)
      : params(newParams), exponent(newExponent) {}
  QXMultiHermiteBase(const QXMultiHermiteBase&) = default;
  QXMultiHermiteBase(QXMultiHermiteBase&&) = default;
  QXMultiHermiteBase& operator=(const QXMultiHermiteBase&) = default;
  QXMultiHermiteBase& operator=(QXMultiHermiteBase&&) = default;
  ~QXMultiHermiteBase() = default;

  QXMultiHermiteParameters params;
  std::map<unsigned int, double> coefficients;
  std::vector<std::vector<unsigned int>> siteActives;  // each key above in the list of its site

  /// That of the family, 0 when functions of these sites have to come from BuildHermites, call by
  /// call: also where one of them has degree 1 and reads what the calls before have left.
  double Exponent(std::vector<unsigned int> const& sites) const;

 private:
  double exponent = 0.0;  // 0 when only BuildHermites knows the family

  std::vector<unsigned int> SitesWithActives() const;
  // The active functions of these sites, whose tables are given.
  std::vector<HermiteTerm> Terms(std::vector<unsigned int> const& sites,
                                 SiteTables const& tables) const;
  // What all sites give, to a grid with elements.
  void AddToGrid(QXScalarGrid& grid);
};

/// The indices of each site, in the order given.
std::vector<std::vector<unsigned int>> MapActivesPerSite(std::vector<unsigned int> const& actives,
                                                         QXMultiHermiteParameters const& params);

/// actives[i] -> coefficients[i]; the first of equal indices stays.
std::map<unsigned int, double> MapCoeffsToActives(std::vector<double> coefficients,
                                                  std::vector<unsigned int> const& actives);

/// The indices, rising, of what is above or below zero: of neither zeros nor NaN.
std::vector<unsigned int> ComputeActives(std::vector<double> const& dense);

/// Rotates the coefficients of each site about its own centre, by the nine doubles of a row-major
/// matrix. in and out: a value for each function of the flat basis. The widths play no part: a site
/// has the same one on all axes. Always true.
bool RotateMultiHermiteCoefficients(std::vector<double> const& rotation,
                                    std::vector<double> const& in,
                                    QXMultiHermiteParameters const& params,
                                    std::vector<double>& out);

}  // namespace QXHermiteMath
