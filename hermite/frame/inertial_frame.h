#pragma once

#include <array>
#include <optional>
#include <span>

#include "host/core/gaussian.h"

// The frame from which overlays of molecules start, from the Gaussians themselves: no expansion,
// hence no degree and no width.

namespace QXHermiteMath {

using QXCore::QXGaussian;

/// A rigid change of coordinates, p to rotation (p - centre). rotation: row-major, orthonormal,
/// determinant +1.
struct InertialFrame {
  /// See above; angstrom.
  std::array<double, 3> centre{};
  std::array<double, 9> rotation{1, 0, 0, 0, 1, 0, 0, 0, 1};
};

/// The frame with the origin in the mean of the places and the long, middle and short axis of the
/// density along x, y and z: the eigenvectors of its second moments about that mean. It is unique
/// up to half turns about the axes where the three moments differ, and one of many where they do
/// not. Of the half turns it takes the one that leaves the largest components of the x and the y
/// axis positive. Empty without Gaussians, or with values that are not finite.
std::optional<InertialFrame> FindInertialFrame(std::span<const QXGaussian> gaussians);

/// Takes the Gaussians into the frame: worked out in double, narrowed once.
void MoveInto(InertialFrame const& frame, std::span<QXGaussian> gaussians);

}  // namespace QXHermiteMath
