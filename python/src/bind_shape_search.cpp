#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "python/src/arrays.h"
#include "python/src/bindings.h"
#include "python/src/reports.h"
#include "python/src/shape_search.h"
#include "tools/grid_density.h"
#include "tools/molecule_groups.h"

// The search behind qxhermite.overlay and qxhermite.similarity_matrix.

namespace QXPython {
namespace {

using QXCore::QXScalarGrid;
using QXMolKit::QXMol;
using QXTools::OverlayArguments;

void RequireDensity(const QXScalarGrid& grid) {
  const float* values = grid.GetValues();
  const auto count = static_cast<std::ptrdiff_t>(grid.GetSize());
  const bool finite =
      std::all_of(values, values + count, [](float value) { return std::isfinite(value); });
  const bool positive =
      std::any_of(values, values + count, [](float value) { return value > 0.0f; });
  if (!finite || !positive) {
    throw py::value_error("grid: needs finite values, some of them positive");
  }
}

OverlayArguments Arguments(const QXHermiteMath::QXHermiteOptions& options, unsigned int poses,
                           unsigned int starts, unsigned int polish, unsigned int coarse,
                           double tolerance, unsigned int iterations, bool inPlace,
                           double chargeWeight, double chargeOffset, double chargeSigma,
                           double gridShare) {
  const auto require = [](bool holds, const char* text) {
    if (!holds) throw py::value_error(text);
  };
  require(poses > 0, "poses: must be at least 1");
  require(starts == 4 || starts == 24, "starts: must be 4 or 24");
  require(starts == 4 || options.GetUseSingleLambda(), "starts: 24 need one width for all axes");
  require(std::isfinite(tolerance) && tolerance >= 0.0, "tolerance: must be finite, not negative");
  require(std::isfinite(chargeWeight) && chargeWeight >= 0.0,
          "charge_weight: must be finite, not negative");
  require(std::isfinite(chargeOffset), "charge_offset: must be finite");
  require(std::isfinite(chargeSigma) && chargeSigma > 0.0, "charge_sigma: must be positive");
  require(gridShare > 0.0 && gridShare <= 1.0, "cut: must be above 0 and at most 1");
  OverlayArguments arguments;
  arguments.expansion = options;
  arguments.poses = poses;
  arguments.starts = starts;
  arguments.polish = polish;
  arguments.coarseDegree = coarse;
  arguments.tolerance = tolerance;
  arguments.maxIterations = iterations;
  arguments.inPlace = inPlace;
  arguments.chargeWeight = chargeWeight;
  arguments.chargeOffset = chargeOffset;
  arguments.chargeSigma = chargeSigma;
  arguments.gridShare = gridShare;
  return arguments;
}

/// The numbers of the poses as a dictionary of arrays, and the skipped conformers as tuples.
py::dict ToPython(const FoundPoses& found) {
  const auto column = [&](auto get) {
    using Value = std::decay_t<decltype(get(found.poses.front()))>;
    py::array_t<Value> values(static_cast<py::ssize_t>(found.poses.size()));
    std::transform(found.poses.begin(), found.poses.end(), values.mutable_data(), get);
    return values;
  };
  std::vector<double> transforms;
  for (const FoundPose& pose : found.poses) {
    transforms.insert(transforms.end(), pose.transform.begin(), pose.transform.end());
  }
  py::list skipped;
  for (const SkippedConformer& one : found.skipped) {
    skipped.append(py::make_tuple(one.fit, one.conformer, one.reason));
  }
  py::dict result;
  result["fit"] = column([](const FoundPose& pose) { return pose.fit; });
  result["conformer"] = column([](const FoundPose& pose) { return pose.conformer; });
  result["score"] = column([](const FoundPose& pose) { return pose.score; });
  result["tanimoto"] = column([](const FoundPose& pose) { return pose.tanimoto; });
  result["exact_tanimoto"] = column([](const FoundPose& pose) { return pose.exactTanimoto; });
  result["charge_tanimoto"] = column([](const FoundPose& pose) { return pose.chargeTanimoto; });
  result["transform"] =
      ToArray(std::move(transforms), {static_cast<py::ssize_t>(found.poses.size()), 4, 4});
  result["skipped"] = skipped;
  result["drawings"] = found.drawings;
  result["crowded"] = found.crowded;
  result["held"] = ToArray(found.held);
  return result;
}

/// The molecules of a file with their conformers, one after the other.
class MoleculeGroups {
 public:
  MoleculeGroups(const std::filesystem::path& path, bool group)
      : reader_(
            Call([&] { return std::make_unique<QXTools::GroupReader>(path.string(), group); })) {}

