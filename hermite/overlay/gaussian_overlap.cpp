#include "hermite/overlay/gaussian_overlap.h"

#include <algorithm>
#include <cmath>

#include "hermite/overlay/gaussian_overlap_kernel.h"
#include "host/core/throw.h"

namespace QXHermiteMath {

namespace {

struct Single {
  using Type = double;
};
using Sums = kernel::GaussianPairSums<Single>;

constexpr double kPi = 3.141592653589793;
constexpr double kInverseLn2 = 1.4426950408889634;

double Dot(double const* a, double const* b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

// b . m a, m row-major.
double Product(double const* b, double const* m, double const* a) {
  return b[0] * Dot(m, a) + b[1] * Dot(m + 3, a) + b[2] * Dot(m + 6, a);
}

// Q = Rx(alpha) Ry(beta) Rz(gamma), and the axes about which a change of each angle turns the
// points Q r: e_x, Rx e_y and Rx Ry e_z.
struct EulerFrame {
  explicit EulerFrame(double const* angles) {
    const double sa = std::sin(angles[0]), ca = std::cos(angles[0]);
    const double sb = std::sin(angles[1]), cb = std::cos(angles[1]);
    const double sc = std::sin(angles[2]), cc = std::cos(angles[2]);
    const double x[3] = {cb, sa * sb, -ca * sb};  // Rx Ry e_x
    const double y[3] = {0.0, ca, sa};            // Rx Ry e_y = Rx e_y
    const double z[3] = {sb, -sa * cb, ca * cb};  // Rx Ry e_z
    for (size_t i = 0; i < 3; ++i) {
      Q[3 * i] = cc * x[i] + sc * y[i];
      Q[3 * i + 1] = cc * y[i] - sc * x[i];
      Q[3 * i + 2] = z[i];
      axes[0][i] = i == 0 ? 1.0 : 0.0;
      axes[1][i] = y[i];
      axes[2][i] = z[i];
    }
  }

  double Q[9];
  double axes[3][3];
};

// The derivatives in the angles and shifts from those in the points: dq/da_i = e_i x q, e_i the
// axis of angle i, and d(q - p)/dt = -1.
void WriteGradient(EulerFrame const& frame, Sums const& sums, double* g) {
  double const* Fq = sums.Fq;
  const double torque[3] = {Fq[7] - Fq[5], Fq[2] - Fq[6], Fq[3] - Fq[1]};  // of q x F
  for (size_t i = 0; i < 3; ++i) {
    g[i] = Dot(frame.axes[i], torque);
    g[3 + i] = -sums.F[i];
  }
}

// For i <= j also d2q/da_i da_j = e_i x (e_j x q) = e_j (e_i.q) - q (e_i.e_j).
void WriteHessian(EulerFrame const& frame, Sums const& sums, double* h) {
  auto const& e = frame.axes;
  const double Fq = sums.Fq[0] + sums.Fq[4] + sums.Fq[8];
  for (size_t j = 0; j < 3; ++j)
    for (size_t i = 0; i <= j; ++i)
      *h++ = Product(e[j], sums.qHq, e[i]) + Product(e[j], sums.Fq, e[i]) - Fq * Dot(e[i], e[j]);
  for (size_t a = 0; a < 3; ++a) {
    for (size_t i = 0; i < 3; ++i)
      *h++ = -(e[i][0] * sums.qH[a] + e[i][1] * sums.qH[3 + a] + e[i][2] * sums.qH[6 + a]);
    for (size_t b = 0; b <= a; ++b) *h++ = sums.H[3 * a + b];
  }
}

template <int Order>
Sums SumPairs(kernel::GaussianPairs const& pairs, QXCore::QXSimdLevel level) {
  Sums sums;
  QXCore::QXRunKernel(level, kernel::GaussianPairKernel<Order>{pairs, &sums.v});
  return sums;
}

}  // namespace

bool QXGaussianOverlap::SetupRef(std::vector<QXGaussian> const& gaussians) {
  ref.Fill(gaussians);
  refSelfOverlap = SelfOverlap(ref);
  PairUp(ref, fit);
  return true;
}

bool QXGaussianOverlap::Setup(std::vector<QXGaussian> const& gaussians) {
  fit.Fill(gaussians);
  fitSelfOverlap = SelfOverlap(fit);
  PairUp(ref, fit);
  return true;
}

void QXGaussianOverlap::PairUp(GaussianList const& first, GaussianList const& second) {
  scales.assign(first.Stride() * second.widths.size(), 0.0);
  factors.assign(scales.size(), 0.0);
  for (size_t other = 0; other < second.widths.size(); ++other) {
    const size_t row = first.Stride() * other;
    for (size_t run = 0, i = 0; run < first.widths.size(); ++run) {
      const double sum = first.widths[run] + second.widths[other], ratio = kPi / sum;
      const double scale = -first.widths[run] * second.widths[other] / sum * kInverseLn2;
      const double factor = ratio * std::sqrt(ratio);
      for (; i < first.runEnds[run]; ++i) {
        scales[row + i] = scale;
        factors[row + i] = factor * first.moments[i].A;
      }
    }
  }
}

kernel::GaussianPairs QXGaussianOverlap::GetPairs(GaussianList const& first,
                                                  GaussianList const& second, double const* Q,
                                                  double const* t) const {
  kernel::GaussianPairs pairs = {first.Size(),
                                 first.Stride(),
                                 first.places.data(),
                                 second.moments.data(),
                                 second.runEnds.size(),
                                 second.runEnds.data(),
                                 scales.data(),
                                 factors.data(),
                                 {},
                                 {}};
  std::copy(Q, Q + 9, pairs.Q);
  for (size_t a = 0; a < 3; ++a) pairs.shift[a] = second.middle[a] + t[a];
  return pairs;
}

double QXGaussianOverlap::SelfOverlap(GaussianList const& list) {
  constexpr double kUnit[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  constexpr double kNoShift[3] = {};
  PairUp(list, list);
  return SumPairs<0>(GetPairs(list, list, kUnit, kNoShift), level).v;
}

template <int Order>
double QXGaussianOverlap::EvaluateTo(double const* x, double* hessian, double* gradient) const {
  const EulerFrame frame(x);
  const Sums sums = SumPairs<Order>(GetPairs(ref, fit, frame.Q, x + 3), level);
  if constexpr (Order >= 1) WriteGradient(frame, sums, gradient);
  if constexpr (Order >= 2) WriteHessian(frame, sums, hessian);
  return -sums.v;
}

double QXGaussianOverlap::operator()(double const* x) {
  return EvaluateTo<0>(x, nullptr, nullptr);
}

double QXGaussianOverlap::operator()(double const* x, double* gradient) {
  return EvaluateTo<1>(x, nullptr, gradient);
}

bool QXGaussianOverlap::operator()(double const* x, double* hessian, double* gradient) {
  Evaluate(x, hessian, gradient);
  return true;
}

double QXGaussianOverlap::Evaluate(double const* x, double* hessian, double* gradient) const {
  return EvaluateTo<2>(x, hessian, gradient);
}

const double* QXGaussianOverlap::GetFComponents(double const*) {
  QXCore::QXThrow.Warning("This method has not been implemented yet.");
  return nullptr;
}

}  // namespace QXHermiteMath
