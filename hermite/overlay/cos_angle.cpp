#include "hermite/overlay/cos_angle.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "hermite/expansion/gaussian_integrals.h"
#include "hermite/expansion/mol_to_gaussians.h"
#include "hermite/foundations/basis.h"
#include "host/core/throw.h"

namespace QXHermiteMath {

namespace {

// The width, in angstrom, of the grids made here, before the margin of CreateGrid.
constexpr double kGridWidth = 20.0;

// The gradient of a linear form q.c in the centre of one Gaussian at a time, c its coefficients:
// the first translational derivatives of QXGaussianToHermite, contracted with q as they arise.
//
//   F_k, dF_k of an axis   BuildF, BuildFSecondArgDerivative over K_k    f[axis], df[axis]
//   dc_lmn/dX              -A sqrt(2 w) dF_l(x) F_m(y) F_n(z), likewise Y, Z
class LinearFormGradient {
 public:
  LinearFormGradient(QXHermiteOptions const& options, std::vector<double> const& q)
      : N(options.GetNPolyMax()),
        lambda{options.GetLambdaX(), options.GetLambdaY(), options.GetLambdaZ()},
        ks(computeKs(N)),
        form(QXHermiteBasisSize(N)),
        plane((N + 1) * (N + 2) / 2),
        planeOfDerivatives(plane.size()) {
    for (int axis = 0; axis < 3; ++axis) {
      f[axis].resize(N + 2);
      df[axis].resize(N + 1);
    }
    OrderByL(q);
  }

  // Writes three doubles.
  void operator()(QXGaussian const& g, double* gradient) {
    const double width = g.GetWidth();
    const double a = std::sqrt(width + width);
    BuildTables(0, width, a, g.GetX());
    BuildTables(1, width, a, g.GetY());
    BuildTables(2, width, a, g.GetZ());
    SumOverL();
    double x = 0.0, y = 0.0, z = 0.0;
    size_t p = 0;
    for (unsigned int d = 0; d <= N; ++d) {
      for (unsigned int m = 0; m <= d; ++m, ++p) {
        x += planeOfDerivatives[p] * f[1][m] * f[2][d - m];
        y += plane[p] * df[1][m] * f[2][d - m];
        z += plane[p] * f[1][m] * df[2][d - m];
      }
    }
    const double prefactor = -g.GetAmplitude() * a;
    gradient[0] = prefactor * x;
    gradient[1] = prefactor * y;
    gradient[2] = prefactor * z;
  }

 private:
  // The form from shell order to one where each l is a run, d = m + n rising and then m.
  void OrderByL(std::vector<double> const& q) {
    size_t p = 0;
    for (unsigned int l = 0; l <= N; ++l)
      for (unsigned int d = 0; d <= N - l; ++d)
        for (unsigned int m = 0; m <= d; ++m) form[p++] = q[GetLmnIndex(l, m, d - m)];
  }

  void BuildTables(int axis, double width, double a, double center) {
    kernel::BuildF(width, center, N + 1, lambda[axis], f[axis].data());
    kernel::BuildFSecondArgDerivative(N, lambda[axis] / a, f[axis].data(), df[axis].data());
    for (unsigned int k = 0; k <= N; ++k) {
      f[axis][k] /= ks[k];
      df[axis][k] /= ks[k];
    }
  }

  // The form, contracted with F_l and with dF_l of the x axis: entry p belongs to m and n in the
  // order of a run.
  void SumOverL() {
    std::fill(plane.begin(), plane.end(), 0.0);
    std::fill(planeOfDerivatives.begin(), planeOfDerivatives.end(), 0.0);
    double const* q = form.data();
    for (unsigned int l = 0; l <= N; ++l) {
      const unsigned int count = (N - l + 1) * (N - l + 2) / 2;
      for (unsigned int p = 0; p < count; ++p) {
        plane[p] += f[0][l] * q[p];
        planeOfDerivatives[p] += df[0][l] * q[p];
      }
      q += count;
    }
  }

