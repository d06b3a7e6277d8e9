#pragma once

#include <algorithm>
#include <vector>

#include "hermite/foundations/basis.h"
#include "hermite/foundations/options.h"

namespace QXHermiteMath {

/// Doubles in T for rows up to degree a and columns up to degree b: (a' + b' + 2)(a' + 1), each
/// degree read as signed and clamped up to 1. For source degree N1 and target degree N2:
/// HermiteTranslationMatrixSize(N2, N1).
constexpr unsigned int HermiteTranslationMatrixSize(unsigned int a, unsigned int b) {
  const unsigned int rows = static_cast<unsigned int>(std::max(static_cast<int>(a), 1));
  const unsigned int columns = static_cast<unsigned int>(std::max(static_cast<int>(b), 1));
  return (rows + columns + 2) * (rows + 1);
}

/// Doubles in dT/ds: (b' + 1)(a' + 1), clamped in the same way.
constexpr unsigned int HermiteTranslationMatrixDerivativeSize(unsigned int a, unsigned int b) {
  const unsigned int rows = static_cast<unsigned int>(std::max(static_cast<int>(a), 1));
  const unsigned int columns = static_cast<unsigned int>(std::max(static_cast<int>(b), 1));
  return (columns + 1) * (rows + 1);
}

/// Moves an expansion and re-expands it in another basis, in one step: the orthogonal projection
/// of the moved function on the target basis, from analytic overlaps of one-dimensional Hermite
/// functions, one small matrix an axis. See translation_kernel.h for the formulas.
///
/// Built once for the larger of both degrees and reused: an object is scratch, one thread at a
/// time. Nothing is checked; a lambda of 0 divides by zero.
class QXHermiteTranslation {
 public:
  QXHermiteTranslation() = default;
  /// N: the largest degree to be served, on either side.
  explicit QXHermiteTranslation(unsigned int N);

  /// Fills T for source degree N1 (columns) and target degree N2 (rows), row length N1 + N2 + 2,
  /// with r = lambda_src/lambda_tgt and s = -lambda_src t. Rows 0 .. N2 and columns 0 .. N1 + 1 are
  /// accurate for any r; beyond column N1 + 1 stand the recurrence's own values. Always true.
  bool BuildTranslationMatrix(double r, double s, unsigned int N1, unsigned int N2);
  /// Fills dT/ds, row length N1 + 1, from the T of the same degrees. Always true.
  bool BuildTranslationMatrixDerivative(unsigned int N1, unsigned int N2);

  /// The source expansion moved by t (tx, ty, tz, angstrom), in the target basis.
  /// in: BasisSize(N1) coefficients, shell order, source widths. out: BasisSize(N2) values at
  /// least, shell order, another vector than in. A positive t moves the density towards positive
  /// coordinates. With leaveUnscaled the division by K_i K_j K_k is left out, and out holds
  /// overlaps with the target products instead of coefficients. index is not read.
  /// Always true.
  bool Translate(double const* t, QXHermiteOptions const& source, QXHermiteOptions const& target,
                 std::vector<double> const& in, std::vector<double>& out,
                 QXHermiteIndex const& index, bool leaveUnscaled);

  /// out holds four blocks of BasisSize(N2), all unscaled: the overlaps, then their derivatives by
  /// s_x, s_y, s_z; times -lambda_a(source) they are derivatives by t_a. Always true.
  bool TranslateWithDerivatives(double const* t, QXHermiteOptions const& source,
                                QXHermiteOptions const& target, std::vector<double> const& in,
                                std::vector<double>& out, QXHermiteIndex const& index);

  /// T of the axis built last, row length N1 + N2 + 2.
  const std::vector<double>& GetTranslationMatrix() const { return translationMatrix; }
  /// dT/ds of the axis built last, row length N1 + 1.
  const std::vector<double>& GetTranslationMatrixDerivative() const {
    return translationMatrixDerivative;
  }

 private:
  struct Bases;

  std::vector<double> translationMatrix;
  std::vector<double> translationMatrixDerivative;
  std::vector<double> stageY;
  std::vector<double> stageZ;
  std::vector<double> stageYDerivativeY;
  std::vector<double> stageZDerivativeZ;
  std::vector<double> stageYDerivativeZ;
  std::vector<double> columns;  // T or dT of the z axis, transposed
  std::vector<double> work;     // one row of coefficients
  std::vector<double> swapped;  // T of the swapped integral
};

}  // namespace QXHermiteMath
