#include <pybind11/stl.h>

#include <algorithm>
#include <optional>

#include "hermite/frame/axis_turns.h"
#include "hermite/frame/rigid_motion.h"
#include "hermite/overlay/hermite_shape_overlay.h"
#include "hermite/overlay/overlay_results.h"
#include "hermite/overlay/shape_charge_overlay.h"
#include "hermite/overlay/shape_overlay.h"
#include "hermite/overlay/shape_screen.h"
#include "python/src/bindings.h"
#include "python/src/checks.h"
#include "python/src/reports.h"

namespace QXPython {

using namespace QXHermiteMath;

namespace {

constexpr unsigned int kMostIterations = 1000000;
constexpr unsigned int kMostPoses = 1000000;

unsigned int CheckLimit(long long limit) {
  return CheckCount(limit, kMostIterations, "iteration_limit");
}

unsigned int CheckPoses(long long count) {
  return CheckCount(count, kMostPoses, "n_poses");
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
                      "Lays the conformers of molecules over a reference by shape, from four "
                      "starts each. No frame\n"
                      "is searched: bring both into theirs first. Scratch, one thread at a time.")
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
            const unsigned int n = CheckPoses(count);
            QXMol poses(1);
            const double score =
                Call([&, copy = QXMol(fit)] { return o.FindBestOverlay(copy, n, poses); });
            return py::make_tuple(score, std::move(poses));
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
            const unsigned int n = CheckPoses(count);
            QXMol poses(1);
            const double score =
                Call([&, copy = QXMol(fit)] { return o.overlay.FindBestOverlay(copy, n, poses); });
            return py::make_tuple(score, std::move(poses));
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
           "lambda_: the width on all axes, 1/angstrom. transform: (4, 4), moves poses and grids "
           "at\n"
           "the end. With make_grid expansions are put on grids too.")
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

/// A pose of a conformer as one transform: the turn of its start, then Q^T (P + t).
py::array_t<double> TransformOf(const QXShapePose& pose) {
  const std::vector<double> Q = RotFromEulerXYZ(pose.x[0], pose.x[1], pose.x[2]);
  const std::array<double, 9> turn = GetAxisTurns()[pose.start].Matrix();
  const double back[9] = {Q[0], Q[3], Q[6], Q[1], Q[4], Q[7], Q[2], Q[5], Q[8]};
  QXTrans trans;
  trans.Append(QXMolKit::QXRotMatrix(turn.data()));
  trans.Append(QXMolKit::QXTranslation(&pose.x[3]));
  trans.Append(QXMolKit::QXRotMatrix(back));
  return FromTrans(trans);
}

/// One conformer: Gaussians (n, 5), coefficients (k,), or a pair of both.
QXShapeFit ToShapeFit(const py::handle& item, unsigned int degree) {
  QXShapeFit fit;
  const auto take = [&](const py::handle& part) {
    const Array array(py::reinterpret_borrow<py::object>(part));
    if (array.ndim() == 2) {
      fit.gaussians = CheckedGaussians(array, "fits");
    } else {
      fit.coefficients = CheckCoefficients(array, degree, "fits");
    }
  };
  if (py::isinstance<py::tuple>(item)) {
    const auto parts = py::reinterpret_borrow<py::tuple>(item);
    if (parts.size() != 2) Refuse("fits", "expected pairs of Gaussians and coefficients");
    for (const py::handle part : parts) take(part);
  } else {
    take(item);
  }
  return fit;
}

void BindShapeScreen(py::module_& module) {
  using P = QXShapePose;
  py::class_<P>(module, "ShapePose", "A pose that a screen found.")
      .def_readonly("conformer", &P::conformer, "Which of the fits.")
      .def_readonly("start", &P::start, "Which of axis_turns came first.")
      .def_property_readonly(
          "x",
          [](const P& p) {
            return ToArray({p.x.begin(), p.x.end()});
          },
          "(6,): the motion after the turn.")
      .def_readonly("tanimoto", &P::tanimoto, "Of the expansions.")
      .def_readonly("exact_tanimoto", &P::exactTanimoto, "Of the sums of Gaussians; NaN without.")
      .def_property_readonly("transform", &TransformOf, "Turn and motion as one, (4, 4).")
      .def("__repr__", [](const P& p) {
        return py::str("ShapePose(conformer={}, start={}, tanimoto={:.4f}, exact_tanimoto={:.4f})")
            .format(p.conformer, p.start, p.tanimoto, p.exactTanimoto);
      });

  struct Screen : QXShapeScreen {
    Screen(const QXHermite& ref, const std::vector<QXGaussian>& gaussians,
           const QXShapeScreenSettings& newSettings)
        : QXShapeScreen(ref, gaussians, newSettings), degree(ref.GetOptions().GetNPolyMax()) {}
    unsigned int degree;
  };
  py::class_<Screen>(
      module, "ShapeScreen",
      "Lays many fits over one reference by shape: all starts at once on the expansions, the best\n"
      "poses then on the exact overlap. Frames are the caller's. Scratch, one thread at a time.")
      .def(
          py::init([](const QXHermite& ref, const std::optional<Array>& rows, double tolerance,
                      long long limit, long long starts, long long searchDegree, long long polish) {
            QXShapeScreenSettings settings;
            settings.tolerance = tolerance;
            settings.iterationLimit = CheckLimit(limit);
            settings.starts = CheckCount(starts, kAxisTurns, "starts");
            settings.searchDegree = CheckDegree(searchDegree, "search_degree");
            settings.polish = CheckCount(polish, kMostPoses, "polish");
            if (settings.starts == 0) Refuse("starts", "must be 1 to 24");
            const QXHermiteOptions& o = ref.GetOptions();
            const bool equal = o.GetLambdaX() == o.GetLambdaY() && o.GetLambdaX() == o.GetLambdaZ();
            if (settings.starts > 4 && !equal) {
              Refuse("starts", "above 4 needs a reference with equal widths");
            }
            std::vector<QXGaussian> gaussians;
            if (rows) gaussians = CheckedGaussians(*rows);
            return Call([&] { return std::make_unique<Screen>(ref, gaussians, settings); });
          }),
          py::arg("ref"), py::arg("gaussians") = py::none(), py::kw_only(),
          py::arg("tolerance") = 1e-6, py::arg("iteration_limit") = 200, py::arg("starts") = 4,
          py::arg("search_degree") = 0, py::arg("polish") = 0,
          "ref: about the origin; its widths serve all fits. gaussians: of the reference, (n, 5),\n"
          "for exact overlaps. starts: 1 to 24; 4: inertial axes agree up to half turns.\n"
          "search_degree: of a first search; 0: none. polish: this many of the best poses are\n"
          "brought to the optimum of the exact overlap.")
      .def(
          "find_poses",
          [](Screen& screen, const py::iterable& fits, long long count) {
            const unsigned int n = CheckPoses(count);
            std::vector<QXShapeFit> conformers;
            for (const py::handle fit : fits) conformers.push_back(ToShapeFit(fit, screen.degree));
            const std::vector<P> poses = Call([&] { return screen.FindPoses(conformers, n); });
            py::list list;
            for (const P& pose : poses) list.append(py::cast(pose));
            return list;
          },
          py::arg("fits"), py::arg("n_poses") = 1,
          "The best ShapePoses over all fits, best first: by exact Tanimoto where poses are\n"
          "polished. fits: conformers, each as Gaussians (n, 5), coefficients under the options "
          "of\n"
          "the reference, or a tuple of both.");
}

void BindResults(py::module_& module) {
  module.def(
      "find_pose",
      [](const QXMol& mol, const Array& variables) {
        RequireFinite(variables, "variables");
        return FindPose(mol, ToVector(variables, {6}, "variables"));
      },
      py::arg("molecule"), py::arg("variables"),
      "A copy, all conformers moved by the six variables to Q^T (P + t).");
  module.def(
      "post_process_overlay_data",
      [](const std::vector<std::pair<double, QXMol>>& scored, long long count,
         const py::object& transform) {
        std::vector<std::pair<double, QXMol>> poses(scored);
        const unsigned int n = CheckPoses(count);
        const QXTrans trans = ToTrans(transform);
        QXMol result(1);
        const double best = Call([&] { return PostProcessOverlayData(poses, n, trans, result); });
        return py::make_tuple(best, std::move(result));
      },
      py::arg("poses"), py::arg("n_poses"), py::arg("transform") = py::none(),
      "(best score, Molecule) of pairs of score and pose: the best n_poses as conformers, best\n"
      "first, moved by the transform.");
}

}  // namespace

void BindOverlays(py::module_& module) {
  BindShapeOverlay(module);
  BindShapeChargeOverlay(module);
  BindHermiteShapeOverlay(module);
  BindShapeScreen(module);
  BindResults(module);
}

}  // namespace QXPython
