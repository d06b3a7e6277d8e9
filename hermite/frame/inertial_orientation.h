#pragma once

#include <vector>

#include "hermite/foundations/options.h"
#include "host/core/gaussian.h"

// The frame from which overlays start: long axis along x, middle along y, short along z. A
// principal frame is fixed only up to half turns, so the half-turned coefficient vectors stand
// here too.
//
// The second-moment matrix T = ((M200, M110, M101), (M110, M020, M011), (M101, M011, M002)) of the
// expansion is used as it stands, about the origin and undivided: its largest eigenvalue belongs
// to the longest axis.

namespace QXHermiteMath {

using QXCore::QXGaussian;

/// The coefficient vectors after a half turn about x, y and z, in this order; signs alone, because
/// h_k(-t) = (-1)^k h_k(t). turned is replaced. N comes from the options. Always true.
bool ComputeInertialHermiteVectors(std::vector<double> const& coefficients,
                                   QXHermiteOptions const& options,
                                   std::vector<std::vector<double>>& turned);

/// Turns Gaussians into the principal frame of their expansion, in place, about the origin of
/// their coordinates.
///
/// center: minus the Hermite centre of mass: the shift that would bring it to the origin. It is
/// only reported: who wants a turn about the centre moves the Gaussians first.
/// rotation: nine doubles, row-major, rows are eigenvectors, determinant +1; applied as P' = m P.
/// tensor: the three rows of T. eigenvalues: falling. All four are replaced. The result is 0.
///
/// The expansion uses the smallest of the three widths, the moments the three as given.
int QXOrientByHermiteMomentsOfInertia(std::vector<QXGaussian>& gaussians, unsigned int N,
                                      double lambdaX, double lambdaY, double lambdaZ,
                                      std::vector<double>& center, std::vector<double>& rotation,
                                      std::vector<std::vector<double>>& tensor,
                                      std::vector<double>& eigenvalues);

/// The same with one width for all axes.
int QXOrientByHermiteMomentsOfInertia(std::vector<QXGaussian>& gaussians, unsigned int N,
                                      double lambda, std::vector<double>& center,
                                      std::vector<double>& rotation,
                                      std::vector<std::vector<double>>& tensor,
                                      std::vector<double>& eigenvalues);

/// Sorts three eigenvalues from high to low, ties to the lower index. On entry vectors[r][j] is
/// component r of eigenvector j; on exit vectors[k] is the eigenvector of values[k], as a row.
/// A NaN is reported as a warning and leaves both arguments as they were.
void OrderEigenvaluesHighToLow(std::vector<double>& values,
                               std::vector<std::vector<double>>& vectors);

/// Appends the three rows of vectors to rotation, without clearing it.
void ComputeRotationMatrix(std::vector<std::vector<double>> const& vectors,
                           std::vector<double>& rotation);

/// Turns the centres in place, P' = m P with m row-major: in double, narrowed once.
void QXRotateGaussians(std::vector<QXGaussian>& gaussians, std::vector<double> const& rotation);

}  // namespace QXHermiteMath
