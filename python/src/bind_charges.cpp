// Charge densities: their potential, field and energy, and the fits that make them.

#include <pybind11/stl.h>

#include <functional>
#include <optional>

#include "hermite/charge/interaction.h"
#include "hermite/charge/lasso_charge_density.h"
#include "hermite/charge/pruned_lasso_charge_density.h"
#include "hermite/charge/relaxed_lasso_charge_density.h"
#include "python/src/bindings.h"
#include "python/src/electrostatics.h"
#include "python/src/multi_centre.h"
#include "python/src/option_set.h"
#include "tools/charge_potential.h"
#include "tools/interaction_energy.h"
#include "tools/turns.h"

namespace QXPython {
namespace {

using QXHermiteMath::QXHermiteChargeDensity;
using QXHermiteMath::QXHermiteInteraction;
using QXHermiteMath::QXLassoChargeDensity;
using QXHermiteMath::QXLassoChargeDensityOptions;
using QXHermiteMath::QXPrunedLassoChargeDensity;
using QXHermiteMath::QXRelaxedLassoChargeDensity;
using QXNumerics::QXLasso;
using QXTools::ChargePotential;

std::vector<double> Points(const Array& points) {
  return ToVector(points, {kAny, 3}, "points");
}

std::string Repr(const QXHermiteChargeDensity& self) {
  return "HermiteChargeDensity(" + SizeText(self) + ", charge=" + NumberText(self.TotalCharge()) +
         ")";
}

void BindDensity(py::module_& module) {
  py::class_<QXHermiteChargeDensity> type(
      module, "HermiteChargeDensity",
      "A charge density as a sparse sum of Hermite Gaussians\n"
      "q H_l(u_x) H_m(u_y) H_n(u_z) exp(-|u|^2), u = lambda (r - r_s), about sites. In elementary\n"
      "charges (e) and angstrom; potentials in kcal/mol/e. A value that does not change.");
  BindMultiCentreValue(type);
  type.def_property_readonly("total_charge", &QXHermiteChargeDensity::TotalCharge,
                             "The integral of the density, e.")
      .def_property_readonly(
          "dipole_moment",
          [](const QXHermiteChargeDensity& self) { return ToArray(self.DipoleMoment()); },
          "The integral of r times the density, (3,), e angstrom; about the origin.")
      .def("with_spare_degree", &QXHermiteChargeDensity::WithSpareDegree,
           "The same density in a layout of one degree more at every site, whose\n"
           "evaluate_electric_field is whole, as is evaluate at sites of degree 1.")
      .def(
          "evaluate_potential",
          [](const QXHermiteChargeDensity& self, const Array& points) {
            const std::vector<double> places = Points(points);
            return ToArray(Call([&] { return self.EvaluatePotential(places); }));
          },
          py::arg("points"),
          "The potential at points (n, 3) in closed form: (n,), kcal/mol/e. NaN at the centre of "
          "a\n"
          "site and inaccurate very close to one; potential has no such places.")
      .def(
          "evaluate_electric_field",
          [](const QXHermiteChargeDensity& self, const Array& points) {
            const std::vector<double> places = Points(points);
            return Triples(Call([&] { return self.EvaluateElectricField(places); }));
          },
          py::arg("points"),
          "The field at points (n, 3) in closed form: (n, 3), kcal/mol/e/angstrom. It lacks what\n"
          "functions of the highest degree of a site give, on purpose: take field, or\n"
          "with_spare_degree() first.")
      .def(
          "potential",
          [](const QXHermiteChargeDensity& self, const Array& points) {
            const std::vector<double> places = Points(points);
            return ToArray(Call([&] { return ChargePotential(self).Potential(places); }));
          },
          py::arg("points"), "The potential at points (n, 3), anywhere: (n,), kcal/mol/e.")
      .def(
          "field",
          [](const QXHermiteChargeDensity& self, const Array& points) {
            const std::vector<double> places = Points(points);
            return Triples(Call([&] { return ChargePotential(self).Field(places); }));
          },
          py::arg("points"),
          "The field, minus the gradient of the potential, at points (n, 3), anywhere: (n, 3),\n"
          "kcal/mol/e/angstrom.")
      .def("__repr__", &Repr);
}

void BindPotential(py::module_& module) {
  py::class_<ChargePotential>(
      module, "ChargePotential",
      "Potential and field of a charge density anywhere: in closed form, but where a point is too\n"
      "close to a site for it by quadrature. Made once, for many calls.")
      .def(py::init<const QXHermiteChargeDensity&>(), py::arg("density"))
      .def(
          "potential",
          [](const ChargePotential& self, const Array& points) {
            const std::vector<double> places = Points(points);
            return ToArray(Call([&] { return self.Potential(places); }));
          },
          py::arg("points"), "At points (n, 3): (n,), kcal/mol/e.")
      .def(
          "field",
          [](const ChargePotential& self, const Array& points) {
            const std::vector<double> places = Points(points);
            return Triples(Call([&] { return self.Field(places); }));
          },
          py::arg("points"), "At points (n, 3): (n, 3), kcal/mol/e/angstrom.");
}

/// With the densities at hand, for rotations that their Euler angles do not tell.
struct Interaction {
  Interaction(const QXHermiteChargeDensity& newRef, const QXHermiteChargeDensity& newFit)
      : ref(newRef), fit(newFit) {
    Setup();
  }
  void Setup() {
    energy.SetupRef(ref);
    energy.Setup(fit);
  }
  double At(const std::vector<double>& rotation, const std::vector<double>& translation) {
    if (!QXTools::IsSteep(rotation)) return energy.CoulombEnergy(rotation, translation);
    const QXTools::Motion motion{MatrixOf(rotation), Eigen::Vector3d::Map(translation.data())};
    return QXTools::InteractionEnergy(ref, fit).At(motion);
  }
  static Eigen::Matrix3d MatrixOf(const std::vector<double>& rows) {
    return Eigen::Map<const Eigen::Matrix<double, 3, 3, Eigen::RowMajor>>(rows.data());
  }
  QXHermiteChargeDensity ref, fit;
  QXHermiteInteraction energy;
};

void BindInteraction(py::module_& module) {
  py::class_<Interaction>(
      module, "HermiteInteraction",
      "The Coulomb energy of two charge densities, kcal/mol, in closed form; NaN where two sites\n"
      "coincide. One thread at a time.")
      .def(py::init<const QXHermiteChargeDensity&, const QXHermiteChargeDensity&>(), py::arg("ref"),
           py::arg("fit"), "ref stays in place, fit is moved; both are copied.")
      .def(
          "setup_ref",
          [](Interaction& self, const QXHermiteChargeDensity& density) {
            self.ref = density;
            self.Setup();
          },
          py::arg("density"), "Another density that stays in place; it is copied.")
      .def(
          "setup",
          [](Interaction& self, const QXHermiteChargeDensity& density) {
            self.fit = density;
            self.Setup();
          },
          py::arg("density"), "Another density that is moved; it is copied.")
      .def(
          "coulomb_energy",
          [](Interaction& self, const std::optional<Array>& rotation,
             const std::optional<Array>& translation) {
            std::vector<double> matrix{1, 0, 0, 0, 1, 0, 0, 0, 1}, shift(3);
            if (rotation) matrix = ToRotation(*rotation);
            if (translation) shift = ToTranslation(*translation);
            if (!rotation && !translation) return Call([&] { return self.energy.CoulombEnergy(); });
            return Call([&] { return self.At(matrix, shift); });
          },
          py::arg("rotation") = py::none(), py::arg("translation") = py::none(),
          "The energy with the fit turned by a (3, 3) matrix about the origin of coordinates, "
          "then\n"
          "moved by three numbers, in angstrom. The densities stay as they are.");
}

/// What a fit is given: points and the values that the options want, as the library has them.
struct FitData {
  std::vector<double> points, values;
};

FitData ToFitData(const QXLassoChargeDensityOptions& options, const Array& points,
                  const std::optional<Array>& potential, const std::optional<Array>& field) {
  FitData data{Points(points), {}};
  if (!options.GetUsePotential() && !options.GetUseElectricField()) {
    throw py::value_error("options: neither potential nor field is to be fitted");
  }
  if (options.GetUsePotential()) {
    if (!potential) throw py::value_error("potential: is missing");
    data.values = ToVector(*potential, {points.shape(0)}, "potential");
  }
  if (options.GetUseElectricField()) {
    if (!field) throw py::value_error("field: is missing");
    const std::vector<double> blocks = FieldBlocks(*field, points.shape(0));
    data.values.insert(data.values.end(), blocks.begin(), blocks.end());
  }
  return data;
}

unsigned int Limit(const py::object& most, const char* name) {
  return most.is_none() ? QXLasso::kNoLimit : ToIndex(most, name, size_t{1} << 32);
}

unsigned int InRange(const py::object& n, unsigned int least, unsigned int most) {
  const unsigned int number = ToCounts(n, "n", size_t{1} << 32).at(0);
  if (number >= least && number <= most) return number;
  throw py::value_error("n: " + std::to_string(number) + " is not in " + std::to_string(least) +
                        " .. " + std::to_string(most));
}

/// The vectors that a molecule has for a fit, by their names, must fit to one another.
void CheckAttached(const QXMolKit::QXMol& mol) {
  const auto size = [&mol](const char* name) -> std::optional<size_t> {
    if (!mol.HasDataOfType<std::vector<double>>(name)) return std::nullopt;
    return mol.GetData<std::vector<double>>(name).size();
  };
  const size_t values = size("grid").value_or(0);
  if (values % 3 != 0) Refuse("grid", "must have x, y and z of each point");
  if (size("potential").value_or(values / 3) != values / 3) {
    Refuse("potential", "must have one value for each point");
  }
  if (size("electric field").value_or(values) != values) {
    Refuse("electric field", "must have three values for each point");
  }
}

constexpr const char* kDataText =
    "points: (n, 3), angstrom; potential: (n,), kcal/mol/e; field: (n, 3), kcal/mol/e/angstrom; "
    "as\n"
    "far as the options want them.";

/// A fit, and whether it has data for the candidates that it has now.
struct LassoFit {
  QXLassoChargeDensityOptions options;
  QXLassoChargeDensity fit;
  bool isPrepared = false;
};

void BindLassoFit(py::module_& module) {
  py::class_<LassoFit>(
      module, "LassoChargeDensity",
      "Fits a sparse charge density to potential and field at points by a LASSO: prep_data, fit,\n"
      "then the density at any step of the path. One thread at a time.")
      .def(
          py::init([](const QXMultiHermiteParameters& params,
                      const std::optional<QXLassoChargeDensityOptions>& options,
                      const py::object& actives) {
            const QXLassoChargeDensityOptions used =
                options.value_or(QXLassoChargeDensityOptions());
            if (actives.is_none()) return LassoFit{used, {params, used}};
            return LassoFit{used, {params, used, ToIndices(actives, "actives", params.NumBasis())}};
          }),
          py::arg("params"), py::arg("options") = py::none(), py::arg("actives") = py::none(),
          "actives: the flat indices of the candidates, all without.")
      .def(
          "prep_data",
          [](LassoFit& self, const QXMolKit::QXMol& mol) {
            CheckAttached(mol);
            self.isPrepared = false;
            Call([&] { self.fit.PrepData(mol); });
            self.isPrepared = true;
          },
          py::arg("molecule"),
          "The same of vectors attached to a molecule (Molecule.set_vector): \"grid\", "
          "\"potential\",\n"
          "and \"electric field\" in three blocks: all x, all y, all z.")
      .def(
          "prep_data",
          [](LassoFit& self, const Array& points, const std::optional<Array>& potential,
             const std::optional<Array>& field) {
            const FitData data = ToFitData(self.options, points, potential, field);
            self.isPrepared = false;
            Call([&] { self.fit.PrepData(data.points, data.values); });
            self.isPrepared = true;
          },
          py::arg("points"), py::arg("potential") = py::none(), py::arg("field") = py::none(),
          kDataText)
      .def(
          "fit",
          [](LassoFit& self, const py::object& most) {
            if (!self.isPrepared) throw py::value_error("fit: call prep_data first");
            const unsigned int limit = Limit(most, "max_actives");
            Call([&] { self.fit.Fit(limit); });
          },
          py::arg("max_actives") = py::none(),
          "Walks the path, to its end or for so many functions.")
      .def(
          "remove_charged_actives",
          [](LassoFit& self) {
            self.fit.RemoveChargedActives();
            self.isPrepared = false;
          },
          "Takes the functions that carry charge out of the candidates; then prep_data is due.")
      .def_property_readonly(
          "actives", [](const LassoFit& self) { return self.fit.GetActives(); },
          "Flat indices in the order in which the functions entered.")
      .def_property_readonly("max_num_actives",
                             [](const LassoFit& self) { return self.fit.MaxNumActives(); })
      .def_property_readonly(
          "candidates", [](const LassoFit& self) { return self.fit.GetCandidates(); },
          "The flat indices that may be chosen, rising.")
      .def_property_readonly(
          "coefficient_path", [](const LassoFit& self) { return self.fit.GetCoefficientPath(); },
          "Step k: the coefficients of the first k + 1 actives.")
      .def_property_readonly(
          "design_matrix",
          [](const LassoFit& self) { return FromMatrix(self.fit.GetDesignMatrix()); },
          "What the regression is given: a column for each candidate, centred and of norm 1.")
      .def(
          "charge_density",
          [](const LassoFit& self, const py::object& n) {
            return self.fit.GetChargeDensity(InRange(n, 1, self.fit.MaxNumActives()));
          },
          py::arg("n"), "The density of the first n actives, 1 .. max_num_actives.")
      .def(
          "last_charge_density",
          [](const LassoFit& self) { return self.fit.GetLastChargeDensity(); },
          "That of the end of the path; without functions where the path is empty.");
}

/// A fit in stages, with the data that all of them want.
template <typename Fit>
struct StagedFit {
  QXLassoChargeDensityOptions options;
  Fit fit;
  FitData data;
};

template <typename Fit>
void BindStagedFit(py::module_& module, const char* name, const char* text) {
  using Staged = StagedFit<Fit>;
  py::class_<Staged>(module, name, text)
      .def(py::init([](const QXMultiHermiteParameters& params,
                       const std::optional<QXLassoChargeDensityOptions>& options) {
             const QXLassoChargeDensityOptions used =
                 options.value_or(QXLassoChargeDensityOptions());
             return Staged{used, Fit(params, used), {}};
           }),
           py::arg("params"), py::arg("options") = py::none())
      .def(
          "feature_selection",
          [](Staged& self, const Array& points, const std::optional<Array>& potential,
             const std::optional<Array>& field, const py::object& most) {
            FitData data = ToFitData(self.options, points, potential, field);
            const unsigned int limit = Limit(most, "max_features");
            Call([&] { self.fit.FeatureSelection(data.points, data.values, limit); });
            self.data = std::move(data);
          },
          py::arg("points"), py::arg("potential") = py::none(), py::arg("field") = py::none(),
          py::arg("max_features") = py::none(), kDataText)
      .def_property_readonly("max_num_features",
                             [](const Staged& self) { return self.fit.MaxNumFeatures(); })
      .def(
          "features",
          [](const Staged& self, const py::object& n) {
            const unsigned int count = InRange(n, 0, self.fit.MaxNumFeatures());
            return Call([&] { return self.fit.GetFeatures(count); });
          },
          py::arg("n"), "The n flat indices that a density of n functions is fitted with.")
      .def(
          "charge_density",
          [](const Staged& self, const py::object& n) {
            const unsigned int count = InRange(n, 0, self.fit.MaxNumFeatures());
            return Call([&] {
              return self.fit.FitChargeDensity(self.data.points, self.data.values, count);
            });
          },
          py::arg("n"), "The density of n functions, 0 .. max_num_features, on the same data.");
}

void BindOptionsOfFit(py::module_& module) {
  using Options = QXLassoChargeDensityOptions;
  py::class_<Options> type(module, "LassoChargeDensityOptions",
                           "To what a charge density is fitted. A mapping too, by option strings:\n"
                           "options[\"-UseElectricField\"] = False.");
  type.def(py::init([](bool potential, bool field, bool neutral) {
             Options options;
             options.SetUsePotential(potential);
             options.SetUseElectricField(field);
             options.SetUseNeutralCharge(neutral);
             return options;
           }),
           py::kw_only(), py::arg("use_potential") = true, py::arg("use_electric_field") = true,
           py::arg("use_neutral_charge") = true)
      .def("__repr__", [](const Options& self) {
        const auto text = [](bool value) { return value ? "True" : "False"; };
        return std::string("LassoChargeDensityOptions(use_potential=") +
               text(self.GetUsePotential()) +
               ", use_electric_field=" + text(self.GetUseElectricField()) +
               ", use_neutral_charge=" + text(self.GetUseNeutralCharge()) + ")";
      });
  AddOptionProperty(type, "use_potential", "-UsePotential", "Fit the electrostatic potential.");
  AddOptionProperty(type, "use_electric_field", "-UseElectricField", "Fit the electric field.");
  AddOptionProperty(type, "use_neutral_charge", "-UseNeutralCharge",
                    "Leave out the functions that carry a net charge.");
  AddOptionMapping(type);
}

}  // namespace

void BindCharges(py::module_& module) {
  BindDensity(module);
  BindPotential(module);
  BindInteraction(module);
  BindOptionsOfFit(module);
  BindLassoFit(module);
  BindStagedFit<QXRelaxedLassoChargeDensity>(
      module, "RelaxedLassoChargeDensity",
      "Fits in two stages: the path tells in which order functions are needed, and a second path\n"
      "over the first n alone gives their coefficients, free of its shrinkage. One thread at a\n"
      "time.");
  BindStagedFit<QXPrunedLassoChargeDensity>(
      module, "PrunedLassoChargeDensity",
      "Fits with few functions in three stages: the path proposes twice as many, backward\n"
      "elimination takes half of them away, and those left are fitted once more. One thread at a\n"
      "time.");
}

}  // namespace QXPython
