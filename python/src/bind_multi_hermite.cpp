// Expansions about several sites: their layout, those fitted to values, and families of Python's
// own.

#include <pybind11/stl.h>

#include <algorithm>
#include <cmath>

#include "hermite/foundations/basis.h"
#include "hermite/multihermite/multi_hermite.h"
#include "host/numerics/lasso.h"
#include "python/src/bindings.h"
#include "python/src/multi_centre.h"

namespace QXPython {
namespace {

using QXHermiteMath::QXMultiHermite;
using QXHermiteMath::QXMultiHermiteBase;

constexpr size_t kLargestDegree = 100;
constexpr double kMostFunctions = 1e8;  // far above what a fit can hold in memory

py::ssize_t NumRows(const std::vector<double>& triples) {
  return static_cast<py::ssize_t>(triples.size() / 3);
}

/// One for all sites, or one for each.
void RequireOneOrEach(size_t size, py::ssize_t sites, const char* name) {
  if (size == 1 || static_cast<py::ssize_t>(size) == sites) return;
  throw py::value_error(std::string(name) + ": " + std::to_string(size) + " values for " +
                        std::to_string(sites) + " sites: give one for all, or one for each");
}

QXMultiHermiteParameters MakeLayout(const py::object& npolymax, const Array& lambda,
                                    const Array& centers) {
  const std::vector<unsigned int> degrees = ToCounts(npolymax, "npolymax", kLargestDegree + 1);
  const std::vector<double> widths(lambda.data(), lambda.data() + lambda.size());
  const std::vector<double> places = ToVector(centers, {kAny, 3}, "centers");
  RequireFinite(centers, "centers");
  if (lambda.ndim() > 1) throw py::value_error("lambda_: must be a list of numbers");
  RequireOneOrEach(degrees.size(), NumRows(places), "npolymax");
  RequireOneOrEach(widths.size(), NumRows(places), "lambda_");
  if (!std::all_of(widths.begin(), widths.end(), [](double w) { return w >= 1e-6 && w <= 1e6; })) {
    throw py::value_error("lambda_: must be from 1e-6 to 1e6, in 1/angstrom");
  }
  double functions = 0.0;
  for (const unsigned int degree : degrees) functions += QXHermiteMath::QXHermiteBasisSize(degree);
  if (degrees.size() == 1) functions *= static_cast<double>(NumRows(places));
  if (functions > kMostFunctions) throw py::value_error("npolymax: makes too many functions");
  return {degrees, widths, places};
}

std::string OneOrList(const std::vector<double>& values) {
  if (values.size() != 1) return "one for each";
  return NumberText(values[0]);
}

std::string Repr(const QXMultiHermiteParameters& self) {
  const std::vector<unsigned int> degrees = self.GetNPolyMaxValues();
  return "MultiHermiteParameters(" + std::to_string(self.NumSites()) +
         " sites, npolymax=" + OneOrList({degrees.begin(), degrees.end()}) +
         ", lambda_=" + OneOrList(self.GetLambdaValues()) + ", " + std::to_string(self.NumBasis()) +
         " functions)";
}

auto StateOf(const QXMultiHermiteParameters& self) {
  return std::tuple(self.GetNPolyMaxValues(), self.GetLambdaValues(), self.GetCenterValues());
}

void BindLayout(py::module_& module) {
  using Layout = QXMultiHermiteParameters;
  const auto siteOf = [](const Layout& self, const py::object& site) {
    return ToIndex(site, "site", self.NumSites());
  };
  const auto indexOf = [](const Layout& self, const py::object& index) {
    return ToIndex(index, "index", self.NumBasis());
  };
  py::class_<Layout>(
      module, "MultiHermiteParameters",
      "The layout of a basis about several sites: truncated Hermite bases, one after the other in\n"
      "one flat index, each in shell order. A value that does not change.\n\n"
      "npolymax: the degree, 0 to 100, one for all sites or one for each; lambda_: the width\n"
      "likewise, 1/angstrom; centers: (sites, 3), angstrom.")
      .def(py::init(&MakeLayout), py::arg("npolymax"), py::arg("lambda_"), py::arg("centers"))
      .def_property_readonly("num_basis", &Layout::NumBasis, "The size of the flat basis.")
      .def_property_readonly("num_sites", &Layout::NumSites)
      .def_property_readonly("largest_npolymax", &Layout::GetLargestNPolyMax)
      .def_property_readonly("npolymax_values", &Layout::GetNPolyMaxValues,
                             "The degrees as given, one entry where one was given.")
      .def_property_readonly(
          "lambda_values", [](const Layout& self) { return ToArray(self.GetLambdaValues()); },
          "The widths as given, 1/angstrom.")
      .def_property_readonly(
          "centers",
          [](const Layout& self) {
            std::vector<double> centers = self.GetCenterValues();
            const py::ssize_t rows = NumRows(centers);
            return ToArray(std::move(centers), {rows, 3});
          },
          "(sites, 3), angstrom.")
      .def_property_readonly("start_indices", &Layout::StartIndices,
                             "The flat index of the first function of each site.")
      .def(
          "npolymax",
          [siteOf](const Layout& self, const py::object& site) {
            return self.GetNPolyMax(siteOf(self, site));
          },
          py::arg("site"), "The degree of a site.")
      .def(
          "lambda_",
          [siteOf](const Layout& self, const py::object& site) {
            return self.GetLambda(siteOf(self, site));
          },
          py::arg("site"), "The width of a site, 1/angstrom.")
      .def(
          "center",
          [siteOf](const Layout& self, const py::object& site) {
            return ToArray(self.GetCenter(siteOf(self, site)));
          },
          py::arg("site"), "(3,), angstrom.")
      .def(
          "site",
          [indexOf](const Layout& self, const py::object& index) {
            return self.GetSite(indexOf(self, index));
          },
          py::arg("index"), "The site that owns a flat index.")
      .def(
          "lmn",
          [indexOf](const Layout& self, const py::object& index) {
            const unsigned int flat = indexOf(self, index);
            const auto lmn = self.GetLmn(self.GetSite(flat), flat);
            return std::tuple(lmn[0], lmn[1], lmn[2]);
          },
          py::arg("index"), "(l, m, n) of a flat index.")
      .def(
          "rotated",
          [](Layout self, const Array& rotation) {
            self.RotateSites(ToRotation(rotation));
            return self;
          },
          py::arg("rotation"), "With the sites turned by a (3, 3) matrix about the origin.")
      .def(
          "translated",
          [](Layout self, const Array& translation) {
            self.TranslateSites(ToTranslation(translation));
            return self;
          },
          py::arg("translation"), "With the sites moved by three numbers, in angstrom.")
      .def("__len__", &Layout::NumBasis)
      .def(
          "__eq__", [](const Layout& a, const Layout& b) { return StateOf(a) == StateOf(b); },
          py::is_operator())
      .def("__repr__", &Repr)
      .def("__copy__", [](const Layout& self) { return self; })
      .def("__deepcopy__", [](const Layout& self, const py::dict&) { return self; })
      .def(py::pickle(&StateOf, [](const std::tuple<std::vector<unsigned int>, std::vector<double>,
                                                    std::vector<double>>& state) {
        const auto& [degrees, widths, centers] = state;
        const Array places = ToArray(centers, {NumRows(centers), 3});
        return MakeLayout(py::cast(degrees), ToArray(widths), places);
      }));
}

/// Points and values that fit together.
std::vector<double> ValuesAt(const Array& points, const Array& values) {
  RequireShape(points, {kAny, 3}, "points");
  return ToVector(values, {points.shape(0)}, "values");
}

QXMultiHermite FitTo(const Array& points, const Array& values,
                     const QXMultiHermiteParameters& params, const py::object& maxActives) {
  const std::vector<double> target = ValuesAt(points, values);
  const std::vector<double> places = ToVector(points, {kAny, 3}, "points");
  const unsigned int most = maxActives.is_none()
                                ? QXNumerics::QXLasso::kNoLimit
                                : ToCounts(maxActives, "max_actives", size_t{1} << 32).at(0);
  QXMultiHermite model(params);
  model.SetCoefficients({}, {});
  Call([&] { model.Setup(places, target, most); });
  return model;
}

/// A family whose functions Python works out.
class PythonFamily final : public QXMultiHermiteBase {
 public:
  PythonFamily(const QXMultiHermiteParameters& layout, py::function functions)
      : QXMultiHermiteBase(layout), functions_(std::move(functions)) {}

