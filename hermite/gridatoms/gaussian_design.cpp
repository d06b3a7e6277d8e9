#include "hermite/gridatoms/gaussian_design.h"

#include <algorithm>
#include <cmath>
#include <compare>

namespace QXHermiteMath {

namespace {

using Eigen::Index;
using QXCore::QXSimdLevel;

/// Points side by side, at any level: rows of a molecule are too short for more.
constexpr size_t kBlock = 4;
using Doubles = QXCore::QXPack<double, kBlock>::Type;

/// Of the largest element of a column: beneath the rounding of any sum with it.
constexpr double kNegligible = 1e-18;

/// Any order of all numbers does, NaN among them.
bool Less(double a, double b) {
  return std::strong_order(a, b) == std::strong_ordering::less;
}

std::vector<double> Distinct(std::vector<double> const& points, size_t axis) {
  std::vector<double> values;
  for (size_t i = axis; i < points.size(); i += 3) values.push_back(points[i]);
  std::sort(values.begin(), values.end(), Less);
  const auto same = [](double a, double b) { return !Less(a, b); };
  values.erase(std::unique(values.begin(), values.end(), same), values.end());
  return values;
}

uint32_t Find(std::vector<double> const& distinct, double value) {
  const auto at = std::lower_bound(distinct.begin(), distinct.end(), value, Less);
  return static_cast<uint32_t>(at - distinct.begin());
}

/// One column of g, by its factors at the distinct coordinates, and where it is negligible.
struct Factors {
  const double *x, *y, *z;
  double largestXY;
  double negligible;
  uint32_t nearest;     ///< the place of the largest factor of x
  uint32_t begin, end;  ///< of the factors of x that count

  /// The place of the largest factor of x in a row.
  [[gnu::always_inline]] uint32_t NearestOf(const GaussianDesign::Row& row) const {
    const uint32_t last = row.x + row.length - 1;
    return nearest < row.x ? row.x : nearest > last ? last : nearest;
  }
  [[gnu::always_inline]] bool Skips(const GaussianDesign::Plane& plane) const {
    return z[plane.z] * largestXY < negligible;
  }
  [[gnu::always_inline]] bool Skips(const GaussianDesign::Row& row, double yz) const {
    return yz * x[NearestOf(row)] < negligible;
  }
};

/// The part of a kernel that walks over the blocks of a column that are not negligible. Task has
/// a call operator of a block of elements of g and the place of the block.
template <typename Task>
struct ColumnKernel {
  const GaussianDesign::Plane* planes;
  size_t numPlanes;
  const GaussianDesign::Row* rows;
  Factors g;
  Task* task;

  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    Task local = *task;  // in registers
    for (const auto* plane = planes; plane != planes + numPlanes; ++plane) {
      if (g.Skips(*plane)) continue;
      for (size_t r = plane->beginRow; r < plane->endRow; ++r) {
        const GaussianDesign::Row& row = rows[r];
        const double yz = g.y[row.y] * g.z[plane->z];
        if (g.Skips(row, yz)) continue;
        const size_t from = std::max(g.begin, row.x) - row.x;
        const size_t to = std::max(std::min(g.end, row.x + row.length), row.x) - row.x;
        for (size_t b = from / kBlock; b * kBlock < to; ++b) {
          const double* x = g.x + row.x + b * kBlock;
          local(yz * *reinterpret_cast<const Doubles*>(x), row.firstBlock + b);
        }
      }
    }
    *task = local;
  }
};

double Sum(const Doubles& pack) {
  return (pack[0] + pack[1]) + (pack[2] + pack[3]);
}

/// Products with `Count` vectors, in blocks: vector k of block b stands at (b Count + k) kBlock.
template <int Count>
struct ProductTask {
  const double* vectors;
  Doubles sums[Count] = {};

  [[gnu::always_inline]] void operator()(const Doubles& g, size_t block) {
    const auto* v = reinterpret_cast<const Doubles*>(vectors) + block * Count;
#pragma GCC unroll 8
    for (int k = 0; k < Count; ++k) sums[k] += g * v[k];
  }
};

/// The sum of (g - mean)^2 over the elements visited, and how many they are. ones: 1 for a point, 0
/// for the padding.
struct SquareTask {
  const double* ones;
  double mean;
  Doubles squares = {}, visited = {};

