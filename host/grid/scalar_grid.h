#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/core/base.h"

// Regular grids of values: one element distance for all axes, elements at the centres of cubic
// cells, the whole centred on its mid point.
//
// - Element (i, j, k) stands at the linear index i + xdim (j + ydim k): x runs fastest.
// - Its coordinates are those of QXElementCoord, in single precision.
// - The box is made of the outer faces of the cells: mid -+ dim spacing / 2.

namespace QXCore {

/// The coordinate, along one axis, of element `index` of `dim`: (index - (dim - 1)/2) spacing +
/// mid, in single precision and in this order of operations.
inline float QXElementCoord(unsigned int index, unsigned int dim, float spacing, float mid) {
  return (static_cast<float>(index) - static_cast<float>(dim - 1) * 0.5f) * spacing + mid;
}

/// A number, as an address, that stands for a type of grid: see QXGridBase::IsDataType.
template <typename GridType>
const void* QXGridDataType() {
  static const char place = 0;
  return &place;
}

/// The geometry of a grid. Without elements, at the origin and with a spacing of 1 until set.
class QXGridBase : public QXBase {
 public:
  ~QXGridBase() override = default;

  /// Back to what the default constructor makes; attached data stays.
  virtual void Clear();
  /// The type of the most derived class that has one, to be asked for with IsDataType.
  virtual const void* GetDataType() const { return QXGridDataType<QXGridBase>(); }
  /// True for the type of this class and of those it derives from: QXGridDataType<QXGrid<float>>().
  virtual bool IsDataType(const void* type) const { return type == QXGridDataType<QXGridBase>(); }
  /// A deep copy, owned by the caller.
  virtual QXGridBase* CreateCopy() const = 0;

  /// The title, possibly empty.
  virtual const std::string& GetTitle() const { return title_; }
  virtual void SetTitle(const std::string& title) { title_ = title; }
  /// The distance of neighbouring elements, on all axes.
  virtual float GetSpacing() const { return spacing_; }
  virtual bool IsSpacingSet() const { return spacingSet_; }
  /// The number of elements.
  virtual unsigned int GetSize() const { return size_; }
  virtual void GetDim(unsigned int& x, unsigned int& y, unsigned int& z) const;
  virtual unsigned int GetXDim() const { return dim_[0]; }
  virtual unsigned int GetYDim() const { return dim_[1]; }
  virtual unsigned int GetZDim() const { return dim_[2]; }
  virtual void GetMid(float& x, float& y, float& z) const;
  virtual float GetXMid() const { return mid_[0]; }
  virtual float GetYMid() const { return mid_[1]; }
  virtual float GetZMid() const { return mid_[2]; }
  virtual bool IsTitleSet() const { return !title_.empty(); }
  virtual bool IsXMidSet() const { return midSet_[0]; }
  virtual bool IsYMidSet() const { return midSet_[1]; }
  virtual bool IsZMidSet() const { return midSet_[2]; }

  /// The spacing on all axes; above 0, unchecked.
  virtual void SetSpacing(float spacing);
  /// The middle of the box; the elements keep their values.
  virtual void SetMid(float x, float y, float z);
  virtual void SetXMid(float x) { SetMid(0, x); }
  virtual void SetYMid(float y) { SetMid(1, y); }
  virtual void SetZMid(float z) { SetMid(2, z); }
  /// Sets the dimensions and makes a new array of zeros, also when nothing changes. More than
  /// 2^32 - 1 elements are an error report, and leave a grid without elements.
  virtual void SetDim(unsigned int x, unsigned int y, unsigned int z);
  virtual void SetXDim(unsigned int x) { SetDim(x, dim_[1], dim_[2]); }
  virtual void SetYDim(unsigned int y) { SetDim(dim_[0], y, dim_[2]); }
  virtual void SetZDim(unsigned int z) { SetDim(dim_[0], dim_[1], z); }
  /// Makes a new array of GetSize() zeros.
  virtual void Realloc() = 0;

  /// The box, made of the outer faces of the outermost cells.
  float GetXMin() const { return min_[0]; }
  float GetYMin() const { return min_[1]; }
  float GetZMin() const { return min_[2]; }
  float GetXMax() const { return max_[0]; }
  float GetYMax() const { return max_[1]; }
  float GetZMax() const { return max_[2]; }

  /// The element whose cell holds the point, clamped to the grid on each axis and always written.
  /// True when the point lies in the box, smallest <= c < largest on all axes. At least one
  /// element.
  bool SpatialCoordToElement(float x, float y, float z, unsigned int& element) const;

 protected:
  QXGridBase() = default;
  QXGridBase(const QXGridBase&) = default;
  QXGridBase(QXGridBase&&) noexcept = default;
  QXGridBase& operator=(const QXGridBase&) = default;
  QXGridBase& operator=(QXGridBase&&) noexcept = default;

