#include "host/grid/field_grid.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <mutex>
#include <vector>

#include "host/core/throw.h"
#include "host/grid/grid_gaussian.h"
#include "host/grid/grid_sampler.h"
#include "host/grid/skew_grid.h"

namespace QXFieldKit {

using QXCore::QXScalarGrid;
using QXCore::QXThrow;

namespace {

/// The grids that have handles. They are never changed, so that reading needs no lock.
class Registry {
 public:
  int Add(QXFieldGrid& grid) {
    const std::lock_guard lock(mutex_);
    grids_.emplace_back(&grid);
    return static_cast<int>(grids_.size());
  }

  const QXScalarGrid* Find(int handle) {
    const std::lock_guard lock(mutex_);
    if (handle < 1 || static_cast<size_t>(handle) > grids_.size()) return nullptr;
    return &grids_[static_cast<size_t>(handle) - 1]->GetGrid();
  }

 private:
  std::mutex mutex_;
  std::vector<std::unique_ptr<QXFieldGrid>> grids_;
};

Registry& Grids() {
  static Registry registry;
  return registry;
}

bool SameGeometry(const QXScalarGrid& a, const QXScalarGrid& b) {
  return a.GetXDim() == b.GetXDim() && a.GetYDim() == b.GetYDim() && a.GetZDim() == b.GetZDim() &&
         a.GetSpacing() == b.GetSpacing() && a.GetXMid() == b.GetXMid() &&
         a.GetYMid() == b.GetYMid() && a.GetZMid() == b.GetZMid();
}

/// Indices of b, fractional ones, at the elements of a along one axis.
std::vector<double> IndicesOf(const QXScalarGrid& a, const QXScalarGrid& b, size_t axis) {
  unsigned int dim[3];
  a.GetDim(dim[0], dim[1], dim[2]);
  const double offset = QXCore::QXGridOrigin(a)[axis] - QXCore::QXGridOrigin(b)[axis];
  std::vector<double> indices(dim[axis]);
  for (unsigned int i = 0; i < dim[axis]; ++i) {
    indices[i] = (offset + i * static_cast<double>(a.GetSpacing())) / b.GetSpacing();
  }
  return indices;
}

/// The sum over elements of a of a times b.
double Product(const QXScalarGrid& a, const QXScalarGrid& b) {
  const float* value = a.GetValues();
  double sum = 0;
  if (SameGeometry(a, b)) {
    for (size_t i = 0; i < a.GetSize(); ++i)
      sum += static_cast<double>(value[i]) * b.GetValues()[i];
    return sum;
  }
  const QXCore::QXGridSampler sample(b);
  const auto x = IndicesOf(a, b, 0), y = IndicesOf(a, b, 1), z = IndicesOf(a, b, 2);
  for (const double k : z) {
    for (const double j : y) {
      for (const double i : x) sum += static_cast<double>(*value++) * sample({i, j, k});
    }
  }
  return sum;
}

float Overlap(const QXScalarGrid& a, const QXScalarGrid& b) {
  return static_cast<float>(Product(a, b) * std::pow(static_cast<double>(a.GetSpacing()), 3));
}

}  // namespace

int QXAcquireGridHandle(QXFieldGrid& grid) {
  return Grids().Add(grid);
}

std::array<float, 3> QXGridOverlap(int handleA, int handleB, int, float) {
  const QXScalarGrid* a = Grids().Find(handleA);
  const QXScalarGrid* b = Grids().Find(handleB);
  if (!a || !b) {
    QXThrow.Error("There is no grid of handle %d: acquire one first.", a ? handleB : handleA);
    return {0.0f, 0.0f, 0.0f};
  }
  return QXGridOverlap(*a, *b);
}

std::array<float, 3> QXGridOverlap(const QXScalarGrid& a, const QXScalarGrid& b) {
  return {Overlap(a, a), Overlap(b, b), Overlap(a, b)};
}

void QXAddAtomGaussian(QXScalarGrid& grid, unsigned int atomicNumber, const double* centre) {
  constexpr double kAmplitude = 2.7, kWidth = 2.34422871067;  // the width for a radius of 1
  const double radius = QXBondiRadius(atomicNumber);
  QXCore::QXAddGaussian(grid, kAmplitude, kWidth / (radius * radius), centre);
}

void QXMakeMolecularGaussianGrid(QXScalarGrid& grid, const QXMolKit::QXMolBase& mol) {
  std::fill_n(grid.GetValues(), grid.GetSize(), 0.0f);
  for (unsigned int i = 0; i < mol.NumAtoms(); ++i) {
    const QXMolKit::QXAtom* atom = mol.GetAtom(i);
    double centre[3];
    mol.GetCoords(atom, centre);
    QXAddAtomGaussian(grid, atom->GetAtomicNum(), centre);
  }
}

double QXBondiRadius(unsigned int atomicNumber) {
  constexpr double kOther = 1.7;
  static constexpr std::pair<unsigned int, double> kRadii[] = {
      {1, 1.20},  {2, 1.40},  {3, 1.82},  {4, 1.53},  {5, 1.92},  {6, 1.70},  {7, 1.55},
      {8, 1.52},  {9, 1.47},  {10, 1.54}, {11, 2.27}, {12, 1.73}, {13, 1.84}, {14, 2.10},
      {15, 1.80}, {16, 1.80}, {17, 1.75}, {18, 1.88}, {19, 2.75}, {20, 2.31}, {28, 1.63},
      {29, 1.40}, {30, 1.39}, {46, 1.63}, {47, 1.72}, {48, 1.58}, {78, 1.75}, {79, 1.66},
      {80, 1.55}, {92, 1.86}, {31, 1.87}, {32, 2.11}, {33, 1.85}, {34, 1.90}, {35, 1.85},
      {36, 2.02}, {37, 3.03}, {38, 2.49}, {49, 1.93}, {50, 2.17}, {51, 2.06}, {52, 2.06},
      {53, 1.98}, {54, 2.16}, {55, 3.43}, {56, 2.68}, {81, 1.96}, {82, 2.02}, {83, 2.07},
      {84, 1.97}, {85, 2.02}, {86, 2.20}, {87, 3.48}, {88, 2.83}};
  const auto found =
      std::ranges::find(kRadii, atomicNumber, [](const auto& entry) { return entry.first; });
  return found == std::end(kRadii) ? kOther : found->second;
}

}  // namespace QXFieldKit