  [[gnu::always_inline]] void operator()(const Doubles& g, size_t block) {
    const Doubles one = reinterpret_cast<const Doubles*>(ones)[block];
    // Rounded before the subtraction: a fused one would leave the rounding in a constant column.
    Doubles rounded = g;
    asm("" : "+m"(rounded));
    const Doubles d = rounded - mean;
    squares += one * d * d;
    visited += one;
  }
};

}  // namespace

/// One column of g with its storage.
struct GaussianDesign::Column {
  std::vector<double> factors[3];
  double largest[3];
  Factors g;
};

GaussianDesign::GaussianDesign(std::vector<double> const& points,
                               std::vector<double> const& newCenters, double newExponent,
                               QXSimdLevel newLevel)
    : centers_(newCenters),
      exponent_(newExponent),
      level_(newLevel),
      numPoints_(points.size() / 3),
      largest_(newCenters.size() / 3),
      means_(static_cast<Index>(newCenters.size() / 3)),
      norms_(static_cast<Index>(newCenters.size() / 3)) {
  FindRows(points);
  Normalize();
}

bool GaussianDesign::SharesCoordinates(std::vector<double> const& points) {
  const size_t distinct =
      Distinct(points, 0).size() + Distinct(points, 1).size() + Distinct(points, 2).size();
  return distinct < points.size() / 3;
}

void GaussianDesign::FindRows(std::vector<double> const& points) {
  for (size_t axis = 0; axis < 3; ++axis) distinct_[axis] = Distinct(points, axis);
  for (size_t p = 0; p < numPoints_; ++p) {
    const uint32_t x = Find(distinct_[0], points[3 * p]);
    const uint32_t y = Find(distinct_[1], points[3 * p + 1]);
    const uint32_t z = Find(distinct_[2], points[3 * p + 2]);
    const bool samePlane = !planes_.empty() && planes_.back().z == z;
    if (samePlane && rows_.back().y == y && rows_.back().x + rows_.back().length == x) {
      if (rows_.back().length++ % kBlock == 0) ++numBlocks_;
      continue;
    }
    if (!samePlane) planes_.push_back({z, rows_.size(), rows_.size()});
    rows_.push_back({x, y, 1, p, numBlocks_++});
    planes_.back().endRow = rows_.size();
  }
}

void GaussianDesign::FillFactors(Index j, Column& column) const {
  for (size_t axis = 0; axis < 3; ++axis) {
    const double center = centers_[3 * static_cast<size_t>(j) + axis];
    std::vector<double>& factors = column.factors[axis];
    factors.clear();
    for (const double coordinate : distinct_[axis]) {
      const double d = coordinate - center;
      factors.push_back(std::exp(-exponent_ * (d * d)));
    }
    const auto largest = std::max_element(factors.begin(), factors.end());
    column.largest[axis] = largest == factors.end() ? 0.0 : *largest;
    if (axis == 0) column.g.nearest = static_cast<uint32_t>(largest - factors.begin());
    factors.resize(factors.size() + kBlock, 0.0);  // room for a block from any place
  }
  column.g.x = column.factors[0].data();
  column.g.y = column.factors[1].data();
  column.g.z = column.factors[2].data();
  column.g.largestXY = column.largest[0] * column.largest[1];
}

double GaussianDesign::FindLargest(const Column& column) const {
  double largest = 0.0;
  for (const Plane& plane : planes_) {
    for (size_t r = plane.beginRow; r < plane.endRow; ++r) {
      const Factors& g = column.g;
      largest = std::max(largest, g.y[rows_[r].y] * g.z[plane.z] * g.x[g.NearestOf(rows_[r])]);
    }
  }
  return largest;
}

