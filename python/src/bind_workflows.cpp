// What the command line does with grids and charge densities, as one call each. The functions with
// an underscore stand under those of the package.

#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <Eigen/Core>
#include <cmath>
#include <filesystem>
#include <limits>
#include <optional>
#include <utility>

#include "host/core/throw.h"
#include "host/grid/grid_file.h"
#include "python/src/bindings.h"
#include "python/src/checks.h"
#include "python/src/electrostatics.h"
#include "python/src/reports.h"
#include "python/src/text.h"
#include "tools/atom_search.h"
#include "tools/charge_density_file.h"
#include "tools/charge_fit.h"
#include "tools/grid_density.h"
#include "tools/inertial_frame.h"
#include "tools/interaction_energy.h"
#include "tools/model_file.h"

namespace QXPython {
namespace {

using QXCore::QXScalarGrid;
using QXCore::QXThrow;
using QXHermiteMath::QXHermiteChargeDensity;
using QXHermiteMath::QXMultiHermite;
using QXMolKit::QXMol;

// ----- what the tools say -----

/// A text of the command line with the names of Python's arguments for its options.
std::string ForPython(std::string text) {
  constexpr std::pair<const char*, const char*> kNames[] = {
      {"--cut 0.7 --blur 0.3", "cut=0.7, blur=0.3"},
      {"fewer functions with --actives", "fewer functions"},
      {"-UsePotential false", "use_potential=False"},
      {"-UseElectricField false", "use_field=False"},
      {"-UseNeutralCharge false", "neutral=False"},
      {"--NPolyMax", "degree"},
      {"--npolymax", "degree"},
      {"--lambda", "width"},
      {"--actives", "functions"},
      {"--target-error", "target_error"},
      {"--value-fraction", "value_fraction"},
      {"--threshold", "threshold"},
      {"--memory", "memory"},
      {"--radius", "radius"},
      {"--cut", "cut"},
      {"--record", "record"},
  };
  for (const auto& [option, name] : kNames) {
    for (size_t at; (at = text.find(option)) != text.npos;) {
      text.replace(at, std::char_traits<char>::length(option), name);
    }
  }
  return text;
}

class Collector : public QXTools::Listener {
 public:
  void Say(const std::string& text) override { texts.push_back(ForPython(text)); }
  std::vector<std::string> texts;
};

/// What work(listener) gives. What the listener is told are warnings, or, where there is no result,
/// the exception.
template <typename Work>
auto Hear(Work&& work) {
  return *Call([&] {
    Collector listener;
    auto result = work(listener);
    for (const std::string& text : listener.texts) {
      if (result) {
        QXThrow.Warning("%s", text.c_str());
      } else {
        QXThrow.Error("%s", text.c_str());
      }
    }
    // The files that a stream could not read are told of by the stream itself.
    if (!result && listener.texts.empty()) QXThrow.Error("nothing could be done");
    return result;
  });
}

// ----- grids to atoms -----

py::tuple FindAtoms(const QXScalarGrid& grid, const std::string& name, double cut, double blur,
                    const QXTools::AtomSearch& search) {
  if (!(cut > 0.0 && cut <= 1.0)) Refuse("cut", "must be above 0 and at most 1");
  if (!(blur >= 0.0 && blur <= 10.0)) Refuse("blur", "must be 0 to 10, in angstrom");
  CheckValues(grid, "grid");
  const float* const values = grid.GetValues();
  const auto isPositive = [](float value) { return value > 0.0f; };
  if (std::none_of(values, values + grid.GetSize(), isPositive)) {
    Refuse("grid", "no value is positive: give a density");
  }
  QXScalarGrid prepared(grid);
  const QXTools::FoundAtoms found = Hear([&](QXTools::Listener& listener) {
    QXTools::CutPeaks(prepared, cut);
    if (blur > 0.0) QXTools::Blur(prepared, blur);
    return QXTools::FindAtoms(prepared, search, name, listener);
  });
  return py::make_tuple(found.mol, found.cosine, found.radius, found.objective, found.score,
                        found.expansion);
}

void BindAtomSearch(py::module_& module) {
  module.def(
      "_find_atoms",
      [](const QXScalarGrid& grid, const std::string& name, double cut, double blur,
         const std::string& method, double radius, double minDistance, double threshold,
         double startDistance, long long starts, const QXHermiteMath::QXHermiteOptions& options,
         double valueFraction, long long maxAtoms, const std::string& metric) {
        QXTools::AtomSearch search;
        search.method = method;
        search.radius = CheckPositive(radius, "radius");
        search.minDistance = CheckPositive(minDistance, "min_distance");
        search.threshold = threshold;
        if (!(threshold > 1e-6 && threshold <= 1.0)) {
          Refuse("threshold", "must be above 1e-6 and at most 1");
        }
        search.startDistance = CheckPositive(startDistance, "start_distance");
        search.starts = CheckCount(starts, ~0u, "starts");
        search.expansion = options;
        search.valueFraction = valueFraction;
        if (!(valueFraction > 0.0 && valueFraction < 1.0)) {
          Refuse("value_fraction", "must be between 0 and 1");
        }
        search.maxAtoms = CheckCount(maxAtoms, ~0u, "max_atoms");
        search.metric = metric;
        return FindAtoms(grid, name, cut, blur, search);
      });
}

// ----- charge densities -----

/// The sites that are meant: "all" or "heavy" atoms, or (n, 3) numbers.
std::vector<double> Sites(const py::object& sites, const QXMol& mol) {
  if (!py::isinstance<py::str>(sites)) {
    const Array places = sites.cast<Array>();
    RequireFinite(places, "sites");
    if (places.size() == 0) Refuse("sites", "are missing");
    return ToVector(places, {kAny, 3}, "sites");
  }
  const std::string which = sites.cast<std::string>();
  if (which != "all" && which != "heavy") {
    Refuse("sites", "must be \"all\", \"heavy\" or (n, 3) numbers, not \"" + which + "\"");
  }
  std::vector<double> places =
      QXTools::Coordinates(which == "all" ? mol : QXTools::HeavyAtoms(mol));
  if (places.empty()) Refuse("sites", "there are no such atoms: give their places");
  return places;
}

QXTools::ElectrostaticData MakeData(const Array& points, const std::optional<Array>& potential,
                                    const std::optional<Array>& field,
                                    const std::optional<Array>& holdout, const QXMol& mol,
                                    const std::string& title) {
  QXTools::ElectrostaticData data;
  data.title = title;
  data.mol = mol;
  data.points = ToVector(points, {kAny, 3}, "points");
  RequireFinite(points, "points");
  if (potential) {
    data.potential = ToVector(*potential, {points.shape(0)}, "potential");
    RequireFinite(*potential, "potential");
  }
  if (field) {
    data.field = FieldBlocks(*field, points.shape(0));
    RequireFinite(*field, "field");
  }
  data.heldOut.assign(data.NumPoints(), false);
  if (holdout) {
    const std::vector<double> marks = ToVector(*holdout, {points.shape(0)}, "holdout");
    for (size_t i = 0; i < marks.size(); ++i) data.heldOut[i] = marks[i] != 0.0;
  }
  for (unsigned int atom = 0; atom < mol.NumAtoms(); ++atom) {
    data.totalCharge += mol.GetAtom(atom)->GetFormalCharge();
  }
  return data;
}

QXTools::ElectrostaticData ReadData(const std::filesystem::path& path, long long record) {
  const unsigned int number = CheckCount(record, ~0u, "record");
  const std::string name = path.string();
  return Hear([&](QXTools::Listener& listener) {
    return QXTools::IsElectrostaticJson(name)
               ? QXTools::ReadElectrostaticJson(name, listener)
               : QXTools::ReadElectrostaticRecord(name, number, listener);
  });
}

QXTools::FitMethod Method(const std::string& method) {
  if (method == "lasso") return QXTools::FitMethod::Lasso;
  if (method == "relaxed") return QXTools::FitMethod::Relaxed;
  if (method == "pruned") return QXTools::FitMethod::Pruned;
  throw py::value_error("method: must be \"lasso\", \"relaxed\" or \"pruned\", not \"" + method +
                        "\"");
}

QXTools::ElectrostaticSettings MakeSettings(
    long long degree, const std::optional<double>& width, const std::optional<long long>& functions,
    const std::optional<double>& targetError, const std::string& method,
    const QXHermiteMath::QXLassoChargeDensityOptions& options) {
  QXTools::ElectrostaticSettings settings;
  settings.degree = CheckCount(degree, QXTools::kLargestFitDegree, "degree");
  if (width) settings.width = CheckPositive(*width, "width");
  if (functions) {
    settings.actives = CheckCount(*functions, ~0u, "functions");
    if (*functions == 0) Refuse("functions", "must be at least 1");
  }
  if (targetError) settings.targetError = CheckPositive(*targetError, "target_error");
  if (functions && targetError) Refuse("target_error", "leave it out, or functions");
  settings.method = Method(method);
  settings.regression = options;
  if (!options.GetUsePotential() && !options.GetUseElectricField()) {
    Refuse("use_potential, use_field", "nothing to fit: set one of them True");
  }
  if (settings.degree == 0 && options.GetUseNeutralCharge()) {
    Refuse("degree", "all functions of degree 0 carry charge: give neutral=False, or a higher one");
  }
  return settings;
}

/// Steps as (functions, density, fitted V, fitted E, held-out V, held-out E), the place of the one
/// chosen among them, and to what they were fitted.
py::tuple Fit(const QXTools::ElectrostaticData& data, QXTools::ElectrostaticSettings settings,
              const std::vector<double>& sites, long long memory, const std::string& place,
              const py::object& progress) {
  const unsigned int most = CheckCount(memory, ~0u, "memory");
  settings.progress = [&progress](unsigned int done, unsigned int total) {
    const py::gil_scoped_acquire acquire;
    if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    if (!progress.is_none()) progress(done, total);
  };
  const QXTools::ElectrostaticPath path = Hear([&](QXTools::Listener& listener) {
    return QXTools::FitCharges(data, settings, sites, most, place, listener);
  });
  py::list steps;
  size_t chosen = 0;
  for (const QXTools::ElectrostaticStep& step : path.Steps()) {
    if (&step == &path.Chosen()) chosen = steps.size();
    steps.append(py::make_tuple(step.functions, step.density, step.fitted.potential,
                                step.fitted.field, step.heldOut.potential, step.heldOut.field));
  }
  return py::make_tuple(steps, chosen, QXTools::FittedTo(data, settings));
}

void BindChargeFit(py::module_& module) {
  using Data = QXTools::ElectrostaticData;
  py::class_<Data>(module, "_ElectrostaticData")
      .def(py::init(&MakeData))
      .def_static("read", &ReadData)
      .def_property_readonly("title", [](const Data& data) { return FromText(data.title); })
      .def_readonly("molecule", &Data::mol)
      .def_property_readonly("has_potential",
                             [](const Data& self) { return !self.potential.empty(); })
      .def_property_readonly("has_field", [](const Data& self) { return !self.field.empty(); });
  module.def("_fit_charges",
             [](const Data& data, const py::object& sites, long long degree,
                const std::optional<double>& width, const std::optional<long long>& functions,
                const std::optional<double>& targetError, const std::string& method,
                const QXHermiteMath::QXLassoChargeDensityOptions& options, long long memory,
                const std::string& place, const py::object& progress) {
               return Fit(data,
                          MakeSettings(degree, width, functions, targetError, method, options),
                          Sites(sites, data.mol), memory, place, progress);
             });
}

void BindFiles(py::module_& module) {
  module.def(
      "read_charge_density",
      [](const std::filesystem::path& path) {
        return Hear([&](QXTools::Listener& listener) {
                 return QXTools::ReadChargeDensity(path.string(), listener);
               })
            .density;
      },
      py::arg("path"), "A HermiteChargeDensity out of a file of `qxhermite charges fit` (.json).");
  module.def(
      "write_charge_density",
      [](const std::filesystem::path& path, const QXHermiteChargeDensity& density,
         const std::string& title, const std::string& source, const std::optional<QXMol>& mol) {
        const QXTools::ChargeDensity all{title, source, mol.value_or(QXMol(1)), density};
        Call([&] {
          if (QXTools::WriteChargeDensity(all, path.string())) return;
          QXThrow.Error("%s: cannot be written: check the disk", path.c_str());
        });
      },
      py::arg("path"), py::arg("density"), py::kw_only(), py::arg("title") = "",
      py::arg("source") = "", py::arg("molecule") = py::none(),
      "Writes a density such that it is read again to the last bit, as `qxhermite charges fit`\n"
      "does. source: to what it was fitted, and molecule: its atoms, for people and pictures.");
  module.def(
      "read_multi_hermite",
      [](const std::filesystem::path& path) {
        return Hear([&](QXTools::Listener& listener) {
                 return QXTools::ReadModel(path.string(), listener);
               })
            .expansion;
      },
      py::arg("path"), "A MultiHermite out of a file of `qxhermite fit-grid` (.json).");
  module.def(
      "write_multi_hermite",
      [](const std::filesystem::path& path, const QXMultiHermite& model, const std::string& title,
         const std::string& source) {
        Call([&] {
          if (QXTools::WriteModel({title, source, model}, path.string())) return;
          QXThrow.Error("%s: cannot be written: check the disk", path.c_str());
        });
      },
      py::arg("path"), py::arg("model"), py::kw_only(), py::arg("title") = "",
      py::arg("source") = "", "Writes a model as `qxhermite fit-grid` does.");
}

// ----- energies -----

/// Energies of b moved by each of the transforms, (n, 4, 4). NaN, with one warning, where a site
/// comes too close to one of a.
py::array_t<double> Energies(const QXHermiteChargeDensity& a, const QXHermiteChargeDensity& b,
                             const Array& transforms) {
  RequireShape(transforms, {kAny, 4, 4}, "transforms");
  const py::ssize_t count = transforms.shape(0);
  std::vector<QXTools::Motion> motions;
  for (py::ssize_t i = 0; i < count; ++i) {
    const Array one({py::ssize_t{4}, py::ssize_t{4}}, transforms.data(i, 0, 0));
    ToTrans(one, "transforms");  // refuses what is not rigid
    using Rows = Eigen::Matrix<double, 4, 4, Eigen::RowMajor>;
    const Eigen::Map<const Rows> matrix(one.data());
    motions.push_back({matrix.topLeftCorner<3, 3>(), matrix.topRightCorner<3, 1>()});
  }
  return ToArray(Call([&] {
    QXTools::InteractionEnergy energy(a, b);
    std::vector<double> energies;
    size_t close = 0, inContact = 0;
    for (const QXTools::Motion& motion : motions) {
      inContact += energy.Distance(motion) < QXTools::kContact;
      const bool tooClose = energy.TooClose(motion);
      close += tooClose;
      energies.push_back(tooClose ? std::numeric_limits<double>::quiet_NaN() : energy.At(motion));
    }
    if (close > 0) {
      QXThrow.Warning(
          "at %zu of %zu places a site comes too close to one of the other density for an energy, "
          "which is NaN: move it, or fit with a lower degree",
          close, energies.size());
    }
    if (inContact > 0) {
      QXThrow.Warning("at %zu of %zu places %s", inContact, energies.size(),
                      QXTools::kContactWarning);
    }
    return energies;
  }));
}

}  // namespace

void BindWorkflows(py::module_& module) {
  BindAtomSearch(module);
  BindChargeFit(module);
  BindFiles(module);
  module.def("_interaction_energies", &Energies);
}

}  // namespace QXPython
