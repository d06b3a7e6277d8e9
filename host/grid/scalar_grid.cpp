#include "host/grid/scalar_grid.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "host/core/throw.h"

namespace QXCore {

void QXGridBase::Clear() {
  title_.clear();
  spacing_ = reciprocalSpacing_ = 1.0f;
  spacingSet_ = false;
  for (int axis = 0; axis < 3; ++axis) {
    mid_[axis] = 0.0f;
    midSet_[axis] = false;
  }
  SetDim(0, 0, 0);
}

void QXGridBase::GetDim(unsigned int& x, unsigned int& y, unsigned int& z) const {
  x = dim_[0];
  y = dim_[1];
  z = dim_[2];
}

void QXGridBase::GetMid(float& x, float& y, float& z) const {
  x = mid_[0];
  y = mid_[1];
  z = mid_[2];
}

void QXGridBase::SetSpacing(float spacing) {
  spacing_ = spacing;
  reciprocalSpacing_ = 1.0f / spacing;
  spacingSet_ = true;
  UpdateBox();
}

void QXGridBase::SetMid(float x, float y, float z) {
  SetMid(0, x);
  SetMid(1, y);
  SetMid(2, z);
}

void QXGridBase::SetMid(int axis, float mid) {
  mid_[axis] = mid;
  midSet_[axis] = true;
  UpdateBox();
}

void QXGridBase::SetDim(unsigned int x, unsigned int y, unsigned int z) {
  constexpr uint64_t kLargest = std::numeric_limits<unsigned int>::max();
  const uint64_t plane = uint64_t{x} * y;
  if (z != 0 && plane > kLargest / z) {
    QXThrow.Error("A grid of %u x %u x %u elements is too large: choose a larger spacing.", x, y,
                  z);
    x = y = z = 0;
  }
  dim_[0] = x;
  dim_[1] = y;
  dim_[2] = z;
  size_ = x * y * z;
  UpdateBox();
  Realloc();
}

void QXGridBase::UpdateBox() {
  for (int axis = 0; axis < 3; ++axis) {
    const float half = static_cast<float>(dim_[axis]) * 0.5f * spacing_;
    min_[axis] = mid_[axis] - half;
    max_[axis] = mid_[axis] + half;
  }
}

bool QXGridBase::SpatialCoordToElement(float x, float y, float z, unsigned int& element) const {
  const float point[3] = {x, y, z};
  unsigned int index[3];
  bool inside = true;
  for (int axis = 0; axis < 3; ++axis) {
    const float c = point[axis];
    const float halfDim = static_cast<float>(dim_[axis]) * 0.5f;
    index[axis] = 0;
    if (!(c <= min_[axis])) {
      // Compared before it is truncated, so that no number is too large for an index.
      const float place = halfDim + (c - mid_[axis]) * reciprocalSpacing_;
      index[axis] = place < static_cast<float>(dim_[axis]) ? static_cast<unsigned int>(place)
                                                           : dim_[axis] - 1;
    }
    inside = inside && min_[axis] <= c && c < max_[axis];
  }
  element = index[0] + dim_[0] * (index[1] + dim_[1] * index[2]);
  return inside;
}

template <typename T>
bool QXFixedGrid<T>::SetValues(const T* values, unsigned int size) {
  if (values == nullptr) {
    QXThrow.Warning("Attempting to set grid data with zero pointer");
    return false;
  }
  if (size != GetSize()) {
    QXThrow.Warning("Attempting to set grid data with wrong size array");
    return false;
  }
  std::copy_n(values, size, values_);
  return true;
}

template <typename T>
QXGrid<T>& QXGrid<T>::operator=(const QXGrid& other) {
  if (this == &other) return *this;
  storage_ = other.storage_;  // first, for it may fail
  QXFixedGrid<T>::operator=(other);
  Point();
  return *this;
}

template <typename T>
QXGrid<T>& QXGrid<T>::operator=(QXGrid&& other) noexcept {
  if (this == &other) return *this;
  QXFixedGrid<T>::operator=(std::move(other));
  Take(other);
  return *this;
}

template <typename T>
void QXGrid<T>::Take(QXGrid& other) {
  storage_ = std::move(other.storage_);
  Point();
  other.Clear();
}

template <typename T>
bool QXGrid<T>::IsDataType(const void* type) const {
  return type == QXGridDataType<QXGrid<T>>() || type == QXGridDataType<QXFixedGrid<T>>() ||
         QXGridBase::IsDataType(type);
}

template <typename T>
void QXGrid<T>::Realloc() {
  storage_ = std::vector<T>();  // so that both arrays never stand side by side
  Point();
  storage_.resize(this->GetSize());
  Point();
}

template class QXFixedGrid<float>;
template class QXGrid<float>;

std::vector<float> QXElementCoords(const QXGridBase& grid, int axis) {
  unsigned int dim[3];
  float mid[3];
  grid.GetDim(dim[0], dim[1], dim[2]);
  grid.GetMid(mid[0], mid[1], mid[2]);
  std::vector<float> coords(dim[axis]);
  for (unsigned int i = 0; i < dim[axis]; ++i) {
    coords[i] = QXElementCoord(i, dim[axis], grid.GetSpacing(), mid[axis]);
  }
  return coords;
}

template <typename T>
T QXLinearInterpolate(const QXFixedGrid<T>& grid, float x, float y, float z, const T& outside) {
  unsigned int dim[3];
  float mid[3];
  grid.GetDim(dim[0], dim[1], dim[2]);
  grid.GetMid(mid[0], mid[1], mid[2]);
  const float point[3] = {x, y, z};
  size_t index[3];
  double f[3];
  for (int axis = 0; axis < 3; ++axis) {
    const double g = static_cast<double>(point[axis] - mid[axis]) / grid.GetSpacing() +
                     (static_cast<double>(dim[axis]) - 1.0) * 0.5;
    if (!(g >= 0.0 && g < static_cast<double>(dim[axis]) - 1.0)) return outside;
    index[axis] = static_cast<size_t>(g);
    f[axis] = g - static_cast<double>(index[axis]);
  }
  const auto between = [](double a, double b, double fraction) { return a + fraction * (b - a); };
  const size_t row = dim[0], plane = row * dim[1];
  const T* corner = grid.GetValues() + index[0] + row * index[1] + plane * index[2];
  const auto alongX = [&](const T* v) {
    return between(static_cast<double>(v[0]), static_cast<double>(v[1]), f[0]);
  };
  const auto alongY = [&](const T* v) { return between(alongX(v), alongX(v + row), f[1]); };
  return static_cast<T>(between(alongY(corner), alongY(corner + plane), f[2]));
}

template float QXLinearInterpolate<float>(const QXFixedGrid<float>&, float, float, float,
                                          const float&);

}  // namespace QXCore
