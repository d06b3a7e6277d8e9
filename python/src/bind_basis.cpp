#include "hermite/expansion/hermite.h"
#include "hermite/expansion/mol_to_gaussians.h"
#include "hermite/foundations/basis.h"
#include "hermite/foundations/hermite_function.h"
#include "python/src/bindings.h"
#include "python/src/checks.h"
#include "python/src/reports.h"

namespace QXPython {

using namespace QXHermiteMath;
using QXMolKit::QXMol;

namespace {

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

void BindFunctions(py::module_& module) {
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

void BindBasis(py::module_& module) {
  BindFunctions(module);
  BindGaussians(module);
}

}  // namespace QXPython
