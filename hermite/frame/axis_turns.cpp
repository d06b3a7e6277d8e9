#include "hermite/frame/axis_turns.h"

#include <algorithm>

#include "hermite/foundations/basis.h"

namespace QXHermiteMath {

namespace {

std::array<AxisTurn, kAxisTurns> ListAxisTurns() {
  constexpr std::array<unsigned int, 3> permutations[] = {{0, 1, 2}, {1, 2, 0}, {2, 0, 1},
                                                          {0, 2, 1}, {2, 1, 0}, {1, 0, 2}};
  constexpr int halfTurns[4][3] = {{1, 1, 1}, {1, -1, -1}, {-1, 1, -1}, {-1, -1, 1}};
  std::array<AxisTurn, kAxisTurns> turns;
  auto turn = turns.begin();
  for (size_t p = 0; p < 6; ++p) {
    const int handedness = p < 3 ? 1 : -1;  // an exchange of two axes needs a reflection too
    for (const auto& half : halfTurns) {
      *turn++ = {permutations[p],
                 {half[0] * handedness, half[1] * handedness, half[2] * handedness}};
    }
  }
  return turns;
}

}  // namespace

std::array<double, 9> AxisTurn::Matrix() const {
  std::array<double, 9> matrix{};
  for (size_t j = 0; j < 3; ++j) matrix[3 * axis[j] + j] = sign[j];
  return matrix;
}

const std::array<AxisTurn, kAxisTurns>& GetAxisTurns() {
  static const std::array<AxisTurn, kAxisTurns> turns = ListAxisTurns();
  return turns;
}

// The turned density at r is the density at the r_j' = sign[j] r_axis[j], so its function along
// axis[j] is that of the density along j, and H_k(-x) = (-1)^k H_k(x).
TurnOfCoefficients::TurnOfCoefficients(AxisTurn const& turn, unsigned int N) {
  ForEachLmn(N, [&](unsigned int, unsigned int l, unsigned int m, unsigned int n) {
    const unsigned int degrees[3] = {l, m, n};
    unsigned int turned[3];
    double sign = 1.0;
    for (size_t j = 0; j < 3; ++j) {
      turned[turn.axis[j]] = degrees[j];
      if (degrees[j] % 2 == 1) sign *= turn.sign[j];
    }
    places.push_back(GetLmnIndex(turned[0], turned[1], turned[2]));
    signs.push_back(sign);
  });
}

void TurnOfCoefficients::operator()(const double* in, double* out) const {
  for (size_t i = 0; i < places.size(); ++i) out[places[i]] = signs[i] * in[i];
}

}  // namespace QXHermiteMath
