#pragma once

#include <cmath>

// Translation of a coefficient vector into another basis, axis by axis.
//
// On one axis with source and target widths and shift t, let x = lambda_tgt X, r = lambda_src /
// lambda_tgt and s = -lambda_src t. The overlap of target function i with source function j is
//
//   T[i][j] = integral of H_i(x) H_j(r x + s) exp(-x^2/2 - (r x + s)^2/2) dx,
//
// row-major with a row length of N1 + N2 + 2, N1 the source and N2 the target degree.
//
// Kernels are leaves: plain pointers, no allocation, templated on the scalar type. Stage arrays
// keep the running target index fastest, so that every stage combines contiguous rows.

namespace QXHermiteMath::kernel {

/// Rows 0 .. max(N2, 1) of T; row i fills columns 0 .. N1 + N2 + 1 - i.
template <class Scalar>
inline void BuildTranslationMatrix(Scalar r, Scalar s, unsigned int N1, unsigned int N2,
                                   Scalar* T) {
  using std::exp;
  using std::sqrt;
  const unsigned int W = N1 + N2 + 2;
  const unsigned int last = N1 + N2;
  const Scalar rr = r * r;
  const Scalar a = Scalar(1.0) / (Scalar(1.0) + rr);
  const Scalar b = (rr + rr - Scalar(2.0)) * a;
  const Scalar p = Scalar(2.0) * a * s;
  const Scalar q = Scalar(-2.0) * r * a * s;
  const auto number = [](unsigned int k) { return Scalar(static_cast<double>(k)); };

  T[0] = sqrt(Scalar(6.283185307179586) * a) * exp(Scalar(-0.5) * s * s * a);
  T[1] = T[0] * p;
  T[W] = T[0] * q;
  for (unsigned int k = 1; k <= last; ++k) T[k + 1] = p * T[k] + number(k) * b * T[k - 1];
  for (unsigned int k = 1; k < N2; ++k)
    T[(k + 1) * W] = q * T[k * W] - number(k) * b * T[(k - 1) * W];
  for (unsigned int j = 1; j <= last; ++j) T[W + j] = r * (number(2 * j) * T[j - 1] - T[j + 1]);
  for (unsigned int i = 1; i < N2; ++i) {
    const Scalar* above = T + (i - 1) * W;
    const Scalar* row = T + i * W;
    Scalar* below = T + (i + 1) * W;
    for (unsigned int j = 1; j <= last - i; ++j)
      below[j] = r * (number(2 * j) * row[j - 1] - row[j + 1]) + number(2 * i) * above[j];
  }
}

/// The same T where the recurrence above loses digits, for r > 1 (some 1e-5 at r = 1.2 and degree
/// 40, all of them at r = 1.4): from the swapped integral T_{r,s}[i][j] = T_{1/r,-s/r}[j][i] / r,
/// by the substitution v = r x + s, whose recurrence is stable there. Overwrites rows 0 .. N2,
/// columns 0 .. N1 + 1. swapped: scratch of (N1 + 2)(N1 + N2 + 3).
template <class Scalar>
inline void BuildTranslationMatrixSwapped(Scalar r, Scalar s, unsigned int N1, unsigned int N2,
                                          Scalar* T, Scalar* swapped) {
  const Scalar inverse = Scalar(1.0) / r;
  const unsigned int W = N1 + N2 + 2;
  const unsigned int swappedW = N1 + N2 + 3;
  BuildTranslationMatrix(inverse, -s * inverse, N2, N1 + 1, swapped);
  for (unsigned int i = 0; i <= N2; ++i)
    for (unsigned int j = 0; j <= N1 + 1; ++j) T[i * W + j] = inverse * swapped[j * swappedW + i];
}

/// dT/ds with r fixed, rows 0 .. N2 of length N1 + 1:
/// dT[i][0] = -T[i][1]/2, dT[i][j] = j T[i][j-1] - T[i][j+1]/2.
template <class Scalar>
inline void BuildTranslationMatrixDerivative(unsigned int N1, unsigned int N2, const Scalar* T,
                                             Scalar* dT) {
  const unsigned int W = N1 + N2 + 2;
  for (unsigned int i = 0; i <= N2; ++i, T += W, dT += N1 + 1) {
    dT[0] = Scalar(-0.5) * T[1];
    for (unsigned int j = 1; j <= N1; ++j)
      dT[j] = Scalar(static_cast<double>(j)) * T[j - 1] - Scalar(0.5) * T[j + 1];
  }
}

/// columns[j (N2 + 1) + i] = matrix[i W + j] for i = 0 .. N2, j = 0 .. N1: the stages add columns.
template <class Scalar>
inline void Transpose(unsigned int N1, unsigned int N2, unsigned int W, const Scalar* matrix,
                      Scalar* columns) {
  for (unsigned int j = 0; j <= N1; ++j)
    for (unsigned int i = 0; i <= N2; ++i) *columns++ = matrix[i * W + j];
}

/// out[c] = sum over t < terms of factors[t] rows[t stride + c] for c < Width: Width sums that stay
/// in registers.
template <unsigned int Width, class Scalar>
inline void CombineChunk(unsigned int terms, const Scalar* factors, const Scalar* rows,
                         unsigned int stride, Scalar* out) {
  Scalar sum[Width] = {};
  for (unsigned int t = 0; t < terms; ++t, rows += stride)
    for (unsigned int c = 0; c < Width; ++c) sum[c] += factors[t] * rows[c];
  for (unsigned int c = 0; c < Width; ++c) out[c] = sum[c];
}

/// out[0 .. count - 1] = sum over t < terms of factors[t] times row t of rows. The one operation
/// of all three stages.
template <class Scalar>
inline void CombineRows(unsigned int count, unsigned int terms, const Scalar* factors,
                        const Scalar* rows, unsigned int stride, Scalar* out) {
  for (; count >= 4; count -= 4, rows += 4, out += 4)
    CombineChunk<4>(terms, factors, rows, stride, out);
  if (count >= 2) {
    CombineChunk<2>(terms, factors, rows, stride, out);
    count -= 2, rows += 2, out += 2;
  }
  if (count == 1) CombineChunk<1>(terms, factors, rows, stride, out);
}

/// Calls visit(place) for (l, m, 0), (l, m, 1) .. (l, m, count - 1), place being the position in
/// shell order.
template <class Visit>
inline void WalkAlongN(unsigned int l, unsigned int m, unsigned int count, Visit&& visit) {
  unsigned int s = l + m;
  unsigned int place = l * (2 * s - l + 3) / 2 + m + s * (s + 1) * (s + 2) / 6;
  for (unsigned int n = 0; n < count; ++n) {
    visit(place);
    place += (s + 1) * (s + 2) / 2 + l;  // one shell further
    ++s;
  }
}

/// The z stage: Z[l][m][k] = sum over n of T[k][n] in[l, m, n], for l + m <= N1 packed and
/// k = 0 .. N2; in stands in shell order, columns is T transposed. work: N1 + 1 scalars.
template <class Scalar>
inline void TranslateZ(unsigned int N1, unsigned int N2, const Scalar* columns, const Scalar* in,
                       Scalar* Z, Scalar* work) {
  const unsigned int length = N2 + 1;
  for (unsigned int l = 0; l <= N1; ++l) {
    for (unsigned int m = 0; m <= N1 - l; ++m, Z += length) {
      const unsigned int terms = N1 - l - m + 1;
      Scalar* next = work;
      WalkAlongN(l, m, terms, [&](unsigned int place) { *next++ = in[place]; });
      CombineRows(length, terms, work, columns, length, Z);
    }
  }
}

/// The y stage: Y[l][j][k] = sum over m of T[j][m] Z[l][m][k], for j + k <= N2 packed; matrix is
/// T of the y axis with row length W.
template <class Scalar>
inline void TranslateY(unsigned int N1, unsigned int N2, unsigned int W, const Scalar* matrix,
                       const Scalar* Z, Scalar* Y) {
  const unsigned int length = N2 + 1;
  for (unsigned int l = 0; l <= N1; ++l) {
    for (unsigned int j = 0; j <= N2; ++j) {
      const unsigned int count = N2 - j + 1;
      CombineRows(count, N1 - l + 1, matrix + j * W, Z, length, Y);
      Y += count;
    }
    Z += (N1 - l + 1) * length;
  }
}

/// The x stage: out[i, j, k] = sum over l of T[i][l] Y[l][j][k], in shell order; matrix is T of
/// the x axis with row length W. work: N2 + 1 scalars.
template <class Scalar>
inline void TranslateX(unsigned int N1, unsigned int N2, unsigned int W, const Scalar* matrix,
                       const Scalar* Y, Scalar* out, Scalar* work) {
  const unsigned int plane = (N2 + 1) * (N2 + 2) / 2;
  for (unsigned int i = 0; i <= N2; ++i) {
    const Scalar* rows = Y;
    for (unsigned int j = 0; j <= N2 - i; ++j) {
      const unsigned int count = N2 - i - j + 1;
      CombineRows(count, N1 + 1, matrix + i * W, rows, plane, work);
      const Scalar* next = work;
      WalkAlongN(i, j, count, [&](unsigned int place) { out[place] = *next++; });
      rows += N2 - j + 1;
    }
  }
}

}  // namespace QXHermiteMath::kernel