  bool BuildHermites(double t, unsigned int n, std::vector<double>& out) override {
    const py::gil_scoped_acquire acquire;
    const Array values = functions_(t, n).cast<Array>();
    RequireShape(values, {static_cast<py::ssize_t>(n) + 1}, "functions(t, n)");
    std::copy_n(values.data(), n + 1, out.begin());
    return true;
  }

 private:
  py::function functions_;
};

void BindFamily(py::module_& module) {
  py::class_<PythonFamily> type(
      module, "MultiHermiteBase",
      "A sparse sum of products of one-dimensional functions about several sites,\n\n"
      "  f(r) = sum of c b_l(lambda (x - x_s)) b_m(lambda (y - y_s)) b_n(lambda (z - z_s)),\n\n"
      "with functions of your own: functions(t, n) gives b_0(t) .. b_n(t), n + 1 numbers. It is\n"
      "called for each site, axis and point, so that this is for trials; MultiHermite and\n"
      "HermiteChargeDensity are fast.");
  BindMultiCentre(type);
  type.def(py::init([](const QXMultiHermiteParameters& params, const py::function& functions,
                       const py::object& coefficients, const py::object& actives) {
             auto family = std::make_unique<PythonFamily>(params, functions);
             GiveCoefficients(*family, coefficients, actives);
             return family;
           }),
           py::arg("params"), py::arg("functions"), py::arg("coefficients") = py::none(),
           py::arg("actives") = py::none())
      .def("__repr__",
           [](const PythonFamily& self) { return "MultiHermiteBase(" + SizeText(self) + ")"; });
}

void BindMultiHermiteClass(py::module_& module) {
  py::class_<QXMultiHermite> type(
      module, "MultiHermite",
      "A sparse expansion in Hermite functions h_l h_m h_n about several sites. A value that does\n"
      "not change.\n\n"
      "Sites of degree 1 have no functions of degree 1 when they are evaluated: take 0, or 2.");
  BindMultiCentreValue(type);
  type.def_static(
          "fit", &FitTo, py::arg("points"), py::arg("values"), py::arg("params"),
          py::arg("max_actives") = py::none(),
          "Chooses and sizes functions by a LASSO, so that they follow values (n,) at points "
          "(n, 3),\nto the end of the path, or with at most max_actives functions. There is "
          "no intercept.")
      .def(
          "design_matrix",
          [](QXMultiHermite& self, const Array& points) {
            const std::vector<double> places = ToVector(points, {kAny, 3}, "points");
            const Eigen::MatrixXd matrix = Call([&] { return self.BuildDesignMatrix(places); });
            return FromMatrix(matrix);
          },
          py::arg("points"), "Every function of the layout at points (n, 3): (n, num_basis).")
      .def(
          "hermite",
          [](const QXMultiHermite& self, const py::object& site) {
            const unsigned int place = ToIndex(site, "site", self.GetParams().NumSites());
            return QuickCall([&] { return self.GetHermite(place); });
          },
          py::arg("site"),
          "One site as a Hermite about the origin. Its width along z is 1.0, whatever the site's.")
      .def("__repr__",
           [](const QXMultiHermite& self) { return "MultiHermite(" + SizeText(self) + ")"; });
}

}  // namespace

void BindMultiHermite(py::module_& module) {
  BindLayout(module);
  BindMultiHermiteClass(module);
  BindFamily(module);
}

}  // namespace QXPython
