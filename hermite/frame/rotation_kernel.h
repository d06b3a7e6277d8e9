#pragma once

// Rotation of coefficient vectors about one coordinate axis.
//
// Such a rotation mixes two of the three indices, and only inside one degree d, their sum: the
// generating function exp(2(x t + y u) - t^2 - u^2) of the products H_l(x) H_m(y) is unchanged when
// (x, y) and (t, u) turn together. So it is one dense (d + 1) by (d + 1) block M_d a degree, for
// the unnormalised products; block d starts at d(d + 1)(2d + 1)/6 of a flat array, row-major.
//
// Kernels are leaves: plain pointers, no allocation, templated on the scalar type.

namespace QXHermiteMath::kernel {

constexpr unsigned int RotationBlockOffset(unsigned int d) {
  return d * (d + 1) * (2 * d + 1) / 6;
}

/// M_0 .. M_N for the angle with cosine c and sine s. inverse[k] = 1/k for k = 1 .. N.
///
/// M_d[i][j] = C(d, i)/C(d, j) times the coefficient of x^(d-j) y^j in
/// (c x + s y)^(d-i) (-s x + c y)^i, with C the binomial coefficient; made by recurrence over d.
template <class Scalar>
inline void BuildRotationBlocks(Scalar c, Scalar s, unsigned int N, const double* inverse,
                                Scalar* blocks) {
  blocks[0] = Scalar(1.0);
  Scalar corner = Scalar(1.0);  // c^d
  for (unsigned int d = 1; d <= N; ++d) {
    const Scalar* P = blocks + RotationBlockOffset(d - 1);
    Scalar* M = blocks + RotationBlockOffset(d);
    const unsigned int row = d + 1;  // length of a row of M; that of P is d
    corner *= c;

    for (unsigned int j = 0; j < d; ++j) M[j] = c * P[j];
    M[d] = s * P[d - 1];
    for (unsigned int i = 1; i < d; ++i) {
      const Scalar scale = Scalar(inverse[d - i]);
      const Scalar* p = P + i * d;
      Scalar* m = M + i * row;
      m[0] = c * Scalar(static_cast<double>(d)) * p[0] * scale;
      for (unsigned int j = 1; j < d; ++j)
        m[j] = (Scalar(static_cast<double>(d - j)) * c * p[j] +
                Scalar(static_cast<double>(j)) * s * p[j - 1]) *
               scale;
      m[d] = s * p[d - 1] + c * p[-1];
    }
    const Scalar scale = Scalar(inverse[d]);
    const Scalar* p = P + (d - 1) * d;
    Scalar* m = M + d * row;
    m[0] = -s * p[0];
    for (unsigned int j = 1; j < d; ++j)
      m[j] = (Scalar(static_cast<double>(j)) * c * p[j - 1] -
              Scalar(static_cast<double>(d - j)) * s * p[j]) *
             scale;
    m[d] = corner;
  }
}

/// dM_d/d(angle) from M: dM[i][j] = (i + 1) M[i + 1][j] - (d + 1 - i) M[i - 1][j], rows outside
/// 0 .. d counting as zero.
template <class Scalar>
inline void BuildRotationBlockDerivatives(unsigned int N, const Scalar* blocks,
                                          Scalar* derivatives) {
  derivatives[0] = Scalar(0.0);
  for (unsigned int d = 1; d <= N; ++d) {
    const unsigned int row = d + 1;
    const Scalar* M = blocks + RotationBlockOffset(d);
    Scalar* dM = derivatives + RotationBlockOffset(d);
    for (unsigned int j = 0; j <= d; ++j) {
      dM[j] = M[row + j];
      dM[d * row + j] = -M[(d - 1) * row + j];
    }
    for (unsigned int i = 1; i < d; ++i) {
      const Scalar below = Scalar(static_cast<double>(i + 1));
      const Scalar above = Scalar(static_cast<double>(d + 1 - i));
      for (unsigned int j = 0; j <= d; ++j)
        dM[i * row + j] = below * M[(i + 1) * row + j] - above * M[(i - 1) * row + j];
    }
  }
}

/// What a planar stage works on: the vectors in[0 .. Vectors - 1] go to out[0 .. Vectors - 1] by
/// the blocks M; with derivatives, in[0] also goes to derivative by the blocks dM.
template <unsigned int Vectors, class Scalar>
struct PlanarStageData {
  const Scalar* M;
  const Scalar* dM;
  const Scalar* in[Vectors];
  Scalar* out[Vectors];
  Scalar* derivative;
};

/// One planar stage: for each degree d = 0 .. N and each of its N - d + 1 groups of d + 1
/// coefficients, out[group[i]] = sum over t of M_d[i][t] in[group[t]], for every vector.
///
/// groups lists the places of all groups of the largest degree served, d rising; group g of degree
/// d starts at groupStart[d] + g (d + 1). A group is gathered once, for all products.
/// work: scratch of (N + 1) Vectors scalars.
template <bool Derivative, unsigned int Vectors, class Scalar>
inline void PlanarStage(unsigned int N, const unsigned int* groups, const unsigned int* groupStart,
                        const PlanarStageData<Vectors, Scalar>& data, Scalar* work) {
  for (unsigned int d = 0; d <= N; ++d) {
    const unsigned int length = d + 1;
    const unsigned int* group = groups + groupStart[d];
    for (unsigned int g = 0; g <= N - d; ++g, group += length) {
      for (unsigned int t = 0; t < length; ++t)
        for (unsigned int v = 0; v < Vectors; ++v) work[t * Vectors + v] = data.in[v][group[t]];

      const Scalar* M = data.M + RotationBlockOffset(d);
      const Scalar* dM = Derivative ? data.dM + RotationBlockOffset(d) : nullptr;
      for (unsigned int i = 0; i < length; ++i) {
        Scalar sum[Vectors] = {};
        Scalar derivative = Scalar(0.0);
        for (unsigned int t = 0; t < length; ++t) {
          const Scalar m = *M++;
          for (unsigned int v = 0; v < Vectors; ++v) sum[v] += m * work[t * Vectors + v];
          if constexpr (Derivative) derivative += *dM++ * work[t * Vectors];
        }
        for (unsigned int v = 0; v < Vectors; ++v) data.out[v][group[i]] = sum[v];
        if constexpr (Derivative) data.derivative[group[i]] = derivative;
      }
    }
  }
}

}  // namespace QXHermiteMath::kernel
