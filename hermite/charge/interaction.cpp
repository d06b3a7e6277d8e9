#include "hermite/charge/interaction.h"

#include <algorithm>
#include <cmath>

#include "hermite/charge/charge_terms.h"
#include "hermite/charge/r_table_lanes.h"
#include "hermite/foundations/basis.h"

// This file is compiled as r_table_lanes.cpp is.

namespace QXHermiteMath {

namespace {

constexpr double kEnergyFactor = 11617.858885866724;  // 2 pi^(5/2) 332.063713

/// The entries of R(0; b, c, d) for b + c + d <= order, such that the place of (b, c, d) plus that
/// of (b', c', d') is that of the sum.
class EntryMap {
 public:
  explicit EntryMap(unsigned int order) : width(order + 1), entries(width * width * width) {
    for (unsigned int b = 0; b <= order; ++b)
      for (unsigned int c = 0; c <= order - b; ++c)
        for (unsigned int d = 0; d <= order - b - c; ++d)
          entries[Place(b, c, d)] = RIndex(0, b, c, d);
  }
  size_t Place(size_t b, size_t c, size_t d) const { return (b * width + c) * width + d; }
  const unsigned int* Entries() const { return entries.data(); }

 private:
  size_t width;
  std::vector<unsigned int> entries;
};

/// A function of a site, at its place in an EntryMap.
struct Function {
  size_t place;
  double weight;
};

std::vector<Function> Functions(ChargeSite const& site, EntryMap const& map) {
  std::vector<Function> functions;
  for (auto const& [l, m, n, weight] : site.terms)
    functions.push_back({map.Place(l, m, n), weight});
  return functions;
}

/// Up to kTableLanes sites of one degree, one a lane; what stands in the other lanes means nothing.
class SiteLanes {
 public:
  explicit SiteLanes(unsigned int newN) : N(newN), rows(SizeOfBasis(newN), kNone) {}

  bool HasRoomFor(ChargeSite const& site) const { return site.N == N && count < kTableLanes; }

  void Add(ChargeSite const& site, EntryMap const& map) {
    for (size_t axis = 0; axis < 3; ++axis) center[axis][count] = site.center[axis];
    beta[count] = site.lambda * site.lambda;
    for (auto const& [l, m, n, weight] : site.terms) {
      size_t& row = rows[GetLmnIndex(l, m, n)];
      if (row == kNone) {
        row = places.size();
        places.push_back(map.Place(l, m, n));
        weights.resize(weights.size() + kTableLanes);
      }
      // R is on the difference of the centres: its odd derivatives change sign for this one.
      weights[kTableLanes * row + count] += (l + m + n) % 2 == 0 ? weight : -weight;
    }
    hasFunctions[count++] = !site.terms.empty();
  }

  unsigned int N;
  size_t count = 0;
  double center[3][kTableLanes] = {};
  double beta[kTableLanes] = {};
  bool hasFunctions[kTableLanes] = {};
  std::vector<size_t> places;   ///< of the functions that any of the sites has
  std::vector<double> weights;  ///< of each of them kTableLanes, zero where a site does not have it

