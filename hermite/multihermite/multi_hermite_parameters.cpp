#include "hermite/multihermite/multi_hermite_parameters.h"

#include <algorithm>
#include <cstdint>

#include "hermite/foundations/basis.h"

namespace QXHermiteMath {

QXMultiHermiteParameters::QXMultiHermiteParameters(std::vector<unsigned int> const& nPolyMax_,
                                                   std::vector<double> const& lambda_,
                                                   std::vector<double> const& centers_)
    : nPolyMax(nPolyMax_), lambda(lambda_), centers(centers_) {
  InitializeAuxiliaryParameters();
}

QXMultiHermiteParameters::QXMultiHermiteParameters(unsigned int nPolyMax_, double lambda_,
                                                   std::vector<double> const& centers_)
    : QXMultiHermiteParameters(std::vector<unsigned int>(1, nPolyMax_),
                               std::vector<double>(1, lambda_), centers_) {}

QXMultiHermiteParameters::QXMultiHermiteParameters(unsigned int nPolyMax_,
                                                   std::vector<double> const& lambda_,
                                                   std::vector<double> const& centers_)
    : QXMultiHermiteParameters(std::vector<unsigned int>(1, nPolyMax_), lambda_, centers_) {}

QXMultiHermiteParameters::QXMultiHermiteParameters(std::vector<unsigned int> const& nPolyMax_,
                                                   double lambda_,
                                                   std::vector<double> const& centers_)
    : QXMultiHermiteParameters(nPolyMax_, std::vector<double>(1, lambda_), centers_) {}

bool QXMultiHermiteParameters::InitializeAuxiliaryParameters() {
  numSites = static_cast<unsigned int>(centers.size() / 3);
  numBasis = SizeOfMultiBasis();
  largestNPolyMax = LargestNPolyMax();
  startIndices = StartIndices();
  lmnMap = BuildLmnMap(largestNPolyMax);
  return true;
}

unsigned int QXMultiHermiteParameters::SizeOfMultiBasis() const {
  if (nPolyMax.size() == 1)
    return static_cast<unsigned int>(uint64_t{centers.size()} * SizeOfBasis(nPolyMax[0]) / 3);
  unsigned int size = 0;
  for (unsigned int N : nPolyMax) size += SizeOfBasis(N);
  return size;
}

unsigned int QXMultiHermiteParameters::LargestNPolyMax() const {
  return nPolyMax.empty() ? 0 : *std::max_element(nPolyMax.begin(), nPolyMax.end());
}

std::vector<unsigned int> QXMultiHermiteParameters::StartIndices() const {
  const bool common = nPolyMax.size() == 1;
  std::vector<unsigned int> starts(common ? numSites : nPolyMax.size());
  unsigned int start = 0;
  for (unsigned int site = 0; site < starts.size(); ++site) {
    starts[site] = start;
    start += SizeOfBasis(GetNPolyMax(site));
  }
  return starts;
}

bool QXMultiHermiteParameters::RotateSites(std::vector<double> const& rotation) {
  const double* r = rotation.data();
  std::vector<double> rotated(centers.size());
  for (size_t i = 0; i + 2 < centers.size(); i += 3) {
    const double x = centers[i], y = centers[i + 1], z = centers[i + 2];
    for (size_t row = 0; row < 3; ++row)
      rotated[i + row] = r[3 * row] * x + r[3 * row + 1] * y + r[3 * row + 2] * z;
  }
  centers = std::move(rotated);
  return true;
}

bool QXMultiHermiteParameters::TranslateSites(std::vector<double> const& translation) {
  for (size_t i = 0; i < centers.size(); ++i) centers[i] += translation[i % 3];
  return true;
}

std::vector<double> QXMultiHermiteParameters::GetCenter(unsigned int site) const {
  const double* center = centers.data() + size_t{3} * site;
  return {center, center + 3};
}

unsigned int QXMultiHermiteParameters::GetSite(unsigned int index) const {
  const auto next = std::upper_bound(startIndices.begin(), startIndices.end(), index);
  return static_cast<unsigned int>(next - startIndices.begin()) - 1;
}

unsigned int SizeOfBasis(unsigned int nPolyMax) {
  return QXHermiteBasisSize(nPolyMax);
}

std::vector<std::array<unsigned int, 3>> BuildLmnMap(unsigned int nPolyMax) {
  std::vector<std::array<unsigned int, 3>> map;
  map.reserve(SizeOfBasis(nPolyMax));
  ForEachLmn(nPolyMax, [&](unsigned int, unsigned int l, unsigned int m, unsigned int n) {
    map.push_back({l, m, n});
  });
  return map;
}

}  // namespace QXHermiteMath
