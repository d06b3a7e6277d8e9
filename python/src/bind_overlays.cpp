#include <pybind11/stl.h>

#include "hermite/overlay/hermite_shape_overlay.h"
#include "hermite/overlay/shape_charge_overlay.h"
#include "hermite/overlay/shape_overlay.h"
#include "python/src/bindings.h"
#include "python/src/checks.h"
#include "python/src/overlay_limits.h"
#include "python/src/reports.h"

namespace QXPython {

using namespace QXHermiteMath;

namespace {

/// (best score, poses), of a copy of the fit, which may change meanwhile.
template <typename Overlay>
py::tuple FindBestOverlay(Overlay& overlay, const QXMol& fit, long long count) {
  const unsigned int n = CheckPoses(count);
  QXMol poses(1);
  const double score =
      Call([&, copy = QXMol(fit)] { return overlay.FindBestOverlay(copy, n, poses); });
  return py::make_tuple(score, std::move(poses));
}

void BindShapeOverlay(py::module_& module) {
  using O = QXShapeOverlay;
  // The size of the coefficients goes along.
  struct Overlay : O {
    Overlay(double relative, unsigned int limit, const QXHermite& ref, const QXTrans& motion)
        : O(relative, limit, ref, motion), degree(ref.GetOptions().GetNPolyMax()) {}
    unsigned int degree;
  };
  py::class_<Overlay>(module, "ShapeOverlay",
                      "Lays the conformers of molecules over a reference by shape, from four\n"
                      "starts each. No frame is searched: bring both into theirs first.\n"
                      "Scratch, one thread at a time.")
      .def(py::init([](const QXHermite& ref, double tolerance, long long limit,
                       const py::object& transform) {
             return std::make_unique<Overlay>(tolerance, CheckLimit(limit), ref,
                                              ToTrans(transform));
           }),
           py::arg("ref"), py::arg("tolerance") = 1e-6, py::arg("iteration_limit") = 100,
           py::arg("transform") = py::none(),
           "ref: with use_optimal_lambdas False. transform: (4, 4), moves the poses at the end.")
      .def(
          "find_best_overlay",
          [](Overlay& o, const QXMol& fit, long long count) {
            return FindBestOverlay(o, fit, count);
          },
          py::arg("fit"), py::arg("n_poses") = 1,
          "(best Tanimoto, poses): a Molecule of at most n_poses conformers, best first, with the\n"
          "SD text \"Shape Tanimoto\". Writes all starts and poses to a file in the working\n"
          "directory, named after the title of fit, with the extension .qxb.")
      .def(
          "find_local_minimum",
          [](Overlay& o, const QXMol& start, const Array& coefficients) {
            std::vector<double> c = CheckCoefficients(coefficients, o.degree);
            QXMol pose(1);
            const double score =
                Call([&, copy = QXMol(start)] { return o.FindLocalMinimum(copy, c, pose); });
            return py::make_tuple(score, std::move(pose), ToArray(c));
          },
          py::arg("start"), py::arg("coefficients"),
          "(Tanimoto, pose, its coefficients) from one start and its coefficients.");
}

void BindShapeChargeOverlay(py::module_& module) {
  struct Overlay {
    Overlay(const QXMol& mol, const QXHermiteOptions& shape, const QXHermiteOptions& charge,
            double weight, double offset, double sigma, double tolerance, long long limit,
            const py::object& transform, const std::string& shapeTag, const std::string& chargeTag)
        : shapeDegree(shape.GetNPolyMax()),
          chargeDegree(charge.GetNPolyMax()),
          ref(mol),
          overlay(tolerance, CheckLimit(limit), CheckFinite(weight, "weight"),
                  CheckFinite(offset, "offset"), shape, charge, CheckPositive(sigma, "sigma"), ref,
                  ToTrans(transform), shapeTag, chargeTag) {}
    unsigned int shapeDegree;
    unsigned int chargeDegree;
    QXMol ref;
    QXShapeChargeOverlay overlay;
  };
  py::class_<Overlay>(
      module, "ShapeChargeOverlay",
      "Lays molecules over a reference by T_shape + weight (T_charge + offset): the shape of the\n"
      "heavy atoms, the partial charges of all. Scratch, one thread at a time.")
      .def(py::init<const QXMol&, const QXHermiteOptions&, const QXHermiteOptions&, double, double,
                    double, double, long long, const py::object&, const std::string&,
                    const std::string&>(),
           py::arg("ref"), py::arg("shape_options"), py::arg("charge_options"),
           py::arg("weight") = 1.0, py::arg("offset") = 0.0, py::arg("sigma") = 1.0,
           py::arg("tolerance") = 1e-6, py::arg("iteration_limit") = 100,
           py::arg("transform") = py::none(), py::arg("shape_tag") = "shape vector",
           py::arg("charge_tag") = "charge vector",
           "Options: with use_optimal_lambdas False. sigma: width of an atom's charge, angstrom.\n"
           "Molecules with vectors under both tags are not expanded.")
      .def(
          "find_best_overlay",
          [](Overlay& o, const QXMol& fit, long long count) {
            return FindBestOverlay(o.overlay, fit, count);
          },
          py::arg("fit"), py::arg("n_poses") = 1,
          "(best combination, poses): a Molecule of at most n_poses conformers, best first, with\n"
          "their scores as SD texts.")
      .def(
          "find_local_minimum",
          [](Overlay& o, const QXMol& start, const Array& shape, const Array& charge) {
            const std::vector<double> s = CheckCoefficients(shape, o.shapeDegree, "shape");
            const std::vector<double> c = CheckCoefficients(charge, o.chargeDegree, "charge");
            QXMol pose(1);
            const double score = Call(
                [&, copy = QXMol(start)] { return o.overlay.FindLocalMinimum(copy, s, c, pose); });
            return py::make_tuple(score, std::move(pose));
          },
          py::arg("start"), py::arg("shape"), py::arg("charge"),
          "(combination, pose) from one start and its coefficients.");
}

/// The general overlay with a reference, whatever it was made of.
void SetRef(QXHermiteShapeOverlay& o, const py::object& ref, const py::object& transform) {
  const QXTrans trans = ToTrans(transform);
  if (py::isinstance<QXMol>(ref)) {
    Call([&, copy = QXMol(ref.cast<const QXMol&>())] {
      o.SetupRef(static_cast<const QXMolKit::QXMolBase&>(copy), trans);
    });
  } else if (py::isinstance<QXScalarGrid>(ref)) {
    const auto& grid = CheckValues(ref.cast<const QXScalarGrid&>(), "ref");
    Call([&] { o.SetupRef(grid, trans); });
  } else {
    const std::vector<double> c =
        CheckCoefficients(Array(ref), o.GetOptions().GetNPolyMax(), "ref");
    Call([&] { o.SetupRef(c, trans); });
  }
}

void BindHermiteShapeOverlay(py::module_& module) {
  py::class_<QXBestStart>(module, "BestStart", "The best start of an overlay, and its motion.")
      .def_readonly("tanimoto", &QXBestStart::tanimoto)
      .def_readonly("start", &QXBestStart::start, "0, or 1, 2, 3: a half turn about x, y, z first.")
      .def_property_readonly(
          "coefficients", [](const QXBestStart& s) { return ToArray(s.coefficients); },
          "Of the moved fit; empty when no start scored above 0.")
      .def_property_readonly(
          "variables", [](const QXBestStart& s) { return ToArray(s.variables); },
          "(6,), after the turn.")
      .def_property_readonly(
          "transform", [](const QXBestStart& s) { return FromTrans(s.GetTransform()); },
          "(4, 4): from where the fit stood to where it lies.");

  using O = QXHermiteShapeOverlay;
  py::class_<O> overlay(
      module, "HermiteShapeOverlay",
      "The general overlay by shape: reference and fits are molecules, grids or coefficients, in\n"
      "one basis, about the origin. No frame is searched. Scratch, one thread at a time.");
  overlay
      .def(py::init([](const py::object& ref, long long degree, double lambda,
                       const py::object& transform, double tolerance, long long limit,
                       bool makeGrid, double spacing, double size) {
             CheckPositive(lambda, "lambda_");
             CheckPositive(spacing, "grid_spacing");
             CheckPositive(size, "grid_size");
             auto o = std::make_unique<O>(tolerance, CheckLimit(limit), lambda, CheckDegree(degree),
                                          makeGrid, spacing, size);
             SetRef(*o, ref, transform);
             return o;
           }),
           py::arg("ref"), py::arg("degree"), py::arg("lambda_"), py::arg("transform") = py::none(),
           py::arg("tolerance") = 1e-6, py::arg("iteration_limit") = 100,
           py::arg("make_grid") = false, py::arg("grid_spacing") = 0.5, py::arg("grid_size") = 20.0,
           "lambda_: the width on all axes, 1/angstrom. transform: (4, 4), moves poses and\n"
           "grids at the end. With make_grid expansions are put on grids too.")
      .def("setup_ref", &SetRef, py::arg("ref"), py::arg("transform") = py::none(),
           "Another reference.")
      .def_property_readonly(
          "options", [](const O& o) { return o.GetOptions(); }, "The basis of all expansions.")
      .def(
          "find_best_overlay",
          [](O& o, const QXMol& fit, long long count, bool optimize, bool singleStart) {
            const unsigned int n = CheckPoses(count);
            QXMol poses(1);
            const double score = Call([&, copy = QXMol(fit)] {
              return o.FindBestOverlay(static_cast<const QXMCMolBase&>(copy), n,
                                       static_cast<QXMCMolBase&>(poses), optimize, singleStart);
            });
            return py::make_tuple(score, std::move(poses));
          },
          py::arg("fit"), py::arg("n_poses") = 1, py::arg("optimize") = true,
          py::arg("single_start") = false,
          "(best Tanimoto, poses): a Molecule of at most n_poses conformers, best first. optimize\n"
          "False leaves every start where it is, single_start leaves out the half turns.")
      .def(
          "find_best_overlay",
          [](O& o, const QXScalarGrid& fit, bool optimize, bool singleStart) {
            CheckValues(fit, "fit");
            QXScalarGrid ref, moved, expansion;
            const double score = Call([&] {
              return o.FindBestOverlay(fit, ref, expansion, moved, optimize, singleStart);
            });
            const auto made = [](QXScalarGrid& grid) -> py::object {
              if (grid.GetSize() == 0) return py::none();
              return py::cast(std::move(grid));
            };
            return py::make_tuple(score, made(ref), made(expansion), made(moved));
          },
          py::arg("fit"), py::arg("optimize") = true, py::arg("single_start") = false,
          "Of a grid: (Tanimoto, expansion of the reference, expansion of the fit, the fit moved\n"
          "and resampled), grids with make_grid and None else.")
      .def(
          "find_best_start",
          [](O& o, const Array& coefficients, bool optimize, bool singleStart) {
            const std::vector<double> c =
                CheckCoefficients(coefficients, o.GetOptions().GetNPolyMax());
            return Call([&] { return o.FindBestStart(c, optimize, singleStart); });
          },
          py::arg("coefficients"), py::arg("optimize") = true, py::arg("single_start") = false,
          "The BestStart of coefficients made under `options`.")
      .def(
          "find_local_minimum",
          [](O& o, const QXMol& start, const Array& coefficients, bool optimize) {
            std::vector<double> c = CheckCoefficients(coefficients, o.GetOptions().GetNPolyMax());
            std::vector<double> variables;
            QXMol pose(1);
            const double score = Call([&, copy = QXMol(start)] {
              return o.FindLocalMinimum(copy, c, pose, variables, optimize);
            });
            return py::make_tuple(score, std::move(pose), ToArray(c), ToArray(variables));
          },
          py::arg("start"), py::arg("coefficients"), py::arg("optimize") = true,
          "(Tanimoto, pose, its coefficients, variables) from one start and its coefficients.");
}

}  // namespace

void BindOverlays(py::module_& module) {
  BindShapeOverlay(module);
  BindShapeChargeOverlay(module);
  BindHermiteShapeOverlay(module);
}

}  // namespace QXPython
