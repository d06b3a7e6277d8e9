#include <pybind11/stl.h>

#include <memory>
#include <optional>

#include "hermite/expansion/grid_evaluation.h"
#include "hermite/expansion/hermite.h"
#include "hermite/expansion/mol_to_gaussians.h"
#include "hermite/foundations/basis.h"
#include "hermite/foundations/hermite_function.h"
#include "hermite/frame/rigid_motion.h"
#include "python/src/bindings.h"
#include "python/src/checks.h"
#include "python/src/hermite_motion.h"
#include "python/src/reports.h"

namespace QXPython {

using namespace QXHermiteMath;
using QXMolKit::QXMol;

namespace {

using Made = std::unique_ptr<QXHermite>;

Made FromGaussianRows(const Array& rows, const QXHermiteOptions& options) {
  const std::vector<QXGaussian> gaussians = CheckedGaussians(rows);
  return Call([&, own = QXHermiteOptions(options)] {
    auto h = std::make_unique<QXHermite>();
    h->Setup(gaussians, own);
    return h;
  });
}

Made FromCoefficients(const Array& values, const QXHermiteOptions& options,
                      const py::object& center) {
  const std::vector<double> coefficients = CheckCoefficients(values, options.GetNPolyMax());
  QXHermite h;
  h.Setup(coefficients, options);
  if (center.is_none()) return std::make_unique<QXHermite>(std::move(h));
  const Array place(center);
  RequireFinite(place, "center");
  return std::make_unique<QXHermite>(QXHermite::Restore(
      coefficients, h.GetOptions(), ToVector(place, {3}, "center"), 0.0, h.GetSelfOverlap()));
}

Made FromGrid(const QXScalarGrid& grid, const QXHermiteOptions& options) {
  CheckValues(grid, "grid");
  return Call([&, own = QXHermiteOptions(options)] {
    auto h = std::make_unique<QXHermite>();
    h->Setup(grid, own);
    return h;
  });
}

QXScalarGrid MakeGrid(const QXHermite& h, double spacing, std::optional<double> width,
                      const py::object& transform) {
  CheckPositive(spacing, "spacing");
  const double full = width ? CheckFinite(*width, "width") : h.GetExtent();
  if (full < 0.0) Refuse("width", "must not be negative");
  const QXTrans trans = ToTrans(transform);
  return Call([&] {
    QXScalarGrid grid;
    if (transform.is_none()) {
      h.CreateGrid(grid, spacing, full);
    } else {
      h.CreateGrid(grid, spacing, full, trans);
    }
    return grid;
  });
}

py::array_t<double> InertialVectors(const QXHermite& h) {
  std::vector<std::vector<double>> turned;
  h.ComputeInertialHermiteVectors(turned);
  return ToRows(turned);
}

std::string Repr(const QXHermite& h) {
  const std::vector<double>& c = h.GetCenter();
  return py::str(
             "Hermite(degree={}, {} coefficients, lambdas=({:.4g}, {:.4g}, {:.4g}), "
             "center=({:.4g}, {:.4g}, {:.4g}), self_overlap={:.6g})")
      .format(h.GetOptions().GetNPolyMax(), h.GetCoefficients().size(), h.GetOptions().GetLambdaX(),
              h.GetOptions().GetLambdaY(), h.GetOptions().GetLambdaZ(), c[0], c[1], c[2],
              h.GetSelfOverlap())
      .cast<std::string>();
}

py::tuple GetState(const QXHermite& h) {
  return py::make_tuple(ToArray(h.GetCoefficients()), h.GetOptions(), ToArray(h.GetCenter()),
                        h.GetExtent(), h.GetSelfOverlap());
}

QXHermite SetState(const py::tuple& state) {
  if (state.size() != 5) Refuse("state", "expected five items");
  const auto options = state[1].cast<QXHermiteOptions>();
  return QXHermite::Restore(CheckCoefficients(state[0].cast<Array>(), options.GetNPolyMax()),
                            options, ToVector(state[2].cast<Array>(), {3}, "center"),
                            state[3].cast<double>(), state[4].cast<double>());
}

}  // namespace

void BindExpansion(py::module_& module) {
  py::class_<QXHermite>(
      module, "Hermite",
      "A density as coefficients of Hermite functions about one origin, which nothing changes:\n\n"
      "f(r) = sum of c_lmn h_l(lambda_x x) h_m(lambda_y y) h_n(lambda_z z), l + m + n <= N,\n\n"
      "in shell order (basis_lmn). Made by from_gaussians, from_coefficients or from_grid.")
      .def_static("from_gaussians", &FromGaussianRows, py::arg("gaussians"),
                  py::arg("options") = QXHermiteOptions(),
                  "Expand Gaussians, (n, 5) rows x, y, z, amplitude, width: exactly the part that\n"
                  "the basis holds. The widths lambda are first found as the options ask.")
      .def_static("from_coefficients", &FromCoefficients, py::arg("coefficients"),
                  py::arg("options"), py::arg("center") = py::none(),
                  "Take coefficients, (basis_size(degree),), made under these very options.")
      .def_static("from_grid", &FromGrid, py::arg("grid"), py::arg("options") = QXHermiteOptions(),
                  "Project the values of a grid onto the basis, by quadrature over its elements.")
      .def_property_readonly(
          "coefficients",
          [](const py::object& self) {
            const auto& c = self.cast<const QXHermite&>().GetCoefficients();
            return ReadOnlyView(c.data(), {static_cast<py::ssize_t>(c.size())}, self);
          },
          "(basis_size(degree),), in shell order: read-only, without a copy.")
      .def_property_readonly("degree",
                             [](const QXHermite& h) { return h.GetOptions().GetNPolyMax(); })
      .def_property_readonly(
          "options", [](const QXHermite& h) { return h.GetOptions(); },
          "A copy of the options, with the widths in force.")
      .def_property_readonly(
          "center", [](const QXHermite& h) { return ToArray(h.GetCenter()); },
          "The origin of the expansion in the caller's coordinates, (3,).")
      .def_property_readonly("self_overlap", &QXHermite::GetSelfOverlap,
                             "The integral of the square of the expansion.")
      .def_property_readonly("extent", &QXHermite::GetExtent,
                             "Full width of the cube about the origin that holds all centres of\n"
                             "Gaussians, or the longest axis of a grid; angstrom; 0 if not known.")
      .def(
          "rotated",
          [](const QXHermite& h, const Array& rotation) {
            const std::vector<double> m = ToRotation(rotation);
            return Call([&] { return Rotated(h, m); });
          },
          py::arg("rotation"),
          "The density turned about its origin by a matrix, (3, 3). Exact for equal widths.")
      .def(
          "translated",
          [](const QXHermite& h, const Array& shift) {
            const std::vector<double> t = ToVector(shift, {3}, "shift");
            RequireFinite(shift, "shift");
            return Call([&] {
              QXHermite moved(h);
              moved.TranslateHermites(t);
              const std::vector<double>& c = moved.GetCoefficients();
              return QXHermite::Restore(c, h.GetOptions(), h.GetCenter(), h.GetExtent(),
                                        QXCalcHermiteSelfOverlap(c, h.GetOptions()));
            });
          },
          py::arg("shift"),
          "The density moved by (3,) angstrom about the same origin; what leaves the basis is "
          "lost.")
      .def("grid", &MakeGrid, py::arg("spacing") = 0.5, py::arg("width") = py::none(),
           py::arg("transform") = py::none(),
           "The density on a cube, 3 angstrom wider on each side than `width`, which is the\n"
           "extent if None. The origin of the expansion lies at the origin of coordinates,\n"
           "whatever `center` says, unless transform, (4, 4), moves it. A warning where 500\n"
           "elements an axis do not reach.")
      .def("inertial_vectors", &InertialVectors,
           "The coefficients after half turns about x, y and z, (3, basis_size(degree)).")
      .def("__len__", [](const QXHermite& h) { return h.GetCoefficients().size(); })
      .def("__repr__", &Repr)
      .def("__eq__",
           [](const QXHermite& a, const py::object& other) {
             if (!py::isinstance<QXHermite>(other)) return false;
             const auto& b = other.cast<const QXHermite&>();
             return a.GetCoefficients() == b.GetCoefficients() && a.GetCenter() == b.GetCenter() &&
                    py::cast(a.GetOptions()).equal(py::cast(b.GetOptions()));
           })
      .def("__copy__", [](const QXHermite& h) { return QXHermite(h); })
      .def("__deepcopy__", [](const QXHermite& h, py::handle) { return QXHermite(h); })
      .def(py::pickle(&GetState, &SetState));
}

}  // namespace QXPython
