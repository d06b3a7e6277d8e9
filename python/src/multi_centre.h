#pragma once

#include <Eigen/Core>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "hermite/multihermite/multi_hermite_base.h"
#include "python/src/arrays.h"
#include "python/src/checks.h"
#include "python/src/reports.h"
#include "tools/turns.h"

// What Python sees of every expansion about several sites.

namespace QXPython {

using QXHermiteMath::QXMultiHermiteParameters;

/// Whole numbers below `limit`, out of anything that NumPy makes an array of; one number makes one
/// entry. TypeError for fractions, ValueError, or IndexError with `isIndex`, for what is out of
/// range.
std::vector<unsigned int> ToCounts(py::handle values, const char* name, size_t limit);
std::vector<unsigned int> ToIndices(py::handle values, const char* name, size_t limit);

/// One such number, or IndexError.
unsigned int ToIndex(py::handle value, const char* name, size_t limit);

/// Three finite numbers.
std::vector<double> ToTranslation(const Array& translation);

py::array_t<double> FromMatrix(const Eigen::MatrixXd& matrix);

/// With six digits.
std::string NumberText(double value);

/// Sets the coefficients of a new expansion: one for each active index, or, without indices, one
/// for each function of the layout; none without either.
template <typename Expansion>
void GiveCoefficients(Expansion& expansion, const py::object& coefficients,
                      const py::object& actives) {
  const auto functions = static_cast<py::ssize_t>(expansion.GetParams().NumBasis());
  if (coefficients.is_none()) {
    if (!actives.is_none()) throw py::value_error("actives: are there without coefficients");
    expansion.SetCoefficients({}, {});
  } else if (actives.is_none()) {
    const std::vector<double> dense =
        ToVector(coefficients.cast<Array>(), {functions}, "coefficients");
    expansion.SetCoefficients(dense);
  } else {
    const std::vector<unsigned int> indices =
        ToIndices(actives, "actives", static_cast<size_t>(functions));
    std::vector<bool> seen(static_cast<size_t>(functions));
    for (const unsigned int index : indices) {
      if (seen[index]) throw py::value_error("actives: " + std::to_string(index) + " stands twice");
      seen[index] = true;
    }
    expansion.SetCoefficients(ToVector(coefficients.cast<Array>(),
                                       {static_cast<py::ssize_t>(indices.size())}, "coefficients"),
                              indices);
  }
}

/// The active indices site by site, in a site in the order given, and their coefficients: what
/// makes the same expansion again.
std::pair<std::vector<unsigned int>, std::vector<double>> ActivesBySite(
    const QXHermiteMath::QXMultiHermiteBase& expansion);

/// "40 of 90 functions at 9 sites".
std::string SizeText(const QXHermiteMath::QXMultiHermiteBase& expansion);

/// The values at points, (n,).
template <typename Expansion>
py::array_t<double> EvaluateAt(Expansion& expansion, const Array& points) {
  const std::vector<double> places = ToVector(points, {kAny, 3}, "points");
  return ToArray(Call([&] { return expansion.Evaluate(places); }));
}

/// Defines what all expansions have in common; the class is to be immutable in Python.
template <typename Expansion>
void BindMultiCentre(py::class_<Expansion>& type) {
  const auto copy = [](const Expansion& self) { return Expansion(self); };
  type.def_property_readonly("params", &Expansion::GetParams, "The layout, a copy.")
      .def_property_readonly("num_actives", &Expansion::NumActives)
      .def_property_readonly(
          "actives",
          [](const Expansion& self) {
            const std::vector<unsigned int> actives = self.GetActives();
            const std::vector<std::int64_t> indices(actives.begin(), actives.end());
            return py::array_t<std::int64_t>(static_cast<py::ssize_t>(indices.size()),
                                             indices.data());
          },
          "The active flat indices, rising; integers, (num_actives,).")
      .def_property_readonly(
          "coefficients",
          [](const Expansion& self) { return ToArray(self.GetDenseCoefficients()); },
          "A value for each function of the layout, zero where it is not active, (num_basis,).")
      .def(
          "site_actives",
          [](const Expansion& self, const py::object& site) {
            return self.GetActives(ToIndex(site, "site", self.GetParams().NumSites()));
          },
          py::arg("site"), "The active flat indices of a site, in the order given.")
      .def(
          "site_coefficients",
          [](const Expansion& self, const py::object& site) {
            return ToArray(
                self.GetDenseCoefficients(ToIndex(site, "site", self.GetParams().NumSites())));
          },
          py::arg("site"), "The coefficients of a site in shell order, zeros included.")
      .def(
          "coefficient",
          [](const Expansion& self, const py::object& index) {
            return self.GetCoefficient(ToIndex(index, "index", self.GetParams().NumBasis()));
          },
          py::arg("index"), "The coefficient of a flat index; IndexError where it is not active.")
      .def(
          "rotated",
          [](const Expansion& self, const Array& rotation) {
            Expansion moved(self);
            const std::vector<double> matrix = ToRotation(rotation);
            Call([&] {
              QXTools::InSafeTurns(matrix, [&](const std::vector<double>& m) { moved.Rotate(m); });
            });
            return moved;
          },
          py::arg("rotation"),
          "The density turned by a (3, 3) matrix about the origin of coordinates.")
      .def(
          "translated",
          [](const Expansion& self, const Array& translation) {
            Expansion moved(self);
            moved.Translate(ToTranslation(translation));
            return moved;
          },
          py::arg("translation"), "The density moved by three numbers, in angstrom.")
      .def("evaluate", &EvaluateAt<Expansion>, py::arg("points"),
           "The values at points (n, 3), in angstrom: (n,).\n\n"
           "Sites of degree 1 have no functions of degree 1 here.")
      .def(
          "grid",
          [](Expansion& self, double spacing, double extent, const Array& center) {
            CheckPositive(spacing, "spacing");
            if (!(CheckFinite(extent, "extent") >= 0.0)) Refuse("extent", "must not be negative");
            const std::vector<double> mid = ToTranslation(center);
            auto grid = std::make_unique<QXCore::QXScalarGrid>();
            grid->SetMid(static_cast<float>(mid[0]), static_cast<float>(mid[1]),
                         static_cast<float>(mid[2]));
            Call([&] { self.CreateGrid(*grid, spacing, extent); });
            return grid;
          },
          py::arg("spacing") = 0.5, py::arg("extent") = 20.0,
          py::arg("center") = py::make_tuple(0.0, 0.0, 0.0),
          "A cube of values about a center that reaches 3 A beyond the extent, in angstrom, at\n"
          "most 300 elements along an axis, with a warning where more would be needed.")
      .def(
          "evaluate_on_grid",
          [](Expansion& self, QXCore::QXScalarGrid& grid) {
            Call([&] { self.EvaluateOnGrid(grid); });
          },
          py::arg("grid"), "Sets the elements of a grid to the values there.")
      .def("__copy__", copy)
      .def("__deepcopy__", [copy](const Expansion& self, const py::dict&) { return copy(self); });
}

/// The same for expansions that are values: equality and pickles.
template <typename Expansion>
void BindMultiCentreValue(py::class_<Expansion>& type) {
  BindMultiCentre(type);
  type.def(py::init([](const QXMultiHermiteParameters& params, const py::object& coefficients,
                       const py::object& actives) {
             auto expansion = std::make_unique<Expansion>(params);
             GiveCoefficients(*expansion, coefficients, actives);
             return expansion;
           }),
           py::arg("params"), py::arg("coefficients") = py::none(), py::arg("actives") = py::none(),
           "coefficients: one for each active flat index, or without actives one for each function "
           "of the layout.")
      .def(
          "__eq__",
          [](const Expansion& a, const Expansion& b) {
            return py::cast(a.GetParams()).equal(py::cast(b.GetParams())) &&
                   ActivesBySite(a) == ActivesBySite(b);
          },
          py::is_operator())
      .def(py::pickle(
          [](const Expansion& self) {
            const auto [actives, coefficients] = ActivesBySite(self);
            return py::make_tuple(self.GetParams(), actives, coefficients);
          },
          [](const py::tuple& state) {
            auto expansion =
                std::make_unique<Expansion>(state[0].cast<const QXMultiHermiteParameters&>());
            GiveCoefficients(*expansion, state[2], state[1]);
            return expansion;
          }));
}

}  // namespace QXPython
