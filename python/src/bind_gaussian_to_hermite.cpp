#include "hermite/expansion/gaussian_to_hermite.h"
#include "python/src/bindings.h"
#include "python/src/checks.h"
#include "python/src/reports.h"

namespace QXPython {

using namespace QXHermiteMath;

namespace {

py::array_t<double> Rows(const std::vector<double>* rows, size_t count) {
  std::vector<double> values;
  for (size_t i = 0; i < count; ++i) values.insert(values.end(), rows[i].begin(), rows[i].end());
  const auto n = static_cast<py::ssize_t>(count == 0 ? 0 : rows[0].size());
  return ToArray(std::move(values), {static_cast<py::ssize_t>(count), n});
}

/// The engine, and what it must have gone through for a call to be sound.
class Engine {
 public:
  Engine(long long degree, unsigned int derivatives)
      : degree_(CheckDegree(degree)),
        derivatives_(CheckCount(derivatives, 2, "derivatives")),
        engine_(degree_, derivatives_ >= 1, derivatives_ >= 2) {
    QXHermiteOptions none;
    none.SetNPolyMax(0);
    engine_.Expand(none, {}, 0);
  }

  void Expand(const Array& rows, const QXHermiteOptions& options, long long order) {
    const unsigned int which = CheckCount(order, 4, "order");
    const unsigned int needed = which == 0 ? 0 : 2 - which % 2;
    if (needed > derivatives_) {
      Refuse("order",
             std::to_string(which) + " needs an engine with derivatives=" + std::to_string(needed));
    }
    if (options.GetNPolyMax() > degree_) {
      Refuse("options", "-NPolyMax is above the degree of the engine, " + std::to_string(degree_));
    }
    const std::vector<QXGaussian> gaussians = CheckedGaussians(rows);
    const bool shifts = which >= 3;
    // The lists of shift derivatives only grow, and their first entries are what is read.
    if (shifts) engine_ = QXGaussianToHermite(degree_, derivatives_ >= 1, derivatives_ >= 2);
    Call([&, own = QXHermiteOptions(options)] { engine_.Expand(own, gaussians, which); });
    expanded_ = options.GetNPolyMax();
    order_ = which;
    hasShifts_ = shifts;
  }

  QXGaussianToHermite& Get() { return engine_; }
  unsigned int Degree() const { return degree_; }
  /// The degree of the last expansion.
  unsigned int Expanded() const { return expanded_; }

  py::object First() const {
    if (order_ == 0) return py::none();
    return Rows(engine_.GetFirstDerivatives().data(), 3);
  }
  py::object Second() const {
    if (order_ != 2 && order_ != 4) return py::none();
    return Rows(engine_.GetSecondDerivatives().data(), 6);
  }
  py::object SelfOverlapFirst() const {
    if (order_ != 1 && order_ != 2) return py::none();
    return ToArray(engine_.GetSelfOverlapLambdaDerivatives());
  }
  py::object SelfOverlapSecond() const {
    if (order_ != 2) return py::none();
    return ToArray(engine_.GetSelfOverlapLambdaSecondDerivatives());
  }
  py::array_t<double> ShiftGradient(const Array& q, bool second) const {
    if (!hasShifts_ || (second && order_ != 4)) {
      Refuse("order", second ? "expand at order 4 first" : "expand at order 3 or 4 first");
    }
    // The lists hold the coefficients of the engine's degree, of which those beyond are zeros.
    const std::vector<double> form = CheckCoefficients(q, expanded_, "q");
    return ToArray(second ? engine_.GetTranslationalSecondDerivativeConvolution(form)
                          : engine_.GetTranslationalDerivativeConvolution(form));
  }

