// Grids turned into pseudo-atoms.

#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>

#include "hermite/gridatoms/grid_to_atoms.h"
#include "hermite/gridatoms/grid_to_mol.h"
#include "hermite/gridatoms/grid_to_multi_hermite.h"
#include "hermite/gridatoms/lasso_atoms.h"
#include "hermite/gridatoms/lasso_gaussians.h"
#include "hermite/gridatoms/multistart_grid_to_atoms.h"
#include "python/src/bindings.h"
#include "python/src/checks.h"
#include "python/src/electrostatics.h"
#include "python/src/multi_centre.h"
#include "python/src/reports.h"

namespace QXPython {
namespace {

using QXCore::QXScalarGrid;
using QXHermiteMath::QXGridToAtoms;
using QXHermiteMath::QXGridToMultiHermite;
using QXHermiteMath::QXHermiteOptions;
using QXHermiteMath::QXLassoAtoms;
using QXHermiteMath::QXLassoGaussians;
using QXHermiteMath::QXMultistartGridToAtoms;
using QXMolKit::QXMol;

constexpr unsigned int kMostAtoms = ~0u;

double CheckDistance(double distance, const char* name) {
  if (!(CheckFinite(distance, name) >= 0.0)) Refuse(name, "must not be negative");
  return distance;
}

const QXScalarGrid& CheckDensity(const QXScalarGrid& grid) {
  if (grid.GetSize() == 0) Refuse("grid", "has no elements");
  return CheckValues(grid, "grid");
}

/// The numbers by which the library knows the metrics.
unsigned int Metric(const std::string& metric) {
  if (metric == "cosine") return 0;
  if (metric == "tanimoto") return 1;
  throw py::value_error("metric: must be \"cosine\" or \"tanimoto\", not \"" + metric + "\"");
}

/// Random starts are drawn until one falls on a value of this size.
void RequireStarts(const QXScalarGrid& grid) {
  constexpr float kLeast = 1.001e-4f;
  const float* const values = grid.GetValues();
  const bool any = std::any_of(values, values + grid.GetSize(),
                               [](float value) { return std::fabs(value) >= kLeast; });
  if (!any) Refuse("grid", "all values are below 0.0001 in size: scale it");
  const float farthest =
      std::max({std::fabs(grid.GetXMin()), std::fabs(grid.GetYMin()), std::fabs(grid.GetZMin()),
                std::fabs(grid.GetXMax()), std::fabs(grid.GetYMax()), std::fabs(grid.GetZMax())});
  if (farthest * 0x1p-23f > 0.1f * grid.GetSpacing()) {
    Refuse("grid", "lies too far from the origin for its spacing");
  }
}

void BindGridToAtoms(py::module_& module) {
  py::class_<QXGridToAtoms>(
      module, "GridToAtoms",
      "Turns a grid into carbons whose density reproduces it: places them on high values, moves\n"
      "all at once, and drops those to spare. The grid is expanded about the origin, so have its\n"
      "density there; qxhermite.grid_to_atoms sees to that. One thread at a time.\n\n"
      "radius: of the atoms; min_distance: of two atoms found, angstrom; value_fraction: the\n"
      "smallest value under an atom, as a part of the largest; transform: (4, 4), from the frame "
      "of\n"
      "the grid to that of the files written. Give options with use_optimal_lambdas and\n"
      "use_center_of_mass False.")
      .def(py::init([](const QXScalarGrid& grid, const QXHermiteOptions& options, double radius,
                       double minDistance, double valueFraction, const py::object& transform) {
             CheckDensity(grid);
             CheckPositive(radius, "radius");
             CheckDistance(minDistance, "min_distance");
             CheckFinite(valueFraction, "value_fraction");
             const QXMolKit::QXTrans trans = ToTrans(transform);
             return Call([&] {
               return std::make_unique<QXGridToAtoms>(radius, minDistance, valueFraction, options,
                                                      grid, trans);
             });
           }),
           py::arg("grid"), py::arg("options"), py::arg("radius") = 1.7,
           py::arg("min_distance") = 0.8, py::arg("value_fraction") = 0.2,
           py::arg("transform") = py::none())
      .def(
          "sample_starting_point",
          [](QXGridToAtoms& self) {
            QXMol atoms(1);
            Call([&] { self.SampleStartingPoint(atoms); });
            return atoms;
          },
          "Atoms on the highest values, 2.5 A apart, at most 200: a Molecule.")
      .def(
          "find_local_minimum",
          [](QXGridToAtoms& self, const QXMol& start) {
            QXMol atoms(start);
            const double misfit = Call([&] { return self.FindLocalMinimum(atoms); });
            return py::make_tuple(atoms, misfit);
          },
          py::arg("molecule"),
          "(atoms, misfit): the atoms moved to the nearest minimum and cleaned up, highest value\n"
          "first, and 1 - cosine at the minimum, 0 to 2.")
      .def(
          "write_atoms",
          [](QXGridToAtoms& self, const std::filesystem::path& path, const QXMol& mol) {
            Call([&] { self.OutputAtomsMol(path.string(), mol); });
          },
          py::arg("path"), py::arg("molecule"),
          "Writes atoms, moved by the transform, in the format of the name.")
      .def(
          "write_grid",
          [](QXGridToAtoms& self, const std::filesystem::path& path, const QXMol& mol,
             double spacing) {
            CheckPositive(spacing, "spacing");
            Call([&] { self.OutputAtomsGrid(path.string(), mol, static_cast<float>(spacing)); });
          },
          py::arg("path"), py::arg("molecule"), py::arg("spacing") = 0.5,
          "Writes the density of atoms of radius 1.7, as its expansion has it.");
  py::class_<QXMultistartGridToAtoms>(
      module, "MultistartGridToAtoms",
      "Single atoms, dropped at random places where the grid is not empty and pulled onto it by\n"
      "shape, under the degree and lambda_x of the options; transform, (4, 4), moves those found.\n"
      "One thread at a time.")
      .def(py::init([](const QXHermiteOptions& options, const QXScalarGrid& grid,
                       const py::object& transform) {
             CheckDensity(grid);
             RequireStarts(grid);
             const QXMolKit::QXTrans trans = ToTrans(transform);
             return Call(
                 [&] { return std::make_unique<QXMultistartGridToAtoms>(options, grid, trans); });
           }),
           py::arg("options"), py::arg("grid"), py::arg("transform") = py::none())
      .def(
          "sample",
          [](QXMultistartGridToAtoms& self, long long starts) {
            const unsigned int count = CheckCount(starts, kMostAtoms, "num_starts");
            QXMol atoms(1);
            Call([&] { self.Sample(count, atoms); });
            return atoms;
          },
          py::arg("num_starts"),
          "One carbon for each distinct end, 0.2 A apart, in the order found. Equal calls give "
          "equal\n"
          "results.");
}

/// A search that has its grid from the start.
struct LassoSearch {
  QXLassoAtoms search;
  unsigned int samples = 0;
};

void BindLassoAtoms(py::module_& module) {
  py::class_<LassoSearch>(
      module, "LassoAtoms",
      "Turns a grid into carbons without a minimiser: a LASSO picks among candidate places those\n"
      "whose Gaussians together give the grid. It reads the elements above value_fraction of the\n"
      "largest value. One thread at a time. grid_to_mol is all of it in one call.")
      .def(py::init([](const QXScalarGrid& grid, double valueFraction) {
             CheckDensity(grid);
             CheckFinite(valueFraction, "value_fraction");
             LassoSearch made;
             Call([&] { made.search.SetupGrid(grid, valueFraction); });
             made.samples = static_cast<unsigned int>(made.search.GetGridValues().size());
             return made;
           }),
           py::arg("grid"), py::arg("value_fraction") = 0.0)
      .def_property_readonly(
          "grid_coordinates",
          [](const LassoSearch& self) { return Triples(self.search.GetGridCoordinates()); },
          "The elements read, (n, 3), angstrom.")
      .def_property_readonly(
          "grid_values",
          [](const LassoSearch& self) { return ToArray(self.search.GetGridValues()); })
      .def(
          "sample_atoms",
          [](LassoSearch& self, double minDistance, double valueFraction) {
            CheckDistance(minDistance, "min_distance");
            CheckFinite(valueFraction, "value_fraction");
            return Triples(
                Call([&] { return self.search.SampleAtoms(minDistance, valueFraction); }));
          },
          py::arg("min_distance"), py::arg("value_fraction"),
          "Candidate places, highest value first, (n, 3).")
      .def(
          "sample_grid_local_maximum",
          [](LassoSearch& self, const py::object& index) {
            const unsigned int place = ToIndex(index, "index", self.samples);
            auto [value, where] = self.search.SampleGridLocalMaximum(place);
            return py::make_tuple(value, ToArray(std::move(where)));
          },
          py::arg("index"),
          "The highest value at an element read and at 100 points beside it, and its place.")
      .def(
          "is_duplicate",
          [](LassoSearch& self, const Array& coordinates, const Array& point, double distance) {
            return self.search.IsDuplicate(ToVector(coordinates, {kAny, 3}, "coordinates"),
                                           ToVector(point, {3}, "point"), distance);
          },
          py::arg("coordinates"), py::arg("point"), py::arg("min_distance"),
          "Whether any of the places, (n, 3), is nearer to the point.")
      .def(
          "deduplicate_atoms",
          [](LassoSearch& self, const QXMol& mol, const Array& values, double minDistance,
             long long maxAtoms) {
            QXMol atoms(mol);
            const std::vector<double> one = ToVector(values, {mol.NumAtoms()}, "values");
            const unsigned int most = CheckCount(maxAtoms, kMostAtoms, "max_atoms");
            CheckDistance(minDistance, "min_distance");
            Call([&] { self.search.DeduplicateAtoms(atoms, one, minDistance, most); });
            return atoms;
          },
          py::arg("molecule"), py::arg("values"), py::arg("min_distance"), py::arg("max_atoms"),
          "Those that are not too near to one of a higher value, highest first.")
      .def(
          "find_atoms",
          [](LassoSearch& self, double radius, double minDistance, double valueFraction,
             long long maxAtoms) {
            CheckPositive(radius, "radius");
            CheckDistance(minDistance, "min_distance");
            CheckFinite(valueFraction, "value_fraction");
            const unsigned int most = CheckCount(maxAtoms, kMostAtoms, "max_atoms");
            QXMol atoms(1);
            Call([&] { self.search.FindAtoms(atoms, radius, minDistance, valueFraction, most); });
            return atoms;
          },
          py::arg("radius") = 1.7, py::arg("min_distance") = 1.0, py::arg("value_fraction") = 0.3,
          py::arg("max_atoms") = 30, "Atoms, highest value of the fit first: a Molecule.")
      .def(
          "optimize_number_of_atoms",
          [](LassoSearch& self, const QXMol& mol, const std::string& metric) {
            const unsigned int number = Metric(metric);
            QXMol atoms(1);
            const double score =
                Call([&] { return self.search.OptimizeNumberOfAtoms(mol, atoms, number); });
            return py::make_tuple(atoms, score);
          },
          py::arg("molecule"), py::arg("metric") = "tanimoto",
          "(atoms, score): as many of the first atoms as make their density most like the grid.");
  module.def(
      "grid_to_mol",
      [](const QXScalarGrid& grid, double radius, double minDistance, double valueFraction,
         long long maxAtoms, const std::string& metric) {
        CheckDensity(grid);
        CheckPositive(radius, "radius");
        CheckDistance(minDistance, "min_distance");
        CheckFinite(valueFraction, "value_fraction");
        const unsigned int most = CheckCount(maxAtoms, kMostAtoms, "max_atoms");
        const unsigned int number = Metric(metric);
        QXMol atoms(1);
        const double score = Call([&] {
          return QXHermiteMath::QXGridToMol(grid, atoms, radius, minDistance, valueFraction, most,
                                            number);
        });
        return py::make_tuple(atoms, score);
      },
      py::arg("grid"), py::arg("radius") = 1.7, py::arg("min_distance") = 1.0,
      py::arg("value_fraction") = 0.3, py::arg("max_atoms") = 30, py::arg("metric") = "tanimoto",
      "(atoms, score): carbons whose density reproduces a grid, by LassoAtoms. metric: "
      "\"cosine\",\n"
      "or \"tanimoto\" for grids on the scale of atoms, 2.7 at each.");
}

/// Gaussians that are fitted when they are made.
struct LassoFit {
  QXLassoGaussians fit;
  std::vector<double> centers;
};

void BindLassoGaussians(py::module_& module) {
  py::class_<LassoFit>(
      module, "LassoGaussians",
      "Few Gaussians of one width that together reproduce sampled values, chosen from candidates\n"
      "exp(-2.34422871067 |r - c|^2/radius^2) at centers (n, 3) by a LASSO. One thread at a time.")
      .def(py::init([](const Array& centers, double radius) {
             CheckPositive(radius, "radius");
             std::vector<double> places = ToVector(centers, {kAny, 3}, "centers");
             return LassoFit{QXLassoGaussians(places, radius), places};
           }),
           py::arg("centers"), py::arg("radius"))
      .def(
          "setup",
          [](LassoFit& self, const Array& points, const Array& values, long long maxActives) {
            const std::vector<double> places = ToVector(points, {kAny, 3}, "points");
            const std::vector<double> target = ToVector(values, {points.shape(0)}, "values");
            RequireFinite(points, "points");
            const unsigned int most = CheckCount(maxActives, kMostAtoms, "max_actives");
            Call([&] { self.fit.Setup(places, target, most); });
          },
          py::arg("points"), py::arg("values"), py::arg("max_actives"),
          "Fits at most max_actives of them to values (n,) at points (n, 3).")
      .def(
          "evaluate",
          [](const LassoFit& self, const Array& points) {
            const std::vector<double> places = ToVector(points, {kAny, 3}, "points");
            std::vector<double> values(places.size() / 3);
            Call([&] {
              for (size_t i = 0; i < values.size(); ++i) {
                values[i] = self.fit.GetValue(places[3 * i], places[3 * i + 1], places[3 * i + 2]);
              }
            });
            return ToArray(std::move(values));
          },
          py::arg("points"), "The sum over the chosen at points (n, 3): (n,).")
      .def(
          "normalized_design_matrix",
          [](LassoFit& self, const Array& points) {
            const std::vector<double> places = ToVector(points, {kAny, 3}, "points");
            Eigen::VectorXd norms;
            const Eigen::MatrixXd matrix =
                Call([&] { return self.fit.BuildNormalizedDesignMatrix(places, norms); });
            return py::make_tuple(FromMatrix(matrix),
                                  ToArray(std::vector<double>(norms.begin(), norms.end())));
          },
          py::arg("points"),
          "(matrix, norms): what the fit is made with, a row a point, and the norms of the "
          "centred\n"
          "columns.")
      .def_property_readonly(
          "coefficients", [](const LassoFit& self) { return ToArray(self.fit.GetCoefficients()); },
          "One for each of actives.")
      .def_property_readonly(
          "actives", [](const LassoFit& self) { return self.fit.GetActives(); },
          "The chosen candidates in the order in which they entered.");
}

void BindGridToMultiHermite(py::module_& module) {
  py::class_<QXGridToMultiHermite>(
      module, "GridToMultiHermite",
      "Fits an expansion about several sites to a grid: sites as by LassoAtoms, then functions by\n"
      "sparse regression on all positive elements. One thread at a time.")
      .def(py::init())
      .def(
          "fit_multi_hermite",
          [](QXGridToMultiHermite& self, const QXScalarGrid& grid, long long degree, double lambda,
             double siteSpacing, double valueFraction, long long maxSites, double activeFraction) {
            CheckDensity(grid);
            const unsigned int N = CheckDegree(degree, "npolymax");
            CheckPositive(lambda, "lambda_");
            CheckPositive(siteSpacing, "site_spacing");
            CheckFinite(valueFraction, "value_fraction");
            CheckFinite(activeFraction, "active_fraction");
            const unsigned int most = CheckCount(maxSites, kMostAtoms, "max_sites");
            return Call([&] {
              return self.FitMultiHermite(grid, N, lambda, siteSpacing, valueFraction, most,
                                          activeFraction);
            });
          },
          py::arg("grid"), py::arg("npolymax") = 3, py::arg("lambda_") = 1.3,
          py::arg("site_spacing") = 1.2, py::arg("value_fraction") = 0.2, py::arg("max_sites") = 30,
          py::arg("active_fraction") = 0.5,
          "A MultiHermite of at most max_sites sites, site_spacing apart, and at most this "
          "fraction\n"
          "of its functions.")
      .def(
          "find_hermite_sites",
          [](QXGridToMultiHermite& self, double siteSpacing, double valueFraction,
             long long maxSites) {
            CheckPositive(siteSpacing, "site_spacing");
            CheckFinite(valueFraction, "value_fraction");
            const unsigned int most = CheckCount(maxSites, kMostAtoms, "max_sites");
            return Triples(
                Call([&] { return self.FindHermiteSites(siteSpacing, valueFraction, most); }));
          },
          py::arg("site_spacing") = 1.2, py::arg("value_fraction") = 0.2, py::arg("max_sites") = 30,
          "Sites on the grid of the last fit, (n, 3).");
}

}  // namespace

void BindGridAtoms(py::module_& module) {
  BindGridToAtoms(module);
  BindLassoAtoms(module);
  BindLassoGaussians(module);
  BindGridToMultiHermite(module);
}

}  // namespace QXPython
