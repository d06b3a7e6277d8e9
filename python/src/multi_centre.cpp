#include "python/src/multi_centre.h"

#include <algorithm>
#include <cstdio>

namespace QXPython {
namespace {

using QXHermiteMath::QXMultiHermiteBase;

std::vector<unsigned int> ToNumbers(py::handle values, const char* name, size_t limit,
                                    bool isIndex) {
  const py::array given = py::module_::import("numpy").attr("asarray")(values);
  const char kind = given.dtype().kind();
  if (given.size() > 0 && kind != 'i' && kind != 'u') {
    throw py::type_error(std::string(name) + ": must be whole numbers");
  }
  if (given.ndim() > 1) throw py::value_error(std::string(name) + ": must be a list of numbers");
  std::vector<unsigned int> numbers;
  for (const py::handle item : given.attr("ravel")()) {
    const py::int_ number(item.cast<py::object>());
    if (number < py::int_(0) || number >= py::int_(limit)) {
      const std::string text = std::string(name) + ": " +
                               py::str(py::handle(number)).cast<std::string>() +
                               " is not in 0 .. " + std::to_string(limit) + " - 1";
      if (isIndex) throw py::index_error(text);
      throw py::value_error(text);
    }
    numbers.push_back(number.cast<unsigned int>());
  }
  return numbers;
}

}  // namespace

std::vector<unsigned int> ToCounts(py::handle values, const char* name, size_t limit) {
  return ToNumbers(values, name, limit, false);
}

std::vector<unsigned int> ToIndices(py::handle values, const char* name, size_t limit) {
  return ToNumbers(values, name, limit, true);
}

unsigned int ToIndex(py::handle value, const char* name, size_t limit) {
  const std::vector<unsigned int> numbers = ToIndices(value, name, limit);
  if (numbers.size() != 1) throw py::type_error(std::string(name) + ": must be one number");
  return numbers[0];
}

std::vector<double> ToTranslation(const Array& translation) {
  RequireFinite(translation, "translation");
  return ToVector(translation, {3}, "translation");
}

py::array_t<double> FromMatrix(const Eigen::MatrixXd& matrix) {
  py::array_t<double, py::array::f_style> result({matrix.rows(), matrix.cols()});
  std::copy_n(matrix.data(), matrix.size(), result.mutable_data());
  return result;
}

std::string NumberText(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", value);
  return text;
}

std::pair<std::vector<unsigned int>, std::vector<double>> ActivesBySite(
    const QXMultiHermiteBase& expansion) {
  std::pair<std::vector<unsigned int>, std::vector<double>> result;
  for (unsigned int site = 0; site < expansion.GetParams().NumSites(); ++site) {
    for (const unsigned int index : expansion.GetActives(site)) {
      result.first.push_back(index);
      result.second.push_back(expansion.GetCoefficient(index));
    }
  }
  return result;
}

std::string SizeText(const QXMultiHermiteBase& expansion) {
  const QXMultiHermiteParameters layout = expansion.GetParams();
  return std::to_string(expansion.NumActives()) + " of " + std::to_string(layout.NumBasis()) +
         " functions at " + std::to_string(layout.NumSites()) + " sites";
}

}  // namespace QXPython
