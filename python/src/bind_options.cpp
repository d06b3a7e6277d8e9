#include "hermite/foundations/options.h"
#include "python/src/bindings.h"
#include "python/src/checks.h"
#include "python/src/option_set.h"

namespace QXPython {

using QXHermiteMath::QXHermiteOptions;

namespace {

std::string Repr(QXHermiteOptions& o) {
  const auto text = [&](const char* option) {
    return py::repr(GetOption(o, option)).cast<std::string>();
  };
  return "HermiteOptions(npolymax=" + text("-NPolyMax") + ", lambda_x=" + text("-LambdaX") +
         ", lambda_y=" + text("-LambdaY") + ", lambda_z=" + text("-LambdaZ") +
         ", use_center_of_mass=" + text("-UseCenterOfMass") +
         ", use_single_lambda=" + text("-UseSingleLambda") +
         ", use_optimal_lambdas=" + text("-UseOptimalLambdas") + ")";
}

}  // namespace

void BindOptions(py::module_& module) {
  py::class_<QXHermiteOptions> options(
      module, "HermiteOptions",
      "How a density is to be expanded: what gives a coefficient vector its meaning.\n\n"
      "A mapping too, by option strings: options[\"-NPolyMax\"] = 10. A value that is not legal\n"
      "is a ValueError. Functions copy the options that they are given.");
  options
      .def(py::init([](py::handle npolymax, py::handle lambdaX, py::handle lambdaY,
                       py::handle lambdaZ, py::handle useCenterOfMass, py::handle useSingleLambda,
                       py::handle useOptimalLambdas) {
             QXHermiteOptions o;
             SetOption(o, "-NPolyMax", npolymax);
             SetOption(o, "-LambdaX", lambdaX);
             SetOption(o, "-LambdaY", lambdaY);
             SetOption(o, "-LambdaZ", lambdaZ);
             SetOption(o, "-UseCenterOfMass", useCenterOfMass);
             SetOption(o, "-UseSingleLambda", useSingleLambda);
             SetOption(o, "-UseOptimalLambdas", useOptimalLambdas);
             return o;
           }),
           py::kw_only(), py::arg("npolymax") = 5, py::arg("lambda_x") = 1.0,
           py::arg("lambda_y") = 1.0, py::arg("lambda_z") = 1.0,
           py::arg("use_center_of_mass") = false, py::arg("use_single_lambda") = true,
           py::arg("use_optimal_lambdas") = true)
      .def("__repr__", &Repr)
      .def_property(
          "lambdas",
          [](const QXHermiteOptions& o) {
            return py::make_tuple(o.GetLambdaX(), o.GetLambdaY(), o.GetLambdaZ());
          },
          [](QXHermiteOptions& o, const py::object& value) {
            const bool three =
                py::isinstance<py::sequence>(value) || py::isinstance<py::array>(value);
            if (three && py::len(value) != 3) Refuse("lambdas", "expected one width or three");
            QXHermiteOptions changed(o);
            const char* const names[] = {"-LambdaX", "-LambdaY", "-LambdaZ"};
            for (size_t axis = 0; axis < 3; ++axis) {
              SetOption(changed, names[axis], three ? py::object(value[py::int_(axis)]) : value);
            }
            o = changed;
          },
          "The widths along x, y and z, 1/angstrom. Set by three numbers, or by one for all axes.");
  AddOptionProperty(options, "npolymax", "-NPolyMax",
                    "The degree N: the largest l + m + n of the basis, 0 to 100.");
  AddOptionProperty(options, "lambda_x", "-LambdaX", "The width along x, 1/angstrom, positive.");
  AddOptionProperty(options, "lambda_y", "-LambdaY", "The width along y, 1/angstrom, positive.");
  AddOptionProperty(options, "lambda_z", "-LambdaZ", "The width along z, 1/angstrom, positive.");
  AddOptionProperty(options, "use_center_of_mass", "-UseCenterOfMass",
                    "Expand about the mean of the centres instead of the origin.");
  AddOptionProperty(options, "use_single_lambda", "-UseSingleLambda", "One width for all axes.");
  AddOptionProperty(options, "use_optimal_lambdas", "-UseOptimalLambdas",
                    "Find the widths by maximising the self overlap.");
  AddOptionMapping(options);
}

}  // namespace QXPython
