#pragma once

#include <cmath>
#include <cstddef>
#include <type_traits>

#include "hermite/frame/coefficient_rows.h"
#include "hermite/frame/line_kernel.h"
#include "host/numerics/angle_kernel.h"
#include "host/numerics/exp_kernel.h"

// The overlap of a reference and a fit expansion of the same degree and widths, with its gradient
// in the six variables of a rigid motion.
//
// In scaled coordinates the reference, rotated, is P(x) exp(-x^2/2), and the fit, shifted by t, is
// F(x + s) exp(-(x + s)^2/2) with s = -lambda t. About the midpoint, y = x + s/2, the product of
// the exponentials is exp(-y^2) exp(-s^2/4), and so
//
//   O = exp(-s^2/4) / (lambda_x lambda_y lambda_z) sum over lmn of K_l K_m K_n V_lmn W_lmn
//
// with V and W the Hermite coefficients of P(y - s/2) and F(y + s/2): two shifts along each axis,
// which stay inside the basis. The derivatives are sums over neighbours, since
// H_k' = 2 k H_(k-1) and (y_1 d_2 - y_2 d_1) H_l H_m = m H_(l+1) H_(m-1) - l H_(l-1) H_(m+1).
//
// The kernel is a leaf: no allocation, templated on the scalar type, double or a pack of doubles.

