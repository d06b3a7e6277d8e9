#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace QXHermiteMath {

/// A rotation that takes axes to axes: unit vector j goes to sign[j] times unit vector axis[j].
struct AxisTurn {
  /// Of the image of each unit vector.
  std::array<unsigned int, 3> axis;
  std::array<int, 3> sign;

  /// Row-major.
  std::array<double, 9> Matrix() const;
};

/// How many there are.
inline constexpr size_t kAxisTurns = 24;

/// All of them: the identity, the half turns about x, y and z, and then the twenty others. Between
/// inertial frames of which the axes are only named by their moments they are the assignments of
/// axes to axes.
const std::array<AxisTurn, kAxisTurns>& GetAxisTurns();

/// What a turn does to coefficients of degree N in shell order, where the widths of the axes that
/// it exchanges are equal: nothing but to exchange them and change their signs.
class TurnOfCoefficients {
 public:
  /// Works out which coefficient goes where.
  TurnOfCoefficients(AxisTurn const& turn, unsigned int N);
  /// From `in` to `out`, another array.
  void operator()(const double* in, double* out) const;

 private:
  std::vector<unsigned int> places;
  std::vector<double> signs;
};

}  // namespace QXHermiteMath
