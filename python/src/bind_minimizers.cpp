// Minimisers over objectives of the library or of Python, sparse regression, and quaternions.

#include <pybind11/stl.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "host/minimizer/bfgs.h"
#include "host/minimizer/newton.h"
#include "host/numerics/lasso.h"
#include "host/numerics/quaternion.h"
#include "python/src/bindings.h"
#include "python/src/checks.h"
#include "python/src/reports.h"

namespace QXPython {
namespace {

using QXMinimizer::QXBFGSOpt;
using QXMinimizer::QXFunc1;
using QXMinimizer::QXFunc2;
using QXMinimizer::QXMinimizerStatus;
using QXMinimizer::QXNewtonOpt;
using QXNumerics::QXLasso;

constexpr unsigned int kMostIterations = ~0u;

/// An objective that a callable of Python works out: f(x) -> (value, gradient), and for Newton's
/// method (value, gradient, hessian). What it raises ends the search.
class PythonObjective final : public QXFunc2 {
 public:
  PythonObjective(py::object function, size_t variables, bool wantsHessian)
      : function_(std::move(function)),
        variables_(variables),
        wantsHessian_(wantsHessian),
        gradient_(variables),
        hessian_(wantsHessian ? variables * (variables + 1) / 2 : 0) {}

  unsigned int NumVar() const override { return static_cast<unsigned int>(variables_); }
  const double* GetFComponents(const double*) override { return nullptr; }
  double operator()(const double* x) override { return Evaluate(x); }
  double operator()(const double* x, double* gradient) override {
    const double value = Evaluate(x);
    std::copy(gradient_.begin(), gradient_.end(), gradient);
    return value;
  }
  bool operator()(const double* x, double* hessian, double* gradient) override {
    Evaluate(x);
    std::copy(gradient_.begin(), gradient_.end(), gradient);
    std::copy(hessian_.begin(), hessian_.end(), hessian);
    return true;
  }

 private:
  /// Newton's method asks for the value at a point, then for its derivatives: one call for both.
  double Evaluate(const double* x) {
    const std::vector<double> place(x, x + variables_);
    if (place == place_) return value_;
    const py::gil_scoped_acquire acquire;
    const py::tuple result(function_(ToArray(place)));
    const size_t parts = wantsHessian_ ? 3 : 2;
    if (result.size() != parts) {
      Refuse("objective", wantsHessian_ ? "must return (value, gradient, hessian)"
                                        : "must return (value, gradient)");
    }
    const auto n = static_cast<py::ssize_t>(variables_);
    value_ = result[0].cast<double>();
    gradient_ = ToVector(result[1].cast<Array>(), {n}, "gradient");
    if (wantsHessian_) {
      const Array hessian = result[2].cast<Array>();
      RequireShape(hessian, {n, n}, "hessian");
      auto out = hessian_.begin();
      for (py::ssize_t i = 0; i < n; ++i) out = std::copy_n(hessian.data(i, 0), i + 1, out);
    }
    place_ = place;
    return value_;
  }

  py::object function_;
  size_t variables_;
  bool wantsHessian_;
  std::vector<double> place_, gradient_, hessian_;  ///< of the last evaluation
  double value_ = 0.0;
};

struct OptimizationResult {
  std::vector<double> x;
  double value;
  QXMinimizerStatus status;
  unsigned int iterations, evaluations;

