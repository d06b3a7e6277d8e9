#include "python/src/objectives.h"

#include "python/src/arrays.h"
#include "python/src/reports.h"

namespace QXPython {

using QXMinimizer::QXFunc1;
using QXMinimizer::QXFunc2;

namespace {

std::vector<double> Variables(const QXFunc1& f, const Array& x) {
  return ToVector(x, {f.NumVar()}, "x");
}

py::tuple Gradient(QXFunc1& f, const Array& x) {
  const std::vector<double> variables = Variables(f, x);
  std::vector<double> gradient(variables.size());
  const double value = Call([&] { return f(variables.data(), gradient.data()); });
  return py::make_tuple(value, ToArray(std::move(gradient)));
}

py::tuple Hessian(QXFunc2& f, const Array& x) {
  const std::vector<double> variables = Variables(f, x);
  const size_t n = variables.size();
  std::vector<double> triangle(n * (n + 1) / 2, std::numeric_limits<double>::quiet_NaN());
  std::vector<double> gradient(n), hessian(n * n);
  Call([&] { f(variables.data(), triangle.data(), gradient.data()); });
  for (size_t i = 0, p = 0; i < n; ++i) {
    for (size_t j = 0; j <= i; ++j, ++p) hessian[i * n + j] = hessian[j * n + i] = triangle[p];
  }
  const auto size = static_cast<py::ssize_t>(n);
  return py::make_tuple(ToArray(std::move(gradient)), ToArray(std::move(hessian), {size, size}));
}

}  // namespace

void BindObjectives(py::module_& module) {
  py::class_<QXFunc1>(module, "Func1",
                      "An objective with a gradient, which a minimiser makes small. An evaluation\n"
                      "writes scratch of the object: one thread at a time.")
      .def_property_readonly("num_var", &QXFunc1::NumVar, "The number of variables.")
      .def(
          "__call__",
          [](QXFunc1& f, const Array& x) {
            const std::vector<double> variables = Variables(f, x);
            return Call([&] { return f(variables.data()); });
          },
          py::arg("x"), "The value at x, (num_var,).")
      .def("gradient", &Gradient, py::arg("x"), "The value at x and its gradient, (num_var,).");
  py::class_<QXFunc2, QXFunc1>(module, "Func2", py::multiple_inheritance(),
                               "An objective with second derivatives.")
      .def("hessian", &Hessian, py::arg("x"),
           "The gradient at x, (num_var,), and the Hessian, (num_var, num_var).");
}

}  // namespace QXPython
