#include <pybind11/stl.h>

#include <optional>

#include "hermite/overlay/cos_angle.h"
#include "hermite/overlay/gaussian_overlap.h"
#include "hermite/overlay/overlap.h"
#include "hermite/overlay/polish.h"
#include "hermite/overlay/tanimoto.h"
#include "python/src/bindings.h"
#include "python/src/checks.h"
#include "python/src/reports.h"

// Objectives of overlays. In Python they always have a reference and a fit, which is the reference
// itself until another is set: there is no evaluation of half an objective.

namespace QXPython {

using namespace QXHermiteMath;
using QXMinimizer::QXFunc1;
using QXMinimizer::QXFunc2;

namespace {

/// A density as Gaussians, (n, 5), or as coefficients, (basis_size(degree),).
struct Density {
  Density(const Array& values, const QXHermiteOptions& options, const char* name)
      : isGaussians(values.ndim() == 2) {
    if (isGaussians) {
      gaussians = CheckedGaussians(values, name);
    } else {
      coefficients = CheckCoefficients(values, options.GetNPolyMax(), name);
    }
  }
  bool isGaussians;
  std::vector<QXGaussian> gaussians;
  std::vector<double> coefficients;
};

void BindHermiteOverlap(py::module_& module) {
  using F = QXHermiteOverlap;
  const auto setRef = [](F& f, const QXHermite& h) {
    Call([&] { f.SetupRef(h, h.GetOptions()); });
  };
  const auto setFit = [](F& f, const QXHermite& h) { Call([&] { f.Setup(h, h.GetOptions()); }); };
  const auto setRefGaussians = [](F& f, const Array& rows, const QXHermiteOptions& options) {
    const std::vector<QXGaussian> gaussians = CheckedGaussians(rows);
    Call([&, own = QXHermiteOptions(options)] { f.SetupRef(gaussians, own); });
  };
  const auto setFitGaussians = [](F& f, const Array& rows, const QXHermiteOptions* options) {
    const std::vector<QXGaussian> gaussians = CheckedGaussians(rows);
    const QXHermiteOptions own = options ? *options : f.GetRefOptions();
    Call([&] { f.Setup(gaussians, own); });
  };
  py::class_<F, QXFunc1>(
      module, "HermiteOverlap", py::multiple_inheritance(),
      "Minus the overlap of a reference and a fit over (alpha, beta, gamma, tx, ty, tz): the fit\n"
      "moved to Q^T (P + t). Points are relative to the centre of the reference. Scratch, one\n"
      "thread at a time.")
      .def(py::init([=](const QXHermite& ref, const QXHermite* fit) {
             auto f = std::make_unique<F>();
             setRef(*f, ref);
             setFit(*f, fit ? *fit : ref);
             return f;
           }),
           py::arg("ref"), py::arg("fit") = py::none(), "Of expansions; fit: ref itself if None.")
      .def(py::init([=](const Array& ref, const QXHermiteOptions& options,
                        const std::optional<Array>& fit) {
             auto f = std::make_unique<F>();
             setRefGaussians(*f, ref, options);
             setFitGaussians(*f, fit ? *fit : ref, nullptr);
             return f;
           }),
           py::arg("ref"), py::arg("options"), py::arg("fit") = py::none(),
           "Of Gaussians, (n, 5). With use_optimal_lambdas widths are estimated, not searched.")
      .def("setup_ref", setRef, py::arg("ref"), "Another reference.")
      .def("setup_ref", setRefGaussians, py::arg("ref"), py::arg("options"))
      .def("setup", setFit, py::arg("fit"),
           "Another fit. A larger degree than that of the reference is projected on its basis.")
      .def("setup", setFitGaussians, py::arg("fit"), py::arg("options") = py::none())
      .def_property_readonly("overlap", &F::GetOverlap,
                             "The overlap as both stand, rounded to single precision.")
      .def_property_readonly("ref_self_overlap", &F::GetRefSelfOverlap)
      .def_property_readonly("fit_self_overlap", &F::GetFitSelfOverlap)
      .def_property_readonly("ref_options", [](const F& f) { return f.GetRefOptions(); })
      .def_property_readonly("ref_coefficients",
                             [](const F& f) { return ToArray(f.GetRefCoefficients()); });
}

/// Objectives that know the degree of their reference.
struct ShapeTanimoto : QXShapeComboTanimoto {
  void SetRef(const Array& values, const QXHermiteOptions& newOptions) {
    const Density ref(values, newOptions, "ref");
    options = newOptions;
    Call([&] {
      ref.isGaussians ? SetupRef(ref.gaussians, options) : SetupRef(ref.coefficients, options);
    });
  }
  void SetFit(const Array& values) {
    const Density fit(values, options, "fit");
    Call([&] { fit.isGaussians ? Setup(fit.gaussians) : Setup(fit.coefficients); });
  }
  QXHermiteOptions options;
};

struct ShapeChargeTanimoto : QXShapeChargeComboTanimoto {
  using QXShapeChargeComboTanimoto::QXShapeChargeComboTanimoto;