 private:
  void SetMid(int axis, float mid);
  void UpdateBox();

  std::string title_;
  unsigned int dim_[3] = {0, 0, 0};
  float mid_[3] = {0.0f, 0.0f, 0.0f};
  float spacing_ = 1.0f;
  float reciprocalSpacing_ = 1.0f;
  bool spacingSet_ = false;
  bool midSet_[3] = {false, false, false};
  float max_[3] = {0.0f, 0.0f, 0.0f};
  float min_[3] = {0.0f, 0.0f, 0.0f};
  unsigned int size_ = 0;
};

/// A grid over an array of values that a derived class holds.
template <typename T>
class QXFixedGrid : public QXGridBase {
 public:
  /// Copies `size` values, which must be GetSize(). A null pointer or another size is a warning,
  /// gives false and changes nothing.
  virtual bool SetValues(const T* values, unsigned int size);

  /// The array itself, for reading and writing; valid until the next change of dimensions. Null
  /// when the grid has no elements.
  T* GetValues() { return values_; }
  const T* GetValues() const { return values_; }

 protected:
  QXFixedGrid() = default;
  // The pointer is for the class that holds the array.
  QXFixedGrid(const QXFixedGrid& other) : QXGridBase(other) {}
  QXFixedGrid(QXFixedGrid&& other) noexcept : QXGridBase(std::move(other)) {}
  QXFixedGrid& operator=(const QXFixedGrid& other) {
    QXGridBase::operator=(other);
    return *this;
  }
  QXFixedGrid& operator=(QXFixedGrid&& other) noexcept {
    QXGridBase::operator=(std::move(other));
    return *this;
  }

  T* values_ = nullptr;
};

/// A grid that owns its values. Copies are deep.
template <typename T>
class QXGrid : public QXFixedGrid<T> {
 public:
  QXGrid() = default;
  QXGrid(const QXGrid& other) : QXFixedGrid<T>(other), storage_(other.storage_) { Point(); }
  QXGrid(QXGrid&& other) noexcept : QXFixedGrid<T>(std::move(other)) { Take(other); }
  QXGrid& operator=(const QXGrid& other);
  /// Leaves `other` without elements.
  QXGrid& operator=(QXGrid&& other) noexcept;

  const void* GetDataType() const override { return QXGridDataType<QXGrid<T>>(); }
  bool IsDataType(const void* type) const override;
  QXGridBase* CreateCopy() const override { return new QXGrid(*this); }
  void Realloc() override;

 private:
  void Take(QXGrid& other);
  void Point() { this->values_ = storage_.empty() ? nullptr : storage_.data(); }

  std::vector<T> storage_;
};

extern template class QXFixedGrid<float>;
extern template class QXGrid<float>;

/// The grid of the library: a density, or any scalar field, in single precision.
///
///     QXScalarGrid grid;
///     grid.SetDim(3, 3, 3);
///     grid.SetSpacing(0.5f);
///     grid.SetMid(1.0f, 0.0f, 0.0f);      // x of the elements: 0.5, 1.0, 1.5
///     grid.GetValues()[1 + 3 * (1 + 3 * 1)] = 2.0f;
class QXScalarGrid : public QXGrid<float> {
 public:
  QXScalarGrid() = default;
  QXScalarGrid(const QXScalarGrid&) = default;
  QXScalarGrid(QXScalarGrid&&) noexcept = default;
  QXScalarGrid& operator=(const QXScalarGrid&) = default;
  QXScalarGrid& operator=(QXScalarGrid&&) noexcept = default;
  ~QXScalarGrid() override = default;
  QXGridBase* CreateCopy() const override { return new QXScalarGrid(*this); }
};

/// The coordinates of the elements along an axis, 0 to 2, in their order.
std::vector<float> QXElementCoords(const QXGridBase& grid, int axis);

/// Calls visit(value, x, y, z) for every element in the order of the values, x, y and z the
/// QXElementCoord as floats. Values of a grid that is not const may be changed.
///
///     QXForEachElement(grid, [&](float value, double x, double, double) { moment += x * value; });
template <typename Grid, typename Visit>
void QXForEachElement(Grid& grid, Visit&& visit) {
  const std::vector<float> xs = QXElementCoords(grid, 0);
  const std::vector<float> ys = QXElementCoords(grid, 1);
  const std::vector<float> zs = QXElementCoords(grid, 2);
  auto* value = grid.GetValues();
  for (const float z : zs) {
    for (const float y : ys) {
      for (const float x : xs) visit(*value++, x, y, z);
    }
  }
}

/// The value at a point by trilinear interpolation, along x, then y, then z, in double precision;
/// `outside` unless the point lies between elements: the upper face of the outermost element
/// centres is outside already. Defined for float.
template <typename T>
T QXLinearInterpolate(const QXFixedGrid<T>& grid, float x, float y, float z, const T& outside);

}  // namespace QXCore
