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
  std::vector<double> rows;
  for (const auto& row : turned) rows.insert(rows.end(), row.begin(), row.end());
  return ToArray(std::move(rows), {3, static_cast<py::ssize_t>(h.GetCoefficients().size())});
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

void BindHermite(py::module_& module) {
  py::class_<QXHermite>(
      module, "Hermite",
      "A density as coefficients of Hermite functions about one origin, which nothing changes:\n\n"
      "f(r) = sum of c_lmn h_l(lambda_x x) h_m(lambda_y y) h_n(lambda_z z), l + m + n <= "
      "degree,\n\n"
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
                             "The integral of the square of the density, as it was made.")
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
              return moved;
            });
          },
          py::arg("shift"),
          "The density moved by (3,) angstrom about the same origin; what leaves the basis is "
          "lost.")
      .def(
          "grid", &MakeGrid, py::arg("spacing") = 0.5, py::arg("width") = py::none(),
          py::arg("transform") = py::none(),
          "The density on a cube, 3 angstrom wider on each side than `width`, which is the extent\n"
          "if None. The origin of the expansion lies at the origin of coordinates, whatever\n"
          "`center` says, unless transform, (4, 4), moves it. A warning where 500 elements an "
          "axis\n"
          "do not reach.")
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

std::vector<double> Flat(const Array& values, const char* name) {
  RequireShape(values, {kAny}, name);
  return {values.data(), values.data() + values.size()};
}

void BindGaussians(py::module_& module) {
  module.def(
      "make_gaussians",
      [](const Array& amplitudes, const Array& widths, const Array& coordinates) {
        RequireShape(amplitudes, {kAny}, "amplitudes");
        RequireShape(widths, {amplitudes.shape(0)}, "widths");
        return FromGaussians(
            makeGaussians(Flat(amplitudes, "amplitudes"), Flat(widths, "widths"),
                          ToVector(coordinates, {amplitudes.shape(0), 3}, "coordinates")));
      },
      py::arg("amplitudes"), py::arg("widths"), py::arg("coordinates"),
      "Gaussians A exp(-w |r - c|^2) from (n,), (n,) and (n, 3): (n, 5) rows.");
  module.def(
      "make_shape_gaussians",
      [](const Array& coordinates, double radius) {
        CheckPositive(radius, "radius");
        return FromGaussians(
            makeShapeGaussians(ToVector(coordinates, {kAny, 3}, "coordinates"), radius));
      },
      py::arg("coordinates"), py::arg("radius") = 1.7,
      "The shape density of atoms at (n, 3): amplitude 2.7, width 2.34422871067 / radius^2.");
  module.def(
      "make_electrostatic_gaussians",
      [](const Array& coordinates, const Array& charges, double sigma) {
        CheckPositive(sigma, "sigma");
        RequireShape(charges, {kAny}, "charges");
        return FromGaussians(
            makeElectrostaticGaussians(ToVector(coordinates, {charges.shape(0), 3}, "coordinates"),
                                       Flat(charges, "charges"), sigma));
      },
      py::arg("coordinates"), py::arg("charges"), py::arg("sigma"),
      "Charges (n,) at (n, 3): amplitude q / (sigma sqrt(2 pi)), width 1 / (2 sigma^2). Not those\n"
      "of mol_to_electrostatic_gaussians.");
  module.def(
      "mol_to_gaussians",
      [](const QXMol& mol, double radius) {
        CheckPositive(radius, "radius");
        return FromGaussians(QXMolToGaussians(mol, radius));
      },
      py::arg("molecule"), py::arg("radius") = 1.7,
      "The shape density of the first conformer, hydrogens included: (n, 5) rows.");
  module.def(
      "heavy_atoms_to_gaussians",
      [](const QXMol& mol, double radius, long long conformer) {
        CheckPositive(radius, "radius");
        return FromGaussians(HeavyAtomsToGaussians(GetConformer(mol, conformer), radius));
      },
      py::arg("molecule"), py::arg("radius") = 1.7, py::arg("conformer") = 0,
      "The shape density of a conformer without its hydrogens, as overlays take it: (n, 5) rows.");
  module.def(
      "mol_to_electrostatic_gaussians",
      [](const QXMol& mol, double sigma) {
        CheckPositive(sigma, "sigma");
        return FromGaussians(QXMolToElectroStaticGaussians(mol, sigma));
      },
      py::arg("molecule"), py::arg("sigma") = 1.0,
      "The charge density: each Gaussian integrates to the partial charge of its atom. (n, 5) "
      "rows.");
  module.def(
      "center_gaussians",
      [](const Array& rows) {
        std::vector<QXGaussian> gaussians = CheckedGaussians(rows);
        const std::vector<double> center = QXCenterGaussians(gaussians);
        return py::make_tuple(FromGaussians(gaussians), ToArray(center));
      },
      py::arg("gaussians"), "(gaussians, center): moved by minus the plain mean of their centres.");
}

/// fill(n, x, out) for each x, n + 1 values: an array of the shape of x and one axis more.
template <typename Fill>
py::array_t<double> Tables(long long degree, const Array& x, Fill&& fill) {
  const unsigned int n = CheckDegree(degree, "n");
  std::vector<py::ssize_t> shape(x.shape(), x.shape() + x.ndim());
  shape.push_back(n + 1);
  std::vector<double> values(static_cast<size_t>(x.size()) * (n + 1));
  Call([&] {
    for (py::ssize_t i = 0; i < x.size(); ++i) fill(n, x.data()[i], &values[i * (n + 1)]);
  });
  return ToArray(std::move(values), std::move(shape));
}

