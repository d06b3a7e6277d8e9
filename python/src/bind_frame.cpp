#include <pybind11/stl.h>

#include <algorithm>
#include <optional>

#include "hermite/frame/axis_turns.h"
#include "hermite/frame/best_lambda.h"
#include "hermite/frame/center_of_mass.h"
#include "hermite/frame/inertial_frame.h"
#include "hermite/frame/inertial_orientation.h"
#include "hermite/frame/rigid_motion.h"
#include "hermite/frame/rotation.h"
#include "hermite/frame/translation.h"
#include "python/src/bindings.h"
#include "python/src/checks.h"
#include "python/src/hermite_motion.h"
#include "python/src/reports.h"

namespace QXPython {

using namespace QXHermiteMath;

namespace {

const QXHermiteIndex kNoIndex;  // the operators read none

py::array_t<double> Matrix(const std::vector<double>& m) {
  return ToArray(m, {3, 3});
}

std::vector<double> Finite(const Array& values, std::initializer_list<py::ssize_t> shape,
                           const char* name) {
  RequireFinite(values, name);
  return ToVector(values, shape, name);
}

unsigned int CheckWithin(long long degree, unsigned int largest, const char* name) {
  return CheckCount(degree, largest, name);
}

/// Operators with the degree that they were built for.
struct Rotation {
  explicit Rotation(long long N) : degree(CheckDegree(N)), operation(degree) {}
  unsigned int degree;
  QXHermiteRotation operation;
};

struct Translation {
  explicit Translation(long long N) : degree(CheckDegree(N)), operation(degree) {}
  unsigned int degree;
  QXHermiteTranslation operation;
};

/// The degree of which so many coefficients are the basis, at most `largest`.
unsigned int DegreeOf(const Array& coefficients, unsigned int largest) {
  RequireShape(coefficients, {kAny}, "coefficients");
  for (unsigned int N = 0; N <= largest; ++N) {
    if (QXHermiteBasisSize(N) == coefficients.size()) return N;
  }
  Refuse("coefficients", std::to_string(coefficients.size()) + " are no basis of a degree up to " +
                             std::to_string(largest));
}

py::object Rotate(Rotation& r, const Array& angles, const Array& coefficients, bool derivatives) {
  const std::vector<double> a = Finite(angles, {3}, "angles");
  const unsigned int N = DegreeOf(coefficients, r.degree);
  const std::vector<double> in = CheckCoefficients(coefficients, N);
  const auto size = static_cast<py::ssize_t>(in.size());
  std::vector<double> out((derivatives ? 4 : 1) * in.size());
  Call([&] {
    if (derivatives) {
      r.operation.RotateWithDerivatives(a.data(), N, in, out, kNoIndex);
    } else {
      r.operation.Rotate(a.data(), N, in, out, kNoIndex);
    }
  });
  return derivatives ? ToArray(std::move(out), {4, size}) : ToArray(std::move(out));
}

/// A list of the blocks of degree 0 .. N: (d + 1, d + 1).
py::list Blocks(const std::vector<double>& values, unsigned int N) {
  py::list blocks;
  const double* at = values.data();
  for (py::ssize_t d = 0; d <= static_cast<py::ssize_t>(N); ++d) {
    const py::ssize_t size = (d + 1) * (d + 1);
    blocks.append(ToArray({at, at + size}, {d + 1, d + 1}));
    at += size;
  }
  return blocks;
}

py::object RotationBlocks(Rotation& r, double angle, std::optional<long long> degree,
                          bool derivative) {
  CheckFinite(angle, "angle");
  const unsigned int N = degree ? CheckWithin(*degree, r.degree, "degree") : r.degree;
  if (!derivative) {
    r.operation.BuildRotationMatrix(angle, N);
    return Blocks(r.operation.GetRotationMatrix(), N);
  }
  r.operation.BuildRotationMatrixWithDerivative(angle, N);
  return py::make_tuple(Blocks(r.operation.GetRotationMatrix(), N),
                        Blocks(r.operation.GetRotationMatrixDerivative(), N));
}

py::object Translate(Translation& t, const Array& shift, const QXHermiteOptions& source,
                     const QXHermiteOptions& target, const Array& coefficients, bool leaveUnscaled,
                     bool derivatives) {
  const std::vector<double> s = Finite(shift, {3}, "shift");
  CheckWithin(source.GetNPolyMax(), t.degree, "source degree");
  CheckWithin(target.GetNPolyMax(), t.degree, "target degree");
  const std::vector<double> in = CheckCoefficients(coefficients, source.GetNPolyMax());
  const size_t size = QXHermiteBasisSize(target.GetNPolyMax());
  std::vector<double> out((derivatives ? 4 : 1) * size);
  Call([&, from = QXHermiteOptions(source), to = QXHermiteOptions(target)] {
    if (derivatives) {
      t.operation.TranslateWithDerivatives(s.data(), from, to, in, out, kNoIndex);
    } else {
      t.operation.Translate(s.data(), from, to, in, out, kNoIndex, leaveUnscaled);
    }
  });
  if (!derivatives) return ToArray(std::move(out));
  return ToArray(std::move(out), {4, static_cast<py::ssize_t>(size)});
}

/// T without the recurrence's own values past column N1 + 1, and dT/ds.
py::tuple TranslationMatrices(Translation& t, double r, double s, long long sourceDegree,
                              long long targetDegree) {
  CheckPositive(r, "r");
  CheckFinite(s, "s");
  const unsigned int N1 = CheckWithin(sourceDegree, t.degree, "source_degree");
  const unsigned int N2 = CheckWithin(targetDegree, t.degree, "target_degree");
  t.operation.BuildTranslationMatrix(r, s, N1, N2);
  t.operation.BuildTranslationMatrixDerivative(N1, N2);
  const std::vector<double>& T = t.operation.GetTranslationMatrix();
  const std::vector<double>& dT = t.operation.GetTranslationMatrixDerivative();
  std::vector<double> value, derivative;
  for (size_t row = 0; row <= N2; ++row) {
    const double* const v = &T[row * (N1 + N2 + 2)];
    const double* const d = &dT[row * (N1 + 1)];
    value.insert(value.end(), v, v + N1 + 1);
    derivative.insert(derivative.end(), d, d + N1 + 1);
  }
  const py::ssize_t rows = N2 + 1, columns = N1 + 1;
  return py::make_tuple(ToArray(std::move(value), {rows, columns}),
                        ToArray(std::move(derivative), {rows, columns}));
}

void BindOperators(py::module_& module) {
  py::class_<Rotation>(
      module, "HermiteRotation",
      "Rotates coefficient vectors: the coefficients of f(Q^-1 r), Q = Rx(alpha) Ry(beta)\n"
      "Rz(gamma), exact where the three widths are equal. Scratch, one thread at a time.")
      .def(py::init<long long>(), py::arg("degree"), "degree: the largest to be served.")
      .def_readonly("degree", &Rotation::degree)
      .def(
          "rotate",
          [](Rotation& r, const Array& a, const Array& c) { return Rotate(r, a, c, false); },
          py::arg("angles"), py::arg("coefficients"),
          "angles: (3,) radians. coefficients: (basis_size(N),), N at most the degree.")
      .def(
          "rotate_with_derivatives",
          [](Rotation& r, const Array& a, const Array& c) { return Rotate(r, a, c, true); },
          py::arg("angles"), py::arg("coefficients"),
          "(4, basis_size(N)): the rotated coefficients, their derivatives by alpha, beta, gamma.")
      .def(
          "matrices",
          [](Rotation& r, double angle, std::optional<long long> degree) {
            return RotationBlocks(r, angle, degree, false);
          },
          py::arg("angle"), py::arg("degree") = py::none(),
          "The planar rotation blocks of one angle, of degree 0 .. N: a list of (d + 1, d + 1).")
      .def(
          "matrices_with_derivatives",
          [](Rotation& r, double angle, std::optional<long long> degree) {
            return RotationBlocks(r, angle, degree, true);
          },
          py::arg("angle"), py::arg("degree") = py::none(), "(blocks, their derivatives).");
  py::class_<Translation>(
      module, "HermiteTranslation",
      "Moves an expansion and projects it on another basis, in one step. Scratch, one thread at a\n"
      "time.")
      .def(py::init<long long>(), py::arg("degree"),
           "degree: the largest to be served, of source and target.")
      .def_readonly("degree", &Translation::degree)
      .def(
          "translate",
          [](Translation& t, const Array& shift, const Array& c, const QXHermiteOptions& source,
             const QXHermiteOptions& target, bool leaveUnscaled) {
            return Translate(t, shift, source, target, c, leaveUnscaled, false);
          },
          py::arg("shift"), py::arg("coefficients"), py::arg("source"), py::arg("target"),
          py::arg("leave_unscaled") = false,
          "Coefficients under the options `source`, moved by (3,) angstrom, under `target`. With\n"
          "leave_unscaled overlaps with the basis instead: not divided by K_l K_m K_n.")
      .def(
          "translate_with_derivatives",
          [](Translation& t, const Array& shift, const Array& c, const QXHermiteOptions& source,
             const QXHermiteOptions& target) {
            return Translate(t, shift, source, target, c, true, true);
          },
          py::arg("shift"), py::arg("coefficients"), py::arg("source"), py::arg("target"),
          "(4, basis_size of target), unscaled: the overlaps, their derivatives by s = -lambda t\n"
          "along x, y, z; times -lambda of the source they are derivatives by the shift.")
      .def("matrices", &TranslationMatrices, py::arg("r"), py::arg("s"), py::arg("source_degree"),
           py::arg("target_degree"),
           "(T, dT/ds) of one axis, (target_degree + 1, source_degree + 1); r = lambda of source\n"
           "over lambda of target, s = -lambda of source times shift.");
  module.def(
      "hermite_rotation_matrix_size",
      [](long long n) { return HermiteRotationMatrixSize(CheckDegree(n)); }, py::arg("degree"));
  module.def(
      "hermite_translation_matrix_size",
      [](long long a, long long b) {
        return HermiteTranslationMatrixSize(CheckDegree(a, "a"), CheckDegree(b, "b"));
      },
      py::arg("a"), py::arg("b"));
  module.def(
      "hermite_translation_matrix_derivative_size",
      [](long long a, long long b) {
        return HermiteTranslationMatrixDerivativeSize(CheckDegree(a, "a"), CheckDegree(b, "b"));
      },
      py::arg("a"), py::arg("b"));
}

void BindRigidMotion(py::module_& module) {
  const auto angles = [](auto* matrix) {
    return [matrix](double alpha, double beta, double gamma) {
      CheckFinite(alpha, "alpha"), CheckFinite(beta, "beta"), CheckFinite(gamma, "gamma");
      return Matrix(matrix(alpha, beta, gamma));
    };
  };
  module.def(
      "generate_rotation_matrix", angles(&generateRotationMatrix), py::arg("alpha"),
      py::arg("beta"), py::arg("gamma"),
      "Q = Rx(alpha) Ry(beta) Rz(gamma) in single precision, (3, 3): poses are made with it.");
  module.def("rot_from_euler_xyz", angles(&RotFromEulerXYZ), py::arg("alpha"), py::arg("beta"),
             py::arg("gamma"), "Q = Rx(alpha) Ry(beta) Rz(gamma) in double precision, (3, 3).");
  module.def(
      "pose_rotation",
      [](const Array& p) { return Matrix(PoseRotation(Finite(p, {6}, "variables").data())); },
      py::arg("variables"), "Q^T, in single precision, (3, 3): the matrix that turns a pose.");
  module.def(
      "euler_xyz",
      [](const Array& rotation) {
        std::vector<double> m = ToRotation(rotation);
        m[2] = std::clamp(m[2], -1.0, 1.0);
        return ToArray(EulerXYZ(m));
      },
      py::arg("rotation"), "(alpha, beta, gamma) of a rotation Q, beta in [-pi/2, pi/2].");
  module.def(
      "adapt_hermite_var",
      [](const Array& poses) {
        const std::vector<double> in = Finite(poses, {kAny, 7}, "poses");
        const py::ssize_t count = poses.shape(0);
        std::vector<double> out(6 * static_cast<size_t>(count));
        QXAdaptHermiteVar(static_cast<unsigned int>(count), in.data(), out.data());
        return ToArray(std::move(out), {count, 6});
      },
      py::arg("poses"),
      "Quaternion poses, (n, 7) rows q0 (scalar), q1, q2, q3, x, y, z, which move P to\n"
      "m(q) P + (x, y, z), as the six variables of the same motion, (n, 6).");
  module.def(
      "get_transform_from_hermite_params",
      [](const Array& p) {
        return FromTrans(QXGetTransformFromHermiteParams(Finite(p, {6}, "variables").data()));
      },
      py::arg("variables"),
      "The motion P' = Q^T (P + t) of (alpha, beta, gamma, tx, ty, tz) as a transform, (4, 4).");
  module.def(
      "hermite_rigid_transform",
      [](const QXHermite& h, const Array& variables) {
        const std::vector<double> p = Finite(variables, {6}, "variables");
        return Call([&] {
          QXHermite moved(h);
          moved.TranslateHermites(p[3], p[4], p[5]);
          return Rotated(moved, PoseRotation(p.data()));
        });
      },
      py::arg("hermite"), py::arg("variables"),
      "The expansion of the object moved to Q^T (P + t), (6,) variables, in the same frame.");
}

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
        const std::vector<double> c = Finite(center, {3}, "center");
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
      "The Hermite centre of mass: first moments of the expansion over the zeroth, (3,). NaN "
      "where\n"
      "that is 0, as without Gaussians.");
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

void BindInertia(py::module_& module) {
  module.def(
      "compute_inertial_hermite_vectors",
      [](const Array& coefficients, const QXHermiteOptions& options) {
        std::vector<std::vector<double>> turned;
        ComputeInertialHermiteVectors(CheckCoefficients(coefficients, options.GetNPolyMax()),
                                      options, turned);
        std::vector<double> rows;
        for (const auto& row : turned) rows.insert(rows.end(), row.begin(), row.end());
        return ToArray(std::move(rows), {3, static_cast<py::ssize_t>(turned[0].size())});
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
        std::vector<double> T;
        for (const auto& row : tensor) T.insert(T.end(), row.begin(), row.end());
        return py::make_tuple(FromGaussians(gaussians), ToArray(center), Matrix(rotation),
                              Matrix(T), ToArray(values));
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
        const std::vector<double> t = Finite(shift, {3}, "shift");
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
                              Matrix({frame->rotation.begin(), frame->rotation.end()}));
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
        const unsigned int N = DegreeOf(coefficients, 100);
        const std::vector<double> in = CheckCoefficients(coefficients, N);
        std::vector<double> out(in.size());
        TurnOfCoefficients(GetAxisTurns()[which], N)(in.data(), out.data());
        return ToArray(std::move(out));
      },
      py::arg("coefficients"), py::arg("turn"),
      "The coefficients after one of the axis_turns, for equal widths of the axes exchanged.");
}

}  // namespace

void BindFrame(py::module_& module) {
  BindOperators(module);
  BindRigidMotion(module);
  BindWidths(module);
  BindCenters(module);
  BindInertia(module);
}

}  // namespace QXPython