  py::tuple Next() {
    QXTools::MoleculeGroup group;
    if (!Call([&] { return reader_->Next(group); })) throw py::stop_iteration();
    return py::make_tuple(std::move(group.mol), group.records);
  }
  size_t Read() const { return reader_->RecordsRead(); }
  std::vector<QXMolKit::QXSkippedRecord> Skipped() const { return reader_->Skipped(); }

 private:
  std::unique_ptr<QXTools::GroupReader> reader_;
};

}  // namespace

void BindShapeSearch(py::module_& module) {
  py::class_<MoleculeGroups>(module, "MoleculeGroups",
                             R"(The molecules of a file, each with its conformers.

Iterates over pairs (molecule, records): consecutive records of one title and the same atoms and
bonds are conformers of one molecule; records are their numbers in the file, from 1. With
group=False every record is a molecule of its own. Records that cannot be read are passed over,
each with a warning.)")
      .def(py::init<const std::filesystem::path&, bool>(), py::arg("path"), py::arg("group") = true)
      .def("__iter__", [](py::object self) { return self; })
      .def("__next__", &MoleculeGroups::Next)
      .def_property_readonly("skipped", &MoleculeGroups::Skipped,
                             "The records that could not be read, so far.")
      .def_property_readonly("records_read", &MoleculeGroups::Read,
                             "Records read so far, those passed over included.");

  module.def(
      "count_records",
      [](const std::filesystem::path& path) { return QXTools::CountRecords(path.string()); },
      py::arg("path"), "How many records a file holds, by its record marks; 0 if it has none.");

  const auto find = [](ShapeSearch& search, const auto& fits) {
    return ToPython(Call([&] { return search.Find(fits); }));
  };
  py::class_<ShapeSearch>(
      module, "ShapeSearch",
      R"(Lays molecules or grids over one reference, as `qxhermite overlay` does.

qxhermite.overlay is the convenient form. One thread at a time; searches share nothing.)")
      .def(py::init([](const py::object& reference, const QXHermiteMath::QXHermiteOptions& options,
                       unsigned int poses, unsigned int starts, unsigned int polish,
                       unsigned int coarse, double tolerance, unsigned int iterations, bool inPlace,
                       double chargeWeight, double chargeOffset, double chargeSigma, double cut) {
             const OverlayArguments arguments =
                 Arguments(options, poses, starts, polish, coarse, tolerance, iterations, inPlace,
                           chargeWeight, chargeOffset, chargeSigma, cut);
             if (py::isinstance<QXScalarGrid>(reference)) {
               const QXScalarGrid grid = reference.cast<const QXScalarGrid&>();
               RequireDensity(grid);
               if (chargeWeight > 0.0)
                 throw py::value_error("charge_weight: a grid has no charges");
               return Call([&] { return std::make_unique<ShapeSearch>(grid, arguments); });
             }
             if (!py::isinstance<QXMol>(reference)) {
               throw py::type_error("reference: must be a Molecule or a ScalarGrid");
             }
             const QXMol mol = reference.cast<const QXMol&>();
             return Call([&] { return std::make_unique<ShapeSearch>(mol, arguments); });
           }),
           py::arg("reference"), py::arg("options"), py::kw_only(), py::arg("poses") = 1,
           py::arg("starts") = 4, py::arg("polish") = 4, py::arg("coarse") = 0,
           py::arg("tolerance") = 1e-8, py::arg("iterations") = 200, py::arg("in_place") = false,
           py::arg("charge_weight") = 0.0, py::arg("charge_offset") = 0.0,
           py::arg("charge_sigma") = 1.5, py::arg("cut") = 0.5)
      .def(
          "find",
          [find](ShapeSearch& search, const std::vector<const QXMol*>& fits) {
            if (std::count(fits.begin(), fits.end(), nullptr) > 0) {
              throw py::type_error("fits: None is no molecule");
            }
            return find(search, fits);
          },
          py::arg("fits"),
          R"(The best poses of each molecule over all its conformers, as a dictionary of arrays: fit (its
place in the list), conformer, score, tanimoto, exact_tanimoto, charge_tanimoto, transform (n, 4, 4);
skipped, a list of (fit, conformer, reason); held, the share of each fit that its expansion holds;
drawings, the fits that look flat like drawings; and crowded, the first fit with atoms that lie too
close, and what is odd about them, in a list.)")
      .def(
          "find_grids",
          [find](ShapeSearch& search, const std::vector<const QXScalarGrid*>& fits) {
            for (const QXScalarGrid* grid : fits) {
              if (!grid) throw py::type_error("fits: None is no grid");
              RequireDensity(*grid);
            }
            return find(search, fits);
          },
          py::arg("fits"), "The same of grids, one pose each.")
      .def_property_readonly(
          "options", [](const ShapeSearch& search) { return search.GetOptions(); },
          "Under which the reference was expanded, with its widths.");
}

}  // namespace QXPython