  static void RequireAlike(const Density& shape, const Density& charge) {
    if (shape.isGaussians != charge.isGaussians) {
      Refuse("charge", "must be Gaussians where the shape is, and coefficients where it is");
    }
  }
  void SetRef(const Array& shapeValues, const QXHermiteOptions& newShapeOptions,
              const Array& chargeValues, const QXHermiteOptions& newChargeOptions) {
    const Density shape(shapeValues, newShapeOptions, "ref_shape");
    const Density charge(chargeValues, newChargeOptions, "ref_charge");
    RequireAlike(shape, charge);
    shapeOptions = newShapeOptions, chargeOptions = newChargeOptions;
    Call([&] {
      if (shape.isGaussians) {
        SetupRef(shape.gaussians, shapeOptions, charge.gaussians, chargeOptions);
      } else {
        SetupRef(shape.coefficients, shapeOptions, charge.coefficients, chargeOptions);
      }
    });
  }
  void SetFit(const Array& shapeValues, const Array& chargeValues) {
    const Density shape(shapeValues, shapeOptions, "fit_shape");
    const Density charge(chargeValues, chargeOptions, "fit_charge");
    RequireAlike(shape, charge);
    Call([&] {
      shape.isGaussians ? Setup(shape.gaussians, charge.gaussians)
                        : Setup(shape.coefficients, charge.coefficients);
    });
  }
  QXHermiteOptions shapeOptions;
  QXHermiteOptions chargeOptions;
};

void BindTanimoto(py::module_& module) {
  using S = ShapeTanimoto;
  py::class_<S, QXFunc1>(
      module, "ShapeComboTanimoto", py::multiple_inheritance(),
      "Minus the Tanimoto O / (A + B - O) of two shape densities over the six rigid variables.\n"
      "Densities are Gaussians, (n, 5), or coefficients under the options. Scratch, one thread at\n"
      "a time.")
      .def(py::init([](const Array& ref, const QXHermiteOptions& options,
                       const std::optional<Array>& fit) {
             auto f = std::make_unique<S>();
             f->SetRef(ref, options);
             f->SetFit(fit ? *fit : ref);
             return f;
           }),
           py::arg("ref"), py::arg("options"), py::arg("fit") = py::none())
      .def("setup_ref", &S::SetRef, py::arg("ref"), py::arg("options"), "Another reference.")
      .def("setup", &S::SetFit, py::arg("fit"), "Another fit, under the options of the reference.")
      .def(
          "compute_tanimoto",
          [](S& f, const Array& x) {
            const std::vector<double> p = ToVector(x, {6}, "x");
            double tanimoto = 0.0;
            Call([&] { f.ComputeTanimoto(p.data(), tanimoto); });
            return tanimoto;
          },
          py::arg("x"), "The Tanimoto at x, (6,).")
      .def_property_readonly("ref_self_overlap", &S::GetRefShapeSelfOverlap)
      .def_property_readonly("fit_self_overlap", &S::GetFitShapeSelfOverlap);

  using C = ShapeChargeTanimoto;
  py::class_<C, QXFunc1>(
      module, "ShapeChargeComboTanimoto", py::multiple_inheritance(),
      "-T_shape - weight (T_charge + offset) over the six rigid variables. Densities are\n"
      "Gaussians, (n, 5), or coefficients under the options. Scratch, one thread at a time.")
      .def(
          py::init([](const Array& shape, const QXHermiteOptions& shapeOptions, const Array& charge,
                      const QXHermiteOptions& chargeOptions, double weight, double offset) {
            auto f =
                std::make_unique<C>(CheckFinite(weight, "weight"), CheckFinite(offset, "offset"));
            f->SetRef(shape, shapeOptions, charge, chargeOptions);
            f->SetFit(shape, charge);
            return f;
          }),
          py::arg("ref_shape"), py::arg("shape_options"), py::arg("ref_charge"),
          py::arg("charge_options"), py::arg("weight") = 1.0, py::arg("offset") = 0.0,
          "With the reference as fit, until another is set.")
      .def("setup_ref", &C::SetRef, py::arg("ref_shape"), py::arg("shape_options"),
           py::arg("ref_charge"), py::arg("charge_options"))
      .def("setup", &C::SetFit, py::arg("fit_shape"), py::arg("fit_charge"))
      .def(
          "compute_shape_charge_tanimotos",
          [](C& f, const Array& x) {
            const std::vector<double> p = ToVector(x, {6}, "x");
            double shape = 0.0, charge = 0.0;
            Call([&] { f.ComputeShapeChargeTanimotos(p.data(), shape, charge); });
            return py::make_tuple(shape, charge);
          },
          py::arg("x"), "(T_shape, T_charge) at x, (6,); NaN where a density is empty.")
      .def_property_readonly("ref_shape_self_overlap", &C::GetRefShapeSelfOverlap)
      .def_property_readonly("fit_shape_self_overlap", &C::GetFitShapeSelfOverlap)
      .def_property_readonly("ref_charge_self_overlap", &C::GetRefChargeSelfOverlap)
      .def_property_readonly("fit_charge_self_overlap", &C::GetFitChargeSelfOverlap);
}

void BindCosAngle(py::module_& module) {
  using F = QXHermiteCosAngleFunc;
  const auto setRef = [](F& f, const QXHermite& ref) { Call([&] { f.SetupRef(ref); }); };
  const auto setFit = [](F& f, const QXMol& mol, double radius) {
    CheckPositive(radius, "radius");
    Call([&, copy = QXMol(mol)] { f.Setup(copy, radius); });
  };
  py::class_<F, QXFunc1>(
      module, "HermiteCosAngleFunc", py::multiple_inheritance(),
      "1 - a.b / sqrt(a.a b.b) over the coordinates of atoms, x, y, z of each: a the coefficients\n"
      "of the reference, b those of the shape Gaussians of carbons, plain dot products. Make the\n"
      "reference with use_optimal_lambdas=False. Scratch, one thread at a time.")
      .def(py::init([=](const QXHermite& ref, const QXMol& mol, double radius,
                        const QXHermiteOptions* options) {
             auto f = std::make_unique<F>(options ? *options : ref.GetOptions());
             setRef(*f, ref);
             setFit(*f, mol, radius);
             return f;
           }),
           py::arg("ref"), py::arg("molecule"), py::arg("radius") = 1.7,
           py::arg("options") = py::none(),
           "molecule: the number of atoms and the first fit. Degree, widths and\n"
           "use_optimal_lambdas are those of ref.")
      .def("setup_ref", setRef, py::arg("ref"), "Another reference.")
      .def("setup", setFit, py::arg("molecule"), py::arg("radius") = 1.7, "Other atoms.")
      .def(
          "grid",
          [](F& f, double spacing, const py::object& transform) {
            CheckPositive(spacing, "spacing");
            QXTrans trans = ToTrans(transform);
            return Call([&] {
              QXScalarGrid grid;
              f.CreateGrid(grid, static_cast<float>(spacing), trans);
              return grid;
            });
          },
          py::arg("spacing") = 0.5, py::arg("transform") = py::none(),
          "The fit of the last evaluation on a cube of 26 angstrom, moved.");
  module.def(
      "compute_cos_angle_grad",
      [](const QXHermiteOptions& options, const Array& ref, const Array& fit, const Array& rows) {
        std::vector<double> a = CheckCoefficients(ref, options.GetNPolyMax(), "ref");
        std::vector<double> b = CheckCoefficients(fit, options.GetNPolyMax(), "fit");
        const std::vector<QXGaussian> gaussians = CheckedGaussians(rows);
        std::vector<double> gradient = Call([&, own = QXHermiteOptions(options)] {
          return ComputeCosAngleGrad(own, a, b, gaussians, {});
        });
        return ToArray(std::move(gradient), {static_cast<py::ssize_t>(gaussians.size()), 3});
      },
      py::arg("options"), py::arg("ref"), py::arg("fit"), py::arg("gaussians"),
      "The gradient of 1 - a.b / sqrt(a.a b.b) in the centres of the Gaussians of which `fit` is\n"
      "the expansion, (n, 3).");
  module.def(
      "compute_hermite_normalization_vector",
      [](const QXHermiteOptions& options) {
        std::vector<double> norms;
        computeHermiteNormalizationVector(norms, options);
        return ToArray(std::move(norms));
      },
      py::arg("options"), "The root of the integral of the square of each basis function.");
}

void BindGaussianOverlap(py::module_& module) {
  using F = QXGaussianOverlap;
  const auto setRef = [](F& f, const Array& rows) {
    const std::vector<QXGaussian> gaussians = CheckedGaussians(rows);
    Call([&] { f.SetupRef(gaussians); });
  };
  const auto setFit = [](F& f, const Array& rows) {
    const std::vector<QXGaussian> gaussians = CheckedGaussians(rows);
    Call([&] { f.Setup(gaussians); });
  };
  py::class_<F, QXFunc2>(
      module, "GaussianOverlap", py::multiple_inheritance(),
      "Minus the exact overlap of two sums of Gaussians over the six rigid variables, with no\n"
      "expansion in between: the sum over pairs of A A' (pi/(w + w'))^(3/2)\n"
      "exp(-w w'/(w + w') |Q r - (r' + t)|^2). Scratch, one thread at a time.")
      .def(py::init([=](const Array& ref, const std::optional<Array>& fit) {
             auto f = std::make_unique<F>();
             setRef(*f, ref);
             setFit(*f, fit ? *fit : ref);
             return f;
           }),
           py::arg("ref"), py::arg("fit") = py::none(), "(n, 5) rows each; fit: ref if None.")
      .def("setup_ref", setRef, py::arg("ref"), "Another reference.")
      .def("setup", setFit, py::arg("fit"), "Another fit.")
      .def_property_readonly("ref_self_overlap", &F::GetRefSelfOverlap)
      .def_property_readonly("fit_self_overlap", &F::GetFitSelfOverlap);

  using P = QXPolishedPose;
  py::class_<P>(module, "PolishedPose", "Where a polish ended.")
      .def_readonly("overlap", &P::overlap, "Exact, at `variables`.")
      .def_property_readonly(
          "variables",
          [](const P& pose) {
            return ToArray({pose.variables.begin(), pose.variables.end()});
          },
          "(6,): alpha, beta, gamma, tx, ty, tz.")
      .def_readonly("evaluations", &P::evaluations)
      .def("__repr__", [](const P& pose) {
        return py::str("PolishedPose(overlap={:.6g}, {} evaluations)")
            .format(pose.overlap, pose.evaluations);
      });
  module.def(
      "polish",
      [](const F& overlap, const Array& start, double tolerance) {
        RequireFinite(start, "start");
        const std::vector<double> x = ToVector(start, {6}, "start");
        return Call([&] { return QXPolish(overlap, x.data(), tolerance); });
      },
      py::arg("overlap"), py::arg("start") = py::make_tuple(0, 0, 0, 0, 0, 0),
      py::arg("tolerance") = 1e-6,
      "The optimum of a GaussianOverlap near (6,) variables, by Newton's method, until a step\n"
      "would bring less than tolerance times the overlap.");
}

}  // namespace

void BindOverlap(py::module_& module) {
  BindHermiteOverlap(module);
  BindTanimoto(module);
  BindCosAngle(module);
  BindGaussianOverlap(module);
}

}  // namespace QXPython