 private:
  static constexpr size_t kNone = ~size_t{0};
  std::vector<size_t> rows;  ///< of each function of the basis
};

std::vector<SiteLanes> Blocks(std::vector<ChargeSite> const& sites, EntryMap const& map) {
  std::vector<SiteLanes> blocks;
  for (ChargeSite const& site : sites) {
    const auto block = std::find_if(blocks.begin(), blocks.end(), [&site](SiteLanes const& lanes) {
      return lanes.HasRoomFor(site);
    });
    (block != blocks.end() ? *block : blocks.emplace_back(site.N)).Add(site, map);
  }
  return blocks;
}

/// Where the tables of a site of `a` with each of a block are built, and the factors that their
/// energies have in common: mu = alpha beta / (alpha + beta), R the difference of the centres.
struct Pairs {
  Pairs(ChargeSite const& site, SiteLanes const& lanes) {
    const double alpha = site.lambda * site.lambda;
    for (size_t i = 0; i < kTableLanes; ++i) {
      const double sum = alpha + lanes.beta[i], product = alpha * lanes.beta[i];
      places.X[i] = site.center[0] - lanes.center[0][i];
      places.Y[i] = site.center[1] - lanes.center[1][i];
      places.Z[i] = site.center[2] - lanes.center[2][i];
      places.alpha[i] = product / sum;
      factors[i] = 1.0 / (std::sqrt(sum) * product);
    }
  }
  RTablePlaces places;
  double factors[kTableLanes];
};

/// sums[lane] = the sum over the functions i of a site and j of a block of
/// weight_i weight_j R(0; l_i + l_j, m_i + m_j, n_i + n_j).
struct PairKernel {
  std::vector<Function> const& functions;
  SiteLanes const& lanes;
  const unsigned int* entries;
  const double* table;
  double* sums;

  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    constexpr size_t kPack = Lanes / 2;  // the doubles of one register
    constexpr size_t kPacks = kTableLanes / kPack;
    using Doubles = typename QXCore::QXPack<double, kPack>::Type;
    const Doubles* weights = reinterpret_cast<const Doubles*>(lanes.weights.data());
    const Doubles* rows = reinterpret_cast<const Doubles*>(table);
    Doubles sum[kPacks] = {};
    for (Function const& function : functions) {
      Doubles inner[kPacks] = {};
      const Doubles* weight = weights;
      for (size_t place : lanes.places) {
        const Doubles* row = rows + kPacks * entries[function.place + place];
#pragma GCC unroll 8
        for (size_t i = 0; i < kPacks; ++i) inner[i] += weight[i] * row[i];
        weight += kPacks;
      }
      for (size_t i = 0; i < kPacks; ++i) sum[i] += inner[i] * function.weight;
    }
    for (size_t i = 0; i < kPacks; ++i) reinterpret_cast<Doubles*>(sums)[i] = sum[i];
  }
};

}  // namespace

bool QXHermiteInteraction::SetupRef(QXHermiteChargeDensity const& density) {
  ref = density;
  refNPolyMax = ref.GetParams().GetLargestNPolyMax();
  return true;
}

bool QXHermiteInteraction::Setup(QXHermiteChargeDensity const& density) {
  fit = density;
  fitNPolyMax = fit.GetParams().GetLargestNPolyMax();
  const unsigned int order = fitNPolyMax + refNPolyMax;
  // Order 0 has a table too.
  if (order > maxOrder || rTable.empty()) {
    maxOrder = order;
    rTable.resize(SizeOfRTables(order));
  }
  return true;
}

double QXHermiteInteraction::CoulombEnergy() {
  return HermiteCoulombInteractionEnergy(ref, fit, rTable);
}

double QXHermiteInteraction::CoulombEnergy(std::vector<double> const& rotation,
                                           std::vector<double> const& translation) {
  QXHermiteChargeDensity moved = fit;
  moved.Rotate(rotation);
  moved.Translate(translation);
  return HermiteCoulombInteractionEnergy(ref, moved, rTable);
}

double HermiteCoulombInteractionEnergy(QXHermiteChargeDensity const& a,
                                       QXHermiteChargeDensity const& b,
                                       std::vector<double>& table) {
  const QXSimdLevel level = QXCore::QXGetSimdLevel();
  const unsigned int order =
      a.GetParams().GetLargestNPolyMax() + b.GetParams().GetLargestNPolyMax();
  if (table.size() < SizeOfRTables(order)) table.resize(SizeOfRTables(order));
  const EntryMap map(order);
  const std::vector<SiteLanes> blocks = Blocks(AllSites(b), map);
  double energy = 0.0;
  for (ChargeSite const& site : AllSites(a)) {
    const std::vector<Function> functions = Functions(site, map);
    for (SiteLanes const& lanes : blocks) {
      const Pairs pairs(site, lanes);
      // Also for sites without functions, whose tables are of no use: they are rare.
      BuildRTables(site.N + lanes.N, pairs.places, table.data(), level);
      if (functions.empty()) continue;
      double sums[kTableLanes];
      QXCore::QXRunKernel(level, PairKernel{functions, lanes, map.Entries(), table.data(), sums});
      for (size_t i = 0; i < lanes.count; ++i)
        if (lanes.hasFunctions[i]) energy += sums[i] * pairs.factors[i];
    }
  }
  return energy * kEnergyFactor;
}

}  // namespace QXHermiteMath
