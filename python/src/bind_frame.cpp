#include <pybind11/stl.h>

#include <algorithm>
#include <optional>

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

py::object Rotate(Rotation& r, const Array& angles, const Array& coefficients, bool derivatives) {
  const std::vector<double> a = ToFinite(angles, {3}, "angles");
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
  const unsigned int N = degree ? CheckCount(*degree, r.degree, "degree") : r.degree;
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
  const std::vector<double> s = ToFinite(shift, {3}, "shift");
  CheckCount(source.GetNPolyMax(), t.degree, "source degree");
  CheckCount(target.GetNPolyMax(), t.degree, "target degree");
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
  const unsigned int N1 = CheckCount(sourceDegree, t.degree, "source_degree");
  const unsigned int N2 = CheckCount(targetDegree, t.degree, "target_degree");
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
      return ToArray(matrix(alpha, beta, gamma), {3, 3});
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
      [](const Array& p) {
        return ToArray(PoseRotation(ToFinite(p, {6}, "variables").data()), {3, 3});
      },
      py::arg("variables"), "Q^T, in single precision, (3, 3): the matrix that turns a pose.");
  module.def(
      "euler_xyz",
      [](const Array& rotation) {
        std::vector<double> m = ToRotation(rotation);
        const double cosine = std::hypot(m[0], m[1]);
        if (cosine > 1e-7) return ToArray(EulerXYZ(m));
        // At a right angle about y only alpha + gamma or alpha - gamma is told: gamma is 0.
        const double sign = std::copysign(1.0, m[2]);
        return ToArray({std::atan2(sign * m[3], m[4]), std::atan2(m[2], cosine), 0.0});
      },
      py::arg("rotation"), "(alpha, beta, gamma) of a rotation Q, beta in [-pi/2, pi/2].");
  module.def(
      "adapt_hermite_var",
      [](const Array& poses) {
        const std::vector<double> in = ToFinite(poses, {kAny, 7}, "poses");
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
        return FromTrans(QXGetTransformFromHermiteParams(ToFinite(p, {6}, "variables").data()));
      },
      py::arg("variables"),
      "The motion P' = Q^T (P + t) of (alpha, beta, gamma, tx, ty, tz) as a transform, (4, 4).");
  module.def(
      "hermite_rigid_transform",
      [](const QXHermite& h, const Array& variables) {
        const std::vector<double> p = ToFinite(variables, {6}, "variables");
        return Call([&] {
          QXHermite moved(h);
          moved.TranslateHermites(p[3], p[4], p[5]);
          return Rotated(moved, PoseRotation(p.data()));
        });
      },
      py::arg("hermite"), py::arg("variables"),
      "The expansion of the object moved to Q^T (P + t), (6,) variables, in the same frame.");
}

}  // namespace

void BindFrame(py::module_& module) {
  BindOperators(module);
  BindRigidMotion(module);
}

}  // namespace QXPython
