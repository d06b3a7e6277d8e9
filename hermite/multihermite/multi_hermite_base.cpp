#include "hermite/multihermite/multi_hermite_base.h"

#include <algorithm>
#include <stdexcept>

#include "hermite/expansion/grid_evaluation.h"
#include "hermite/expansion/hermite.h"
#include "hermite/multihermite/site_tables.h"
#include "hermite/multihermite/term_kernels.h"

namespace QXHermiteMath {

bool QXMultiHermiteBase::SetCoefficients(std::vector<double> const& newCoefficients,
                                         std::vector<unsigned int> const& actives) {
  siteActives = MapActivesPerSite(actives, params);
  coefficients = MapCoeffsToActives(newCoefficients, actives);
  return true;
}

bool QXMultiHermiteBase::SetCoefficients(std::vector<double> const& dense) {
  const std::vector<unsigned int> actives = ComputeActives(dense);
  siteActives = MapActivesPerSite(actives, params);
  coefficients.clear();
  for (unsigned int index : actives)
    coefficients.emplace_hint(coefficients.end(), index, dense[index]);
  return true;
}

bool QXMultiHermiteBase::Rotate(std::vector<double> const& rotation) {
  const std::vector<double> dense = GetDenseCoefficients();
  std::vector<double> rotated(dense.size(), 0.0);
  RotateMultiHermiteCoefficients(rotation, dense, params, rotated);
  SetCoefficients(rotated);
  return params.RotateSites(rotation);
}

bool QXMultiHermiteBase::Translate(std::vector<double> const& translation) {
  return params.TranslateSites(translation);
}

std::vector<unsigned int> QXMultiHermiteBase::GetActives() const {
  std::vector<unsigned int> actives;
  actives.reserve(coefficients.size());
  for (auto const& [index, coefficient] : coefficients) actives.push_back(index);
  return actives;
}

double QXMultiHermiteBase::GetCoefficient(unsigned int index) const {
  const auto found = coefficients.find(index);
  // The text is our own, not that of the standard library's at().
  if (found == coefficients.end()) throw std::out_of_range("map::at:  key not found");
  return found->second;
}

std::vector<double> QXMultiHermiteBase::GetDenseCoefficients() const {
  std::vector<double> dense(params.NumBasis(), 0.0);
  for (auto const& [index, coefficient] : coefficients) dense[index] = coefficient;
  return dense;
}

std::vector<double> QXMultiHermiteBase::GetDenseCoefficients(unsigned int site) const {
  std::vector<double> dense(SizeOfBasis(params.GetNPolyMax(site)), 0.0);
  for (unsigned int index : siteActives[site])
    dense[index - params.GetStartIndex(site)] = GetCoefficient(index);
  return dense;
}

std::vector<unsigned int> QXMultiHermiteBase::SitesWithActives() const {
  std::vector<unsigned int> sites;
  for (unsigned int site = 0; site < siteActives.size(); ++site)
    if (!siteActives[site].empty()) sites.push_back(site);
  return sites;
}

double QXMultiHermiteBase::Exponent(std::vector<unsigned int> const& sites) const {
  const auto hasDegreeOne = [this](unsigned int site) { return params.GetNPolyMax(site) == 1; };
  return std::any_of(sites.begin(), sites.end(), hasDegreeOne) ? 0.0 : exponent;
}

std::vector<HermiteTerm> QXMultiHermiteBase::Terms(std::vector<unsigned int> const& sites,
                                                   SiteTables const& tables) const {
  std::vector<HermiteTerm> terms;
  for (size_t place = 0; place < sites.size(); ++place) {
    for (unsigned int index : siteActives[sites[place]]) {
      const auto [l, m, n] = params.GetLmn(sites[place], index);
      terms.push_back({GetCoefficient(index), tables.Row(place, 0, l), tables.Row(place, 1, m),
                       tables.Row(place, 2, n)});
    }
  }
  return terms;
}

std::vector<double> QXMultiHermiteBase::Evaluate(std::vector<double> const& points) {
  constexpr size_t kBlock = QXCore::kMostLanes;
  const std::vector<unsigned int> sites = SitesWithActives();
  SiteTables tables(params, sites, kBlock, Exponent(sites));
  const std::vector<HermiteTerm> terms = Terms(sites, tables);
  WorkTables work = MakeWorkTables(params);

  const QXSimdLevel level = QXCore::QXGetSimdLevel();
  std::vector<double> sums(points.size() / 3);
  double block[kBlock];
  for (size_t first = 0; first < sums.size(); first += kBlock) {
    const size_t count = std::min(kBlock, sums.size() - first);
    tables.Fill(*this, &points[3 * first], count, work, level);
    SumTerms(terms, kBlock, block, level);
    std::copy_n(block, count, &sums[first]);
  }
  return sums;
}

void QXMultiHermiteBase::AddToGrid(QXScalarGrid& grid) {
  // The tables along the three axes are those of the points on a diagonal, the shorter axes with
  // their last element again and again.
  const size_t longest = std::max({grid.GetXDim(), grid.GetYDim(), grid.GetZDim()});
  std::vector<double> diagonal(3 * longest);
  for (int axis = 0; axis < 3; ++axis) {
    const std::vector<float> coords = QXElementCoords(grid, axis);
    for (size_t i = 0; i < longest; ++i)
      diagonal[3 * i + axis] = coords[std::min(i, coords.size() - 1)];
  }
  WorkTables work = MakeWorkTables(params);
  const QXSimdLevel level = QXCore::QXGetSimdLevel();
  const std::vector<unsigned int> sites = SitesWithActives();
  for (unsigned int site : sites) {
    SiteTables tables(params, {site}, longest, Exponent(sites));
    tables.Fill(*this, diagonal.data(), longest, work, level);
    AddTerms(Terms({site}, tables), grid, level);
  }
}

bool QXMultiHermiteBase::EvaluateOnGrid(QXScalarGrid& grid) {
  std::fill_n(grid.GetValues(), grid.GetSize(), 0.0f);
  if (grid.GetSize() > 0) AddToGrid(grid);
  return true;
}

bool QXMultiHermiteBase::CreateGrid(QXScalarGrid& grid, double spacing, double extent) {
  const unsigned int dim = CubeDim(
      extent, spacing, kLargestMultiGridDim,
      "The grid spacing requires grid size exceeding maximum allowed of %d, in order to cover the "
      "entire molecule. Instead maximum value will be used. Try increasing spacing size.");
  grid.SetDim(dim, dim, dim);
  grid.SetSpacing(static_cast<float>(spacing));
  AddToGrid(grid);
  return true;
}

std::vector<std::vector<unsigned int>> MapActivesPerSite(std::vector<unsigned int> const& actives,
                                                         QXMultiHermiteParameters const& params) {
  std::vector<std::vector<unsigned int>> perSite(params.NumSites());
  for (unsigned int index : actives) perSite[params.GetSite(index)].push_back(index);
  return perSite;
}

std::map<unsigned int, double> MapCoeffsToActives(std::vector<double> coefficients,
                                                  std::vector<unsigned int> const& actives) {
  std::map<unsigned int, double> map;
  for (size_t i = 0; i < actives.size(); ++i) map.emplace(actives[i], coefficients[i]);
  return map;
}

std::vector<unsigned int> ComputeActives(std::vector<double> const& dense) {
  std::vector<unsigned int> actives;
  for (unsigned int i = 0; i < dense.size(); ++i)
    if (dense[i] < 0.0 || dense[i] > 0.0) actives.push_back(i);
  return actives;
}

bool RotateMultiHermiteCoefficients(std::vector<double> const& rotation,
                                    std::vector<double> const& in,
                                    QXMultiHermiteParameters const& params,
                                    std::vector<double>& out) {
  size_t start = 0;
  for (unsigned int site = 0; site < params.NumSites(); ++site) {
    QXHermiteOptions options;
    options.SetNPolyMax(params.GetNPolyMax(site));
    const double* first = in.data() + start;
    const size_t size = SizeOfBasis(params.GetNPolyMax(site));
    QXHermite hermite;
    // A degree that the options do not take has been reported by them: such a site stays zero.
    if (hermite.Setup(std::vector<double>(first, first + size), options)) {
      hermite.RotateHermites(rotation);
      std::copy_n(hermite.GetCoefficients().begin(), size, out.data() + start);
    }
    start += size;
  }
  return true;
}

}  // namespace QXHermiteMath
