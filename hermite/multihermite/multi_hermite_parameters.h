#pragma once

#include <array>
#include <vector>

namespace QXHermiteMath {

/// The layout of a multi-centre basis: truncated Hermite bases about several sites, one after the
/// other in one flat index.
///
///   flat index   0 .. B(N_0)-1 | B(N_0) .. B(N_0)+B(N_1)-1 | ...
///   site         0             | 1                         | ...
///
/// Site s owns the indices from startIndices[s] up to the next start. Inside a site the functions
/// stand in shell order (see basis.h); since a smaller basis is a prefix of a larger one, one map
/// from local index to (l, m, n) serves all sites.
///
/// Degree and width are given once for all sites, as a single entry, or once for each site. The
/// width of a site holds for its three axes, 1/angstrom. Centres: x, y, z of each site, angstrom.
/// Neither lengths nor indices are checked.
///
/// Example:
///   QXMultiHermiteParameters params(2, 0.8, {0, 0, 0, 1.5, 0, 0});
///   params.NumBasis();    // 20
///   params.GetSite(10);   // 1
class QXMultiHermiteParameters {
 public:
  QXMultiHermiteParameters() = default;
  /// Degrees, widths (1/angstrom) and centres (x, y, z of each site, angstrom), in the forms that
  /// the class allows.
  QXMultiHermiteParameters(std::vector<unsigned int> const& nPolyMax,
                           std::vector<double> const& lambda, std::vector<double> const& centers);
  QXMultiHermiteParameters(unsigned int nPolyMax, double lambda,
                           std::vector<double> const& centers);
  QXMultiHermiteParameters(unsigned int nPolyMax, std::vector<double> const& lambda,
                           std::vector<double> const& centers);
  QXMultiHermiteParameters(std::vector<unsigned int> const& nPolyMax, double lambda,
                           std::vector<double> const& centers);

  /// Works out what follows from degrees and centres. The constructors call it. Always true.
  bool InitializeAuxiliaryParameters();

  /// The size of the flat basis. Summed over the degrees as given, not over the sites.
  unsigned int SizeOfMultiBasis() const;
  /// The largest degree, 0 without any.
  unsigned int LargestNPolyMax() const;
  /// The flat index of the first function of each site.
  std::vector<unsigned int> StartIndices() const;

  /// Moves every centre c to R c, about the origin of coordinates. rotation: nine doubles,
  /// row-major. Always true.
  bool RotateSites(std::vector<double> const& rotation);
  /// Adds three doubles to every centre. Always true.
  bool TranslateSites(std::vector<double> const& translation);

  /// Degrees and widths as given, with one entry where one was given.
  std::vector<unsigned int> GetNPolyMaxValues() const { return nPolyMax; }
  std::vector<double> GetLambdaValues() const { return lambda; }
  std::vector<double> GetCenterValues() const { return centers; }

  /// The degree and the width, 1/angstrom, of a site.
  unsigned int GetNPolyMax(unsigned int site) const {
    return nPolyMax.size() == 1 ? nPolyMax[0] : nPolyMax[site];
  }
  double GetLambda(unsigned int site) const {
    return lambda.size() == 1 ? lambda[0] : lambda[site];
  }
  /// Three doubles.
  std::vector<double> GetCenter(unsigned int site) const;
  /// (l, m, n) of a flat index that the site owns.
  std::array<unsigned int, 3> GetLmn(unsigned int site, unsigned int index) const {
    return lmnMap[index - startIndices[site]];
  }
  /// The site that owns a flat index; 0xFFFFFFFF when there are no sites.
  unsigned int GetSite(unsigned int index) const;

  /// The functions and the sites, the largest degree, and the flat index of the first function of a
  /// site, as they were worked out.
  unsigned int NumBasis() const { return numBasis; }
  unsigned int NumSites() const { return numSites; }
  unsigned int GetLargestNPolyMax() const { return largestNPolyMax; }
  unsigned int GetStartIndex(unsigned int site) const { return startIndices[site]; }

 private:
  std::vector<unsigned int> nPolyMax;
  std::vector<double> lambda;
  std::vector<double> centers;
  unsigned int numBasis = 0;
  unsigned int numSites = 0;
  unsigned int largestNPolyMax = 0;
  std::vector<unsigned int> startIndices;
  std::vector<std::array<unsigned int, 3>> lmnMap;
};

/// QXHermiteBasisSize, the number of functions of a site of this degree.
unsigned int SizeOfBasis(unsigned int nPolyMax);

/// (l, m, n) of every place in shell order.
std::vector<std::array<unsigned int, 3>> BuildLmnMap(unsigned int nPolyMax);

}  // namespace QXHermiteMath