  unsigned int N;
  double lambda[3];
  std::vector<double> ks;
  std::vector<double> form;  // q, l outermost
  std::vector<double> f[3];
  std::vector<double> df[3];
  std::vector<double> plane;
  std::vector<double> planeOfDerivatives;
};

}  // namespace

QXHermiteCosAngleFunc::QXHermiteCosAngleFunc(QXHermiteOptions const& newOptions)
    : options(newOptions) {}

bool QXHermiteCosAngleFunc::SetupRef(QXHermite hermite) {
  ref = std::move(hermite);
  QXHermiteOptions const& o = ref.GetOptions();
  options.SetNPolyMax(o.GetNPolyMax());
  SetLambdas(options, o.GetLambdaX(), o.GetLambdaY(), o.GetLambdaZ());
  options.SetUseOptimalLambdas(o.GetUseOptimalLambdas());
  computeHermiteNormalizationVector(normalization, options);
  return true;
}

bool QXHermiteCosAngleFunc::Setup(QXMol const& mol, double newRadius) {
  numVar = 3 * mol.NumAtoms();
  radius = newRadius;
  fit = QXHermite();
  fit.Setup(QXMolToGaussians(mol, radius), options);
  return true;
}

bool QXHermiteCosAngleFunc::CreateGrid(QXScalarGrid& grid, float spacing, QXTrans& trans) {
  fit.CreateGrid(grid, spacing, kGridWidth, trans);
  return true;
}

// The Gaussians of a molecule of carbons at x, without the molecule: both narrow the coordinates to
// single precision, once.
std::vector<QXGaussian> QXHermiteCosAngleFunc::MoveFit(double const* x) {
  std::vector<QXGaussian> gaussians =
      makeShapeGaussians(std::vector<double>(x, x + numVar), radius);
  fit.Setup(gaussians, options);
  return gaussians;
}

double QXHermiteCosAngleFunc::Value() const {
  std::vector<double> const& a = ref.GetCoefficients();
  std::vector<double> const& b = fit.GetCoefficients();
  return 1.0 - vecProduct(a, b) / std::sqrt(vecProduct(a, a) * vecProduct(b, b));
}

double QXHermiteCosAngleFunc::operator()(double const* x) {
  MoveFit(x);
  return Value();
}

double QXHermiteCosAngleFunc::operator()(double const* x, double* gradient) {
  const std::vector<QXGaussian> gaussians = MoveFit(x);
  std::vector<double> a = ref.GetCoefficients();
  std::vector<double> b = fit.GetCoefficients();
  std::ranges::copy(ComputeCosAngleGrad(ref.GetOptions(), a, b, gaussians, normalization),
                    gradient);
  return Value();
}

const double* QXHermiteCosAngleFunc::GetFComponents(double const*) {
  QXCore::QXThrow.Warning("This method has not been implemented yet.");
  return nullptr;
}

std::vector<double> ComputeCosAngleGrad(QXHermiteOptions const& options, std::vector<double>& ref,
                                        std::vector<double>& fit,
                                        std::vector<QXGaussian> const& gaussians,
                                        std::vector<double> const&) {
  const double bb = vecProduct(fit, fit);
  const double p = 1.0 / std::sqrt(vecProduct(ref, ref) * bb);
  const double r = vecProduct(ref, fit) * p / bb;
  // The derivative of the value by the coefficients of the fit. The expansion is linear in the
  // Gaussians, so that each needs only its own part of it.
  std::vector<double> q(fit.size());
  for (size_t i = 0; i < q.size(); ++i) q[i] = r * fit[i] - p * ref[i];

  std::vector<double> result(3 * gaussians.size());
  LinearFormGradient gradient(options, q);
  for (size_t i = 0; i < gaussians.size(); ++i) gradient(gaussians[i], &result[3 * i]);
  return result;
}

void computeHermiteNormalizationVector(std::vector<double>& normalization,
                                       QXHermiteOptions const& options) {
  const unsigned int N = options.GetNPolyMax();
  const std::vector<double> ks = computeKs(N);
  const double inverse = 1.0 / (options.GetLambdaY() * options.GetLambdaZ() * options.GetLambdaX());
  normalization.clear();
  ForEachLmn(N, [&](unsigned int, unsigned int l, unsigned int m, unsigned int n) {
    normalization.push_back(std::sqrt(ks[l] * ks[m] * ks[n] * inverse));
  });
}

double vecProduct(std::vector<double> const& a, std::vector<double> const& b) {
  return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
}

}  // namespace QXHermiteMath
