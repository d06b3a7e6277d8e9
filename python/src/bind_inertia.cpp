#include "hermite/frame/axis_turns.h"
#include "hermite/frame/best_lambda.h"
#include "hermite/frame/center_of_mass.h"
#include "hermite/frame/inertial_frame.h"
#include "hermite/frame/inertial_orientation.h"
#include "python/src/bindings.h"
#include "python/src/checks.h"
#include "python/src/reports.h"

namespace QXPython {

using namespace QXHermiteMath;

namespace {

void BindWidths(py::module_& module) {
  module.def(
      "approx_hermite_best_lambda",
      [](const Array& gaussians, const QXHermiteOptions& options) {
        return ToArray(QXApproxHermiteBestLambda(CheckedGaussians(gaussians), options));
      },
      py::arg("gaussians"), py::arg("options"),
      "Widths estimated from positions, (3,): 2 (N + 1)^(1/6) / (largest |coordinate| + 1).");
  module.def(
      "approx_hermite_best_lambda_of_grid",
      [](const QXScalarGrid& grid, const QXHermiteOptions& options, const Array& center) {
        CheckValues(grid, "grid");
        const std::vector<double> c = ToFinite(center, {3}, "center");
        return ToArray(Call([&, own = QXHermiteOptions(options)] {
          return QXApproxHermiteBestLambda(grid, own, c);
        }));
      },
      py::arg("grid"), py::arg("options"), py::arg("center") = py::make_tuple(0.0, 0.0, 0.0),
      "Widths estimated from the extent of the larger values of a grid about a center, (3,).");

  py::class_<QXHermiteSelfOverlap, QXMinimizer::QXFunc2>(
      module, "HermiteSelfOverlap", py::multiple_inheritance(),
      "The objective of width searches: minus the self overlap of an expansion over the\n"
      "logarithms of the widths: one variable with use_single_lambda, else three.")
      .def(py::init([](const Array& gaussians, const QXHermiteOptions& options) {
             return std::make_unique<QXHermiteSelfOverlap>(options, CheckedGaussians(gaussians));
           }),
           py::arg("gaussians"), py::arg("options"))
      .def_property_readonly(
          "options", [](QXHermiteSelfOverlap& f) { return QXHermiteOptions(f.GetOptions()); },
          "A copy of the options of the last evaluation.");
}

void BindCenters(py::module_& module) {
  module.def(
      "hermite_cm",
      [](const Array& rows, long long degree, const Array& lambdas, bool singleLambda) {
        std::vector<QXGaussian> gaussians = CheckedGaussians(rows);
        const std::vector<double> l = ToVector(lambdas, {3}, "lambdas");
        for (const double lambda : l) CheckPositive(lambda, "lambdas");
        const unsigned int N = CheckDegree(degree);
        return ToArray(
            Call([&] { return QXHermiteCM(gaussians, N, l[0], l[1], l[2], singleLambda); }));
      },
      py::arg("gaussians"), py::arg("degree"), py::arg("lambdas"), py::arg("single_lambda") = false,
      "The Hermite centre of mass: first moments of the expansion over the zeroth, (3,). NaN\n"
      "where that is 0, as without Gaussians.");
  module.def(
      "optimization_search_of_hermite_com",
      [](const Array& rows, long long degree, double lambda) {
        std::vector<QXGaussian> gaussians = CheckedGaussians(rows);
        const unsigned int N = CheckDegree(degree);
        CheckPositive(lambda, "lambda_");
        return ToArray(
            Call([&] { return QXOptimizationSearchOfHermiteCOM(gaussians, N, lambda); }));
      },
      py::arg("gaussians"), py::arg("degree"), py::arg("lambda_"),
      "The Hermite centre of mass by Newton's method with one width, (3,).");
  module.def(
      "iterative_search_of_hermite_com",
      [](const Array& rows, long long degree, const Array& lambdas, double tolerance,
         long long maxIterations) {
        std::vector<QXGaussian> gaussians = CheckedGaussians(rows);
        const unsigned int N = CheckDegree(degree);
        const std::vector<double> l = ToVector(lambdas, {3}, "lambdas");
        for (const double lambda : l) CheckPositive(lambda, "lambdas");
        const unsigned int most = CheckCount(maxIterations, 1000000, "max_iterations");
        const std::vector<double> C = Call([&] {
          return QXIterativeSearchOfHermiteCOM(gaussians, N, l[0], l[1], l[2], tolerance, most);
        });
        return py::make_tuple(ToArray(C), FromGaussians(gaussians));
      },
      py::arg("gaussians"), py::arg("degree"), py::arg("lambdas"), py::arg("tolerance") = 1e-4,
      py::arg("max_iterations") = 100,
      "(center, gaussians): the centre by fixed-point iteration, and the Gaussians moved there.");

  py::class_<QXHermiteCOMFunc, QXMinimizer::QXFunc2>(
      module, "HermiteCOMFunc", py::multiple_inheritance(),
      "The objective |C|^2, C the Hermite centre of mass of the Gaussians shifted by x, (3,). For\n"
      "one common width.")
      .def(py::init([](const Array& gaussians, const QXHermiteOptions& options) {
             return std::make_unique<QXHermiteCOMFunc>(options, CheckedGaussians(gaussians));
           }),
           py::arg("gaussians"), py::arg("options"));
}

void BindFrames(py::module_& module) {
  module.def(
      "compute_inertial_hermite_vectors",
      [](const Array& coefficients, const QXHermiteOptions& options) {
        std::vector<std::vector<double>> turned;
        ComputeInertialHermiteVectors(CheckCoefficients(coefficients, options.GetNPolyMax()),
                                      options, turned);
        return ToRows(turned);
      },
      py::arg("coefficients"), py::arg("options"),
      "The coefficients after half turns about x, y and z, (3, basis_size(degree)).");
  module.def(
      "orient_by_hermite_moments_of_inertia",
      [](const Array& rows, long long degree, const Array& lambdas) {
        std::vector<QXGaussian> gaussians = CheckedGaussians(rows);
        const unsigned int N = CheckDegree(degree);
        const std::vector<double> l = ToVector(lambdas, {3}, "lambdas");
        for (const double lambda : l) CheckPositive(lambda, "lambdas");
        std::vector<double> center, rotation, values;
        std::vector<std::vector<double>> tensor;
        Call([&] {
          QXOrientByHermiteMomentsOfInertia(gaussians, N, l[0], l[1], l[2], center, rotation,
                                            tensor, values);
        });
        return py::make_tuple(FromGaussians(gaussians), ToArray(center), ToArray(rotation, {3, 3}),
                              ToRows(tensor), ToArray(values));
      },
      py::arg("gaussians"), py::arg("degree"), py::arg("lambdas"),
      "(gaussians, center, rotation, tensor, eigenvalues): the Gaussians turned about the origin\n"
      "into the principal frame of their expansion, rows of rotation the axes, longest first.\n"
      "center is minus the Hermite centre of mass, and only told.");
  module.def(
      "rotate_gaussians",
      [](const Array& rows, const Array& rotation) {
        std::vector<QXGaussian> gaussians = CheckedGaussians(rows);
        QXRotateGaussians(gaussians, ToRotation(rotation));
        return FromGaussians(gaussians);
      },
      py::arg("gaussians"), py::arg("rotation"), "The Gaussians at P' = m P, m (3, 3).");
  module.def(
      "translate_gaussians",
      [](const Array& rows, const Array& shift) {
        std::vector<QXGaussian> gaussians = CheckedGaussians(rows);
        const std::vector<double> t = ToFinite(shift, {3}, "shift");
        float f[3];
        for (size_t a = 0; a < 3; ++a) f[a] = static_cast<float>(CheckFinite(t[a], "shift"));
        QXTranslateGaussians(gaussians, f);
        return FromGaussians(gaussians);
      },
      py::arg("gaussians"), py::arg("shift"), "The Gaussians at P + t, t (3,).");
  module.def(
      "find_inertial_frame",
      [](const Array& rows) -> py::object {
        const auto frame = FindInertialFrame(CheckedGaussians(rows));
        if (!frame) return py::none();
        return py::make_tuple(ToArray({frame->centre.begin(), frame->centre.end()}),
                              ToArray({frame->rotation.begin(), frame->rotation.end()}, {3, 3}));
      },
      py::arg("gaussians"),
      "(centre, rotation) of the frame p -> rotation (p - centre) with the long, middle and short\n"
      "axis of the density along x, y and z; None without Gaussians.");
  module.def(
      "axis_turns",
      [] {
        std::vector<double> all;
        for (const AxisTurn& turn : GetAxisTurns()) {
          const std::array<double, 9> m = turn.Matrix();
          all.insert(all.end(), m.begin(), m.end());
        }
        return ToArray(std::move(all), {static_cast<py::ssize_t>(kAxisTurns), 3, 3});
      },
      "The rotations that take axes to axes, (24, 3, 3): the identity, the half turns about x, y\n"
      "and z, and the others.");
  module.def(
      "turn_coefficients",
      [](const Array& coefficients, long long turn) {
        const unsigned int which = CheckCount(turn, kAxisTurns - 1, "turn");
        const unsigned int N = DegreeOf(coefficients);
        const std::vector<double> in = CheckCoefficients(coefficients, N);
        std::vector<double> out(in.size());
        TurnOfCoefficients(GetAxisTurns()[which], N)(in.data(), out.data());
        return ToArray(std::move(out));
      },
      py::arg("coefficients"), py::arg("turn"),
      "The coefficients after one of the axis_turns, for equal widths of the axes exchanged.");
}

}  // namespace

void BindInertia(py::module_& module) {
  BindWidths(module);
  BindCenters(module);
  BindFrames(module);
}

}  // namespace QXPython