void GaussianDesign::LeaveOut(double negligible, Column& column) const {
  Factors& g = column.g;
  g.negligible = negligible;
  g.begin = 0;
  g.end = static_cast<uint32_t>(distinct_[0].size());
  const double yz = column.largest[1] * column.largest[2];
  while (g.begin < g.end && g.x[g.begin] * yz < negligible) ++g.begin;
  while (g.begin < g.end && g.x[g.end - 1] * yz < negligible) --g.end;
}

void GaussianDesign::FillColumn(Index j, Column& column) const {
  FillFactors(j, column);
  LeaveOut(kNegligible * largest_[static_cast<size_t>(j)], column);
}

template <typename Task>
void GaussianDesign::Run(const Column& column, Task& task) const {
  QXCore::QXRunKernel(
      level_, ColumnKernel<Task>{planes_.data(), planes_.size(), rows_.data(), column.g, &task});
}

void GaussianDesign::Normalize() {
  std::vector<double> ones(numBlocks_ * kBlock, 0.0);
  for (const Row& row : rows_) std::fill_n(&ones[row.firstBlock * kBlock], row.length, 1.0);
  const auto count = static_cast<double>(numPoints_);
  Column column;
  for (Index j = 0; j < Cols(); ++j) {
    FillFactors(j, column);
    largest_[static_cast<size_t>(j)] = FindLargest(column);
    LeaveOut(kNegligible * largest_[static_cast<size_t>(j)], column);
    ProductTask<1> total{ones.data()};
    Run(column, total);
    means_[j] = Sum(total.sums[0]) / count;
    // In two passes: the squares less count mean^2 would cancel in a wide column.
    SquareTask squares{ones.data(), means_[j]};
    Run(column, squares);
    const double leftOut = count - Sum(squares.visited);
    norms_[j] = std::sqrt(Sum(squares.squares) + leftOut * means_[j] * means_[j]);
  }
}

template <int Count>
void GaussianDesign::CorrelateGroup(const Eigen::MatrixXd& vectors, Index first,
                                    Eigen::MatrixXd& products) const {
  // Centring the vectors does what centring the columns would, and cancels less.
  const Index count = std::min<Index>(Count, vectors.cols() - first);
  std::vector<double> blocks(numBlocks_ * Count * kBlock, 0.0);
  for (Index k = 0; k < count; ++k) {
    const double* vector = vectors.col(first + k).data();
    const double mean = vectors.col(first + k).sum() / static_cast<double>(numPoints_);
    for (const Row& row : rows_) {
      double* out = &blocks[(row.firstBlock * Count + static_cast<size_t>(k)) * kBlock];
      for (size_t i = 0; i < row.length; ++i)
        out[i / kBlock * Count * kBlock + i % kBlock] = vector[row.firstPoint + i] - mean;
    }
  }
  Column column;
  for (Index j = 0; j < Cols(); ++j) {
    FillColumn(j, column);
    ProductTask<Count> task{blocks.data()};
    Run(column, task);
    for (Index k = 0; k < count; ++k) products(j, first + k) = Sum(task.sums[k]) / norms_[j];
  }
}

void GaussianDesign::Correlate(const Eigen::MatrixXd& vectors, Eigen::MatrixXd& products) const {
  products.resize(Cols(), vectors.cols());
  for (Index first = 0; first < vectors.cols(); first += 8) {
    const Index left = vectors.cols() - first;
    if (left > 4) {
      CorrelateGroup<8>(vectors, first, products);
    } else if (left > 2) {
      CorrelateGroup<4>(vectors, first, products);
    } else if (left > 1) {
      CorrelateGroup<2>(vectors, first, products);
    } else {
      CorrelateGroup<1>(vectors, first, products);
    }
  }
}

void GaussianDesign::CopyColumn(Index j, double* out) const {
  Column column;
  FillColumn(j, column);
  const Factors& g = column.g;
  for (const Plane& plane : planes_) {
    for (size_t r = plane.beginRow; r < plane.endRow; ++r) {
      const Row& row = rows_[r];
      const double yz = g.y[row.y] * g.z[plane.z];
      for (size_t i = 0; i < row.length; ++i)
        out[row.firstPoint + i] = (yz * g.x[row.x + i] - means_[j]) / norms_[j];
    }
  }
}

}  // namespace QXHermiteMath
