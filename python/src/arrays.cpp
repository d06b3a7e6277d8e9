#include "python/src/arrays.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace QXPython {
namespace {

/// "(n, 3)", as Python writes tuples.
template <typename Extents>
std::string ShapeText(const Extents& extents) {
  std::string text;
  size_t count = 0;
  for (const py::ssize_t extent : extents) {
    if (count++ > 0) text += ", ";
    text += extent == kAny ? "n" : std::to_string(extent);
  }
  return "(" + text + (count == 1 ? ",)" : ")");
}

}  // namespace

void RequireShape(const py::array& array, std::initializer_list<py::ssize_t> shape,
                  const char* name) {
  const std::vector<py::ssize_t> found(array.shape(), array.shape() + array.ndim());
  const bool fits = std::equal(
      shape.begin(), shape.end(), found.begin(), found.end(),
      [](py::ssize_t wanted, py::ssize_t extent) { return wanted == kAny || wanted == extent; });
  if (fits) return;
  throw py::value_error(std::string(name) + ": expected shape " + ShapeText(shape) + ", got " +
                        ShapeText(found));
}

void RequireFinite(const Array& array, const char* name) {
  const double* values = array.data();
  if (std::all_of(values, values + array.size(), [](double v) { return std::isfinite(v); })) return;
  throw py::value_error(std::string(name) + ": must be finite");
}

std::vector<double> ToVector(const Array& array, std::initializer_list<py::ssize_t> shape,
                             const char* name) {
  RequireShape(array, shape, name);
  return {array.data(), array.data() + array.size()};
}

py::array_t<double> ToArray(std::vector<double> values, std::vector<py::ssize_t> shape) {
  auto kept = std::make_unique<std::vector<double>>(std::move(values));
  const double* data = kept->data();
  const py::capsule owner(kept.get(),
                          [](void* vector) { delete static_cast<std::vector<double>*>(vector); });
  static_cast<void>(kept.release());
  return py::array_t<double>(std::move(shape), data, owner);
}

py::array_t<double> ToRows(const std::vector<std::vector<double>>& rows) {
  std::vector<double> values;
  for (const auto& row : rows) values.insert(values.end(), row.begin(), row.end());
  const size_t columns = rows.empty() ? 0 : rows[0].size();
  return ToArray(std::move(values),
                 {static_cast<py::ssize_t>(rows.size()), static_cast<py::ssize_t>(columns)});
}

std::vector<QXCore::QXGaussian> ToGaussians(const Array& rows, const char* name) {
  RequireShape(rows, {kAny, 5}, name);
  std::vector<QXCore::QXGaussian> gaussians;
  gaussians.reserve(static_cast<size_t>(rows.shape(0)));
  for (py::ssize_t i = 0; i < rows.shape(0); ++i) {
    const double* row = rows.data(i, 0);
    const float place[3] = {static_cast<float>(row[0]), static_cast<float>(row[1]),
                            static_cast<float>(row[2])};
    gaussians.emplace_back(static_cast<float>(row[3]), static_cast<float>(row[4]), place,
                           static_cast<unsigned int>(i));
  }
  return gaussians;
}

py::array_t<double> FromGaussians(const std::vector<QXCore::QXGaussian>& gaussians) {
  std::vector<double> rows;
  rows.reserve(5 * gaussians.size());
  for (const QXCore::QXGaussian& g : gaussians) {
    rows.insert(rows.end(), {g.GetX(), g.GetY(), g.GetZ(), g.GetAmplitude(), g.GetWidth()});
  }
  return ToArray(std::move(rows), {static_cast<py::ssize_t>(gaussians.size()), 5});
}

}  // namespace QXPython