void BindBasis(py::module_& module) {
  module.def(
      "basis_size", [](long long n) { return QXHermiteBasisSize(CheckDegree(n)); },
      py::arg("degree"), "The number of coefficients: (N + 1)(N + 2)(N + 3)/6.");
  module.def(
      "basis_lmn",
      [](long long degree) {
        const unsigned int N = CheckDegree(degree);
        py::array_t<int> rows({static_cast<py::ssize_t>(QXHermiteBasisSize(N)), py::ssize_t{3}});
        ForEachLmn(N, [&](unsigned int i, unsigned int l, unsigned int m, unsigned int n) {
          int* const row = rows.mutable_data(i, 0);
          row[0] = static_cast<int>(l), row[1] = static_cast<int>(m), row[2] = static_cast<int>(n);
        });
        return rows;
      },
      py::arg("degree"), "The shell order: l, m, n of every coefficient, (basis_size(degree), 3).");
  module.def(
      "lmn_index",
      [](long long l, long long m, long long n) {
        const unsigned int i = CheckDegree(l, "l"), j = CheckDegree(m, "m"),
                           k = CheckDegree(n, "n");
        CheckDegree(l + m + n, "l + m + n");
        return GetLmnIndex(i, j, k);
      },
      py::arg("l"), py::arg("m"), py::arg("n"), "The place of (l, m, n) in shell order.");
  module.def(
      "reorder",
      [](long long degree, const Array& c) {
        const unsigned int N = CheckDegree(degree);
        return ToArray(reorder(N, CheckCoefficients(c, N)));
      },
      py::arg("degree"), py::arg("coefficients"),
      "Shell order to nested order: l outermost, then m, n running fastest.");
  module.def(
      "compute_ks", [](long long n) { return ToArray(computeKs(CheckDegree(n))); },
      py::arg("degree"), "K_0 .. K_N, the integrals of h_k(t)^2: sqrt(pi) 2^k k!.");
  module.def(
      "calc_hermite_normalization",
      [](long long n) { return ToArray(QXCalcHermiteNormalization(CheckDegree(n))); },
      py::arg("degree"), "M_0 .. M_N, the square roots of compute_ks.");
  module.def(
      "scale_coeffs_by_k",
      [](long long degree, const Array& c) {
        const unsigned int N = CheckDegree(degree);
        std::vector<double> scaled = CheckCoefficients(c, N);
        ScaleCoeffsByK(N, scaled);
        return ToArray(std::move(scaled));
      },
      py::arg("degree"), py::arg("coefficients"),
      "c_lmn / (K_l K_m K_n): overlaps with the basis become coefficients.");
  module.def(
      "calc_hermite_self_overlap",
      [](const Array& c, const QXHermiteOptions& options) {
        return QXCalcHermiteSelfOverlap(CheckCoefficients(c, options.GetNPolyMax()), options);
      },
      py::arg("coefficients"), py::arg("options"),
      "The integral of f^2: sum of (c_lmn M_l M_m M_n)^2 / (lambda_x lambda_y lambda_z).");
  module.def(
      "hermite_func",
      [](long long n, const Array& x) -> py::object {
        const unsigned int degree = CheckDegree(n, "n");
        std::vector<double> values(static_cast<size_t>(x.size()));
        for (size_t i = 0; i < values.size(); ++i) values[i] = QXHermiteFunc(degree, x.data()[i]);
        if (x.ndim() == 0) return py::float_(values[0]);
        return ToArray(std::move(values), {x.shape(), x.shape() + x.ndim()});
      },
      py::arg("n"), py::arg("x"),
      "h_n(x) = H_n(x) exp(-x^2/2), of numbers or arrays, by the explicit sum: inaccurate at high\n"
      "degree.");
  module.def(
      "hermite_funcs", [](long long n, const Array& x) { return Tables(n, x, &HermiteFuncs); },
      py::arg("n"), py::arg("x"),
      "h_0(x) .. h_n(x), hermite_func to the bit: the shape of x, and n + 1.");
  module.def(
      "calc_normalized_hermite",
      [](long long n, const Array& x) { return Tables(n, x, &QXCalcNormalizedHermite); },
      py::arg("n"), py::arg("x"),
      "The orthonormal functions h_k(x) / M_k, k = 0 .. n: the shape of x, and n + 1.");
  module.def(
      "calc_double_normalized_hermite",
      [](long long n, const Array& x) { return Tables(n, x, &QXCalcDoubleNormalizedHermite); },
      py::arg("n"), py::arg("x"),
      "The analysis functions h_k(x) / K_k, k = 0 .. n: the shape of x, and n + 1.");
  module.def(
      "tgamma_i", [](long long n) { return tgamma_i(CheckCount(n, 1000, "n")); }, py::arg("n"),
      "The gamma function at an integer, (n - 1)!; 1 for n below 3.");
}

}  // namespace

void BindGaussianToHermite(py::module_& module);

void BindExpansion(py::module_& module) {
  BindBasis(module);
  BindGaussians(module);
  BindHermite(module);
  BindGaussianToHermite(module);
}

}  // namespace QXPython
