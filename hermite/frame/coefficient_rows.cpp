#include "hermite/frame/coefficient_rows.h"

#include "hermite/foundations/basis.h"

namespace QXHermiteMath {

CoefficientRows::CoefficientRows(unsigned int newN) : N(newN), starts((newN + 1) * (newN + 1)) {
  size = N + 3;  // the row of zeros
  for (unsigned int l = 0; l <= N; ++l) {
    for (unsigned int m = 0; m <= N - l; ++m) {
      starts[l * (N + 1) + m] = size + 1;
      size += N - l - m + 3;
    }
  }
  ForEachLmn(N, [&](unsigned int, unsigned int l, unsigned int m, unsigned int n) {
    shellOrder.push_back(Place(l, m, n));
  });
  for (unsigned int l = 0; l <= N; ++l) {
    for (unsigned int m = 0; m <= N - l; ++m) {
      rows.push_back({l, m, N + 1 - l - m, Place(l, m, 0), RowOrZeros(l, m - 1),
                      RowOrZeros(l, m + 1), RowOrZeros(l - 1, m), RowOrZeros(l + 1, m),
                      RowOrZeros(l - 1, m + 1), RowOrZeros(l + 1, m - 1)});
    }
  }
  for (unsigned int d = 0; d <= N; ++d) {
    lineStart.push_back(static_cast<unsigned int>(lines[kXY].size()));
    for (unsigned int third = 0; third <= N - d; ++third) {
      const unsigned int fourth = N - d - third;
      for (unsigned int t = 0; t <= d; ++t) {
        lines[kYZ].push_back(Place(third, t, d - t));
        lines[kZX].push_back(Place(d - t, third, t));
        lines[kXY].push_back(Place(t, d - t, third));
        lines[kAlongX].push_back(Place(t, third, fourth));
        lines[kAlongY].push_back(Place(third, t, fourth));
        lines[kAlongZ].push_back(Place(third, fourth, t));
      }
    }
  }
}

// Indices below 0 have wrapped round.
unsigned int CoefficientRows::RowOrZeros(unsigned int l, unsigned int m) const {
  return l <= N && m <= N && l + m <= N ? Place(l, m, 0) : 1;
}

}  // namespace QXHermiteMath