  bool Converged() const {
    return status == QXMinimizerStatus::SmallGradient ||
           status == QXMinimizerStatus::SmallDecrease || status == QXMinimizerStatus::SmallStep;
  }
};

/// Runs a search over an objective of the library, or a callable.
template <typename Func, typename Search>
OptimizationResult Minimize(const py::object& objective, const Array& start, bool wantsHessian,
                            Search&& search) {
  std::vector<double> x = ToVector(start, {kAny}, "start");
  if (x.empty()) Refuse("start", "has no variables");
  std::optional<PythonObjective> own;
  Func* f = nullptr;
  if (py::isinstance<Func>(objective)) {
    f = objective.cast<Func*>();
    CheckSize(start, f->NumVar(), "start");
  } else if (py::isinstance<QXFunc1>(objective)) {
    throw py::type_error("objective: has no second derivatives");
  } else if (PyCallable_Check(objective.ptr())) {
    f = &own.emplace(objective, x.size(), wantsHessian);
  } else {
    throw py::type_error("objective: must be an objective of the library, or callable");
  }
  return Call([&] { return search(*f, x); });
}

template <typename Minimizer>
OptimizationResult ResultOf(const Minimizer& minimizer, std::vector<double>& x, double value) {
  return {std::move(x), value, minimizer.GetStatus(), minimizer.GetIterations(),
          minimizer.GetEvaluations()};
}

double CheckTolerance(double tolerance) {
  if (!(tolerance >= 0.0)) Refuse("tolerance", "must not be negative");
  return tolerance;
}

void BindResult(py::module_& module) {
  using Result = OptimizationResult;
  py::class_<Result>(module, "OptimizationResult", "Where a search ended.")
      .def_property_readonly(
          "x", [](const Result& self) { return ToArray(self.x); }, "The lowest point found.")
      .def_readonly("value", &Result::value)
      .def_property_readonly(
          "status", [](const Result& self) { return QXMinimizerStatusText(self.status); },
          "Why the search ended, in words.")
      .def_property_readonly("converged", &Result::Converged)
      .def_readonly("iterations", &Result::iterations)
      .def_readonly("evaluations", &Result::evaluations)
      .def("__repr__", [](const Result& self) {
        return "OptimizationResult(value=" + py::repr(py::float_(self.value)).cast<std::string>() +
               ", " + QXMinimizerStatusText(self.status) + ", " + std::to_string(self.iterations) +
               " iterations, " + std::to_string(self.evaluations) + " evaluations)";
      });
}

/// A minimiser, and for how many variables its model is: 0 without one.
struct Bfgs {
  QXBFGSOpt minimizer;
  py::ssize_t variables = 0;
};

void BindBfgs(py::module_& module) {
  py::class_<Bfgs>(
      module, "BFGSOpt",
      "Quasi-Newton minimiser. tolerance: the relative error of the value. longest_step: by the\n"
      "root of the sum of squares. model: the inverse Hessian of f/|f(start)|, (n, n), positive\n"
      "definite, where it is known.\n\n"
      "BFGSOpt()(objective, start) takes an objective of the library, or a callable f(x) ->\n"
      "(value, gradient); what that raises ends the search.")
      .def(py::init([](long long limit, double tolerance, const std::optional<double>& longest,
                       const std::optional<Array>& model) {
             Bfgs bfgs;
             QXBFGSOpt& minimizer = bfgs.minimizer;
             minimizer.SetIterLimit(CheckCount(limit, kMostIterations, "iter_limit"));
             minimizer.SetTolerance(CheckTolerance(tolerance));
             if (longest) minimizer.SetLongestStep(CheckPositive(*longest, "longest_step"));
             if (!model) return bfgs;
             const py::ssize_t n = model->ndim() > 0 ? model->shape(0) : 0;
             RequireShape(*model, {n, n}, "model");
             RequireFinite(*model, "model");
             std::vector<double> triangle;
             for (py::ssize_t i = 0; i < n; ++i) {
               triangle.insert(triangle.end(), model->data(i, 0), model->data(i, 0) + i + 1);
             }
             minimizer.SetModel(triangle);
             bfgs.variables = n;
             return bfgs;
           }),
           py::kw_only(), py::arg("iter_limit") = 1000, py::arg("tolerance") = 1e-10,
           py::arg("longest_step") = py::none(), py::arg("model") = py::none())
      .def(
          "__call__",
          [](const Bfgs& self, const py::object& objective, const Array& start) {
            if (self.variables > 0) CheckSize(start, static_cast<size_t>(self.variables), "start");
            QXBFGSOpt minimizer(self.minimizer);  // calls do not meet
            return Minimize<QXFunc1>(objective, start, false,
                                     [&](QXFunc1& f, std::vector<double>& x) {
                                       const double value = minimizer(f, x.data(), x.data());
                                       return ResultOf(minimizer, x, value);
                                     });
          },
          py::arg("objective"), py::arg("start"));
}

void BindNewton(py::module_& module) {
  py::class_<QXNewtonOpt>(
      module, "NewtonOpt",
      "Newton's method, kept from climbing. tolerance: the largest change of a variable at the\n"
      "last step.\n\n"
      "NewtonOpt()(objective, start) takes an objective of the library with second derivatives, "
      "or\n"
      "a callable f(x) -> (value, gradient, hessian); what that raises ends the search.")
      .def(py::init([](long long limit, double tolerance) {
             QXNewtonOpt minimizer;
             minimizer.SetIterLimit(CheckCount(limit, kMostIterations, "iter_limit"));
             minimizer.SetTolerance(CheckTolerance(tolerance));
             return minimizer;
           }),
           py::kw_only(), py::arg("iter_limit") = 100, py::arg("tolerance") = 1e-8)
      .def(
          "__call__",
          [](const QXNewtonOpt& self, const py::object& objective, const Array& start) {
            QXNewtonOpt minimizer(self);
            return Minimize<QXFunc2>(
                objective, start, true, [&](QXFunc2& f, std::vector<double>& x) {
                  const double value = minimizer(f, nullptr, x.data(), x.data());
                  return ResultOf(minimizer, x, value);
                });
          },
          py::arg("objective"), py::arg("start"));
}

void BindLasso(py::module_& module) {
  py::class_<QXLasso>(
      module, "Lasso",
      "The LASSO path: the minima over b of |y - X b|^2/2 + t sum |b_j|, from the t at which the\n"
      "first column enters down to 0. There is no intercept; centre and scale columns before.")
      .def(py::init([](const Array& X, const Array& y, const std::optional<long long>& most) {
             RequireShape(X, {kAny, kAny}, "X");
             RequireShape(y, {X.shape(0)}, "y");
             using Rows = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
             const Eigen::MatrixXd matrix = Rows::Map(X.data(), X.shape(0), X.shape(1));
             const Eigen::VectorXd target = Eigen::VectorXd::Map(y.data(), y.size());
             const unsigned int limit =
                 most ? CheckCount(*most, QXLasso::kNoLimit, "max_actives") : QXLasso::kNoLimit;
             return Call([&] {
               QXLasso lasso;
               lasso.Fit(matrix, target, limit);
               return lasso;
             });
           }),
           py::arg("X"), py::arg("y"), py::arg("max_actives") = py::none(),
           "X: (n, p), y: (n,). To the end, or to where more columns than max_actives would enter.")
      .def_property_readonly("actives", &QXLasso::GetActives,
                             "The columns in the order in which they first entered.")
      .def_property_readonly("coefficients", &QXLasso::GetCoefficients,
                             "Entry k: k + 1 numbers, of the first k + 1 of actives.");
}

}  // namespace

void BindMinimizers(py::module_& module) {
  BindResult(module);
  BindBfgs(module);
  BindNewton(module);
  BindLasso(module);
  module.def(
      "quaternion_to_rotation",
      [](const Array& quaternion) {
        const std::vector<double> q = ToVector(quaternion, {4}, "quaternion");
        std::vector<double> matrix(9);
        QXNumerics::QXGeom3DQuaternionToRotMatrix(matrix.data(), q.data());
        return ToArray(std::move(matrix), {3, 3});
      },
      py::arg("quaternion"),
      "The rotation matrix, (3, 3), of four numbers, the scalar part first, of any length but 0.");
}

}  // namespace QXPython
