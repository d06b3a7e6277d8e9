#pragma once

#include <array>
#include <vector>

namespace QXHermiteMath {

/// How the kernels of overlaps keep coefficients: for each pair (l, m) a row over n, a zero before
/// and after it. So every neighbour of a coefficient in the basis has a place, and those that are
/// not in the basis hold zero, without a question asked. `zeroRow` is a row of zeros.
///
/// Lines are the coefficients that an operation along an axis, or in a plane, mixes. In each of the
/// six directions there are N + 1 - d lines of d + 1 coefficients for d = 0 .. N, and their places
/// are listed by rising d, those of degree d from lineStart[d]. Line element t belongs
///   - in the planes kYZ, kZX, kXY to the first index t and the second d - t,
///   - along the axes to the index t.
class CoefficientRows {
 public:
  enum Direction { kYZ, kZX, kXY, kAlongX, kAlongY, kAlongZ, kDirections };

  /// The places of row (l, m) and of those about it.
  struct Row {
    unsigned int l, m, count;  ///< count = N + 1 - l - m
    unsigned int here;
    unsigned int lessM, moreM, lessL, moreL, lessLMoreM, moreLLessM;
  };

  CoefficientRows() = default;
  explicit CoefficientRows(unsigned int newN);

  unsigned int Degree() const { return N; }
  /// The number of places.
  unsigned int Size() const { return size; }
  unsigned int Place(unsigned int l, unsigned int m, unsigned int n) const {
    return starts[l * (N + 1) + m] + n;
  }
  /// The places in shell order.
  const std::vector<unsigned int>& ShellOrder() const { return shellOrder; }
  const std::vector<Row>& Rows() const { return rows; }
  const unsigned int* LineStart() const { return lineStart.data(); }
  const unsigned int* Lines(Direction direction) const { return lines[direction].data(); }

 private:
  unsigned int RowOrZeros(unsigned int l, unsigned int m) const;

  unsigned int N = 0;
  unsigned int size = 0;
  std::vector<unsigned int> starts;
  std::vector<unsigned int> shellOrder;
  std::vector<Row> rows;
  std::vector<unsigned int> lineStart;
  std::array<std::vector<unsigned int>, kDirections> lines;
};

}  // namespace QXHermiteMath