 private:
  unsigned int degree_;
  unsigned int derivatives_;
  unsigned int expanded_ = 0;
  unsigned int order_ = 0;
  bool hasShifts_ = false;
  QXGaussianToHermite engine_;
};

using Step = bool (QXGaussianToHermite::*)(unsigned int, double, const std::vector<double>&,
                                           std::vector<double>&);

/// One of the derivative tables of an axis, from F with `more` entries beyond N.
auto Table(Step step, size_t more) {
  return [step, more](Engine& engine, long long degree, double u, const Array& f) {
    const unsigned int N = CheckDegree(degree, "n");
    CheckPositive(u, "u");
    RequireShape(f, {kAny}, "f");
    if (static_cast<size_t>(f.size()) < N + more + 1) {
      Refuse("f", "expected at least " + std::to_string(N + more + 1) + " values");
    }
    std::vector<double> table(N + 1);
    (engine.Get().*step)(N, u, {f.data(), f.data() + f.size()}, table);
    return ToArray(std::move(table));
  };
}

py::array_t<double> BuildF(Engine& engine, double width, double center, long long kMax,
                           double lambda) {
  const unsigned int k = CheckCount(kMax, 200, "k_max");
  CheckPositive(width, "width");
  CheckFinite(center, "center");
  CheckPositive(lambda, "lambda_");
  std::vector<double> f(k + 3);  // room for the two that any recurrence starts with
  engine.Get().BuildF(width, center, k, lambda, f);
  f.resize(k + 1);
  return ToArray(std::move(f));
}

py::array_t<double> Convolution(Engine& engine, long long order, const Array& gaussian,
                                const Array& f1, const Array& f2, const Array& f3) {
  const unsigned int power = CheckCount(order, 2, "order");
  const unsigned int N = engine.Expanded();
  RequireShape(gaussian, {5}, "gaussian");
  const std::vector<QXGaussian> one =
      CheckedGaussians(gaussian.attr("reshape")(1, 5).cast<Array>(), "gaussian");
  const auto table = [&](const Array& f, const char* name) {
    return ToVector(f, {static_cast<py::ssize_t>(N) + 1}, name);
  };
  std::vector<double> result(QXHermiteBasisSize(N));
  engine.Get().CoefficientsConvolution(power, one[0], table(f1, "f1"), table(f2, "f2"),
                                       table(f3, "f3"), result);
  return ToArray(std::move(result));
}

}  // namespace

void BindGaussianToHermite(py::module_& module) {
  using G = QXGaussianToHermite;
  py::class_<Engine>(
      module, "GaussianToHermite",
      "The engine that expands sums of Gaussians and their derivatives, about the origin. Built\n"
      "once for a degree and reused; scratch, one thread at a time.")
      .def(py::init<long long, unsigned int>(), py::arg("degree"), py::arg("derivatives") = 0,
           "degree: the largest to be served. derivatives: the highest that are wanted, 0 to 2.")
      .def("expand", &Engine::Expand, py::arg("gaussians"), py::arg("options"),
           py::arg("order") = 0,
           "Expand (n, 5) rows. order 0: coefficients and self overlap; 1, 2: also first, second\n"
           "derivatives in the widths; 3, 4: also in a common shift of the Gaussians. A degree\n"
           "below that of the engine fills a prefix of the coefficients.")
      .def_property_readonly(
          "coefficients", [](Engine& e) { return ToArray(e.Get().GetHermiteCoefficients()); },
          "(basis_size(degree of the engine),), a copy.")
      .def_property_readonly("self_overlap", [](Engine& e) { return e.Get().GetSelfOverlap(); })
      .def_property_readonly("first_derivatives", &Engine::First,
                             "(3, coefficients): in x, y, z; None at order 0.")
      .def_property_readonly("second_derivatives", &Engine::Second,
                             "(6, coefficients): xx, yy, zz, xy, xz, yz; None but at order 2, 4.")
      .def_property_readonly("self_overlap_lambda_derivatives", &Engine::SelfOverlapFirst,
                             "(3,): of the self overlap in the widths; None but at order 1, 2.")
      .def_property_readonly("self_overlap_lambda_second_derivatives", &Engine::SelfOverlapSecond,
                             "(6,): xx, xy, yy, xz, yz, zz; None but at order 2.")
      .def(
          "translational_derivative_convolution",
          [](const Engine& e, const Array& q) { return e.ShiftGradient(q, false); }, py::arg("q"),
          "(3,): the gradient of q . c in a common shift, after an expansion of order 3 or 4.")
      .def(
          "translational_second_derivative_convolution",
          [](const Engine& e, const Array& q) { return e.ShiftGradient(q, true); }, py::arg("q"),
          "(6,): xx, xy, yy, xz, yz, zz, after an expansion of order 4.")
      .def("build_f", &BuildF, py::arg("width"), py::arg("center"), py::arg("k_max"),
           py::arg("lambda_"),
           "F_0 .. F_k_max: the integrals of exp(-width (x - center)^2) h_k(lambda x) lambda dx.")
      .def("build_f_derivative", Table(&G::BuildFDerivative, 2), py::arg("n"), py::arg("u"),
           py::arg("f"), "dF_k/du, k = 0 .. n, from f[0 .. n + 2]; u = sqrt(2 width)/lambda.")
      .def("build_f_second_derivative", Table(&G::BuildFSecondDerivative, 4), py::arg("n"),
           py::arg("u"), py::arg("f"), "d^2 F_k/du^2, k = 0 .. n, from f[0 .. n + 4].")
      .def("build_f_second_arg_derivative", Table(&G::BuildFSecondArgDerivative, 1), py::arg("n"),
           py::arg("u"), py::arg("f"),
           "dF_k/ds, k = 0 .. n, from f[0 .. n + 1]; s = -center sqrt(2 width).")
      .def("build_f_second_arg_second_derivative", Table(&G::BuildFSecondArgSecondDerivative, 2),
           py::arg("n"), py::arg("u"), py::arg("f"), "d^2 F_k/ds^2, from f[0 .. n + 2].")
      .def("coefficients_convolution", &Convolution, py::arg("order"), py::arg("gaussian"),
           py::arg("f1"), py::arg("f2"), py::arg("f3"),
           "A (-sqrt(2 w))^order f1[l] f2[m] f3[n] / (K_l K_m K_n), in shell order, of the degree\n"
           "of the last expansion, 0 before one.");
}

}  // namespace QXPython
