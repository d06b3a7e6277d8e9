#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "host/core/gaussian.h"

// NumPy arrays in and out. Sizes are checked here, since the library does not check them.

namespace QXPython {

namespace py = pybind11;

/// What a function takes that wants an array: anything NumPy can make one of.
using Array = py::array_t<double, py::array::c_style | py::array::forcecast>;

inline constexpr py::ssize_t kAny = -1;

/// ValueError "points: expected shape (n, 3), got (4,)" unless the array has this shape; kAny
/// stands for any extent.
void RequireShape(const py::array& array, std::initializer_list<py::ssize_t> shape,
                  const char* name);

/// ValueError "widths: must be finite" unless all values are.
void RequireFinite(const Array& array, const char* name);

/// A flat copy, in C order, after RequireShape.
std::vector<double> ToVector(const Array& array, std::initializer_list<py::ssize_t> shape,
                             const char* name);

/// A new array that takes over the values without a copy.
py::array_t<double> ToArray(std::vector<double> values, std::vector<py::ssize_t> shape);
inline py::array_t<double> ToArray(std::vector<double> values) {
  const auto size = static_cast<py::ssize_t>(values.size());
  return ToArray(std::move(values), {size});
}

/// Rows of one length as a matrix.
py::array_t<double> ToRows(const std::vector<std::vector<double>>& rows);

/// A read-only array over memory that `owner` keeps alive.
template <typename T>
py::array_t<T> ReadOnlyView(const T* values, std::vector<py::ssize_t> shape, py::handle owner) {
  py::array_t<T> view(std::move(shape), values, owner);
  view.attr("setflags")(py::arg("write") = false);
  return view;
}

/// Gaussians as rows x, y, z, amplitude, width (angstrom, 1, 1/angstrom^2), (n, 5), and back.
std::vector<QXCore::QXGaussian> ToGaussians(const Array& rows, const char* name = "gaussians");
py::array_t<double> FromGaussians(const std::vector<QXCore::QXGaussian>& gaussians);

}  // namespace QXPython
