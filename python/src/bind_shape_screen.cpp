#include <pybind11/stl.h>

#include <optional>

#include "hermite/frame/axis_turns.h"
#include "hermite/frame/rigid_motion.h"
#include "hermite/overlay/overlay_results.h"
#include "hermite/overlay/shape_screen.h"
#include "python/src/bindings.h"
#include "python/src/checks.h"
#include "python/src/overlay_limits.h"
#include "python/src/reports.h"

namespace QXPython {

using namespace QXHermiteMath;

namespace {

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

void BindScreen(py::module_& module) {
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
          "polished. fits: conformers, each as Gaussians (n, 5), coefficients under the options\n"
          "of the reference, or a tuple of both.");
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

void BindShapeScreen(py::module_& module) {
  BindScreen(module);
  BindResults(module);
}

}  // namespace QXPython