namespace QXHermiteMath::kernel {

/// What an evaluation works on, and where it leaves its results.
template <class Scalar>
struct OverlapData {
  const CoefficientRows* rows;
  const double* lambda;     ///< three
  const double* weights;    ///< K_l K_m K_n of every place, 0 outside the basis
  const double* reference;  ///< its coefficients, by place
  const Scalar* fit;        ///< its coefficients, by place
  const Scalar* x;          ///< alpha, beta, gamma, and the shift of the fit in space
  Scalar* V;                ///< by place, with zeros outside the basis
  Scalar* W;
  Scalar* value;     ///< minus the overlap
  Scalar* gradient;  ///< six, or null
};

/// The sums over the basis, each with K_l K_m K_n W_lmn: of V, of its derivatives along the axes
/// halved, of W's derivatives with V halved, and of the rotations y x d of V about the midpoint.
template <class Scalar>
struct OverlapSums {
  Scalar value{}, dV[3]{}, dW[3]{}, torque[3]{};
};

template <class Scalar>
[[gnu::always_inline]] inline bool AllZero(Scalar const& v) {
  bool zero = true;
  for (size_t k = 0; k < sizeof(v) / sizeof(double); ++k)
    zero &= reinterpret_cast<const double*>(&v)[k] == 0.0;
  return zero;
}

/// V = the reference rotated by Rx(alpha) Ry(beta) Rz(gamma), z first.
template <class Scalar>
[[gnu::always_inline]] inline void RotateReference(OverlapData<Scalar> const& data,
                                                   QXNumerics::QXAngle<Scalar> const* angles) {
  using Direction = CoefficientRows::Direction;
  const CoefficientRows& rows = *data.rows;
  for (unsigned int place : rows.ShellOrder()) data.V[place] = Scalar{} + data.reference[place];
  for (int axis = 2; axis >= 0; --axis) {
    const QXNumerics::QXAngle<Scalar>& angle = angles[axis];
    const unsigned int* lines = rows.Lines(static_cast<Direction>(CoefficientRows::kYZ + axis));
    if (!AllZero(angle.turns)) {
      const QuarterTurns<Scalar> turns{angle.odd, angle.signX, angle.signY};
      for (unsigned int d = 1; d <= rows.Degree(); ++d)
        ForLines(d, rows.Degree() + 1 - d, lines + rows.LineStart()[d], data.V, data.V, turns);
    }
    const PlaneRotation<Scalar> rotation{angle.sineOfRest / (1.0 + angle.cosineOfRest),
                                         -angle.sineOfRest};
    ForAllLines(rows.Degree(), rows.LineStart(), lines, data.V, data.V, rotation);
  }
}

/// V -> V(y - s/2), W = fit(y + s/2).
template <class Scalar>
[[gnu::always_inline]] inline void ShiftToMidpoint(OverlapData<Scalar> const& data,
                                                   Scalar const* s) {
  using Direction = CoefficientRows::Direction;
  const CoefficientRows& rows = *data.rows;
  for (int k = 0; k < 6; ++k) {
    const int axis = k % 3;
    const bool ofFit = k >= 3;
    const Scalar* in = k < 3 ? data.V : k == 3 ? data.fit : data.W;
    const AxisShift<Scalar> shift{ofFit ? s[axis] : -s[axis]};
    ForAllLines(rows.Degree(), rows.LineStart(),
                rows.Lines(static_cast<Direction>(CoefficientRows::kAlongX + axis)), in,
                ofFit ? data.W : data.V, shift);
  }
}

/// The value alone.
template <class Scalar>
[[gnu::always_inline]] inline void SumValue(OverlapData<Scalar> const& data, Scalar& value) {
  for (unsigned int place : data.rows->ShellOrder())
    value += data.W[place] * data.weights[place] * data.V[place];
}

template <class Scalar>
[[gnu::always_inline]] inline void SumAll(OverlapData<Scalar> const& data,
                                          OverlapSums<Scalar>& result) {
  OverlapSums<Scalar> sums;  // in registers
  for (CoefficientRows::Row const& row : data.rows->Rows()) {
    const Scalar *v = data.V + row.here, *lessM = data.V + row.lessM, *moreM = data.V + row.moreM,
                 *lessL = data.V + row.lessL, *moreL = data.V + row.moreL,
                 *lessLMoreM = data.V + row.lessLMoreM, *moreLLessM = data.V + row.moreLLessM;
    const double nextL = row.l + 1, nextM = row.m + 1;
    double nextN = 1.0;
    for (int n = 0; n < static_cast<int>(row.count); ++n, nextN += 1.0) {
      const Scalar w = data.W[row.here + n] * data.weights[row.here + n];
      sums.value += w * v[n];
      sums.dW[0] += w * lessL[n];
      sums.dW[1] += w * lessM[n];
      sums.dW[2] += w * v[n - 1];
      const Scalar wn = w * nextN;
      sums.dV[2] += wn * v[n + 1];
      sums.torque[0] += wn * lessM[n + 1];
      sums.torque[1] -= wn * lessL[n + 1];
      const Scalar wm = w * nextM;
      sums.dV[1] += wm * moreM[n];
      sums.torque[2] += wm * lessLMoreM[n];
      sums.torque[0] -= wm * moreM[n - 1];
      const Scalar wl = w * nextL;
      sums.dV[0] += wl * moreL[n];
      sums.torque[1] += wl * moreL[n - 1];
      sums.torque[2] -= wl * moreLLessM[n];
    }
  }
  for (Scalar& sum : sums.dW) sum *= 0.5;  // K_(k-1) = K_k / 2k
  result = sums;
}

/// minus the overlap, and its gradient unless that is null.
template <class Scalar>
[[gnu::always_inline]] inline void EvaluateOverlap(OverlapData<Scalar> const& data) {
  const double* lambda = data.lambda;
  QXNumerics::QXAngle<Scalar> angles[3];
  Scalar s[3], scale;
  for (int k = 0; k < 3; ++k) QXNumerics::QXTakeAngleApart(data.x[k], angles[k]);
  for (int k = 0; k < 3; ++k) s[k] = -lambda[k] * data.x[3 + k];
  scale = -0.25 * (s[0] * s[0] + s[1] * s[1] + s[2] * s[2]);
  if constexpr (std::is_same_v<Scalar, double>)
    scale = std::exp(scale);
  else
    QXNumerics::QXExp(scale, scale);
  scale /= lambda[0] * lambda[1] * lambda[2];

  RotateReference(data, angles);
  ShiftToMidpoint(data, s);
  if (!data.gradient) {
    Scalar sum{};
    SumValue(data, sum);
    *data.value = -scale * sum;
    return;
  }
  OverlapSums<Scalar> sums;
  SumAll(data, sums);
  *data.value = -scale * sums.value;
  Scalar t[3];  // minus the torque on the reference about its own centre
  for (int k = 0; k < 3; ++k) {
    const int a = (k + 1) % 3, b = (k + 2) % 3;
    t[k] = scale * (sums.torque[k] - (s[a] * sums.dV[b] - s[b] * sums.dV[a]));
    data.gradient[3 + k] = lambda[k] * scale * (sums.dW[k] - sums.dV[k] - 0.5 * s[k] * sums.value);
  }
  // The axes of the three turns: e_x, Rx e_y, Rx Ry e_z.
  const Scalar sa = angles[0].sine, ca = angles[0].cosine;
  const Scalar sb = angles[1].sine, cb = angles[1].cosine;
  data.gradient[0] = t[0];
  data.gradient[1] = ca * t[1] + sa * t[2];
  data.gradient[2] = sb * t[0] + cb * (ca * t[2] - sa * t[1]);
}

}  // namespace QXHermiteMath::kernel
