#include "hermite/frame/rotation.h"

#include <algorithm>
#include <cmath>

#include "hermite/frame/rotation_kernel.h"

namespace QXHermiteMath {

QXHermiteRotation::QXHermiteRotation(unsigned int N)
    : rotationMatrix(HermiteRotationMatrixSize(N)),
      rotationMatrixDerivative(HermiteRotationMatrixSize(N)),
      stageCoefficients(QXHermiteBasisSize(N)),
      stageResult(QXHermiteBasisSize(N)),
      stageDerivative(QXHermiteBasisSize(N)),
      work(3 * (N + 1)),
      inverse(N + 1) {
  for (unsigned int k = 1; k <= N; ++k) inverse[k] = 1.0 / k;
  ListGroups(N);
}

// The row of a block is the first index of the plane: l in (l, m), n in (n, l), m in (m, n). The
// third index, which stays, numbers the groups.
void QXHermiteRotation::ListGroups(unsigned int N) {
  for (std::vector<unsigned int>& list : groups) list.reserve(QXHermiteBasisSize(N));
  for (unsigned int d = 0; d <= N; ++d) {
    groupStart.push_back(static_cast<unsigned int>(groups[kX].size()));
    for (unsigned int third = 0; third <= N - d; ++third) {
      for (unsigned int t = 0; t <= d; ++t) {
        groups[kX].push_back(GetLmnIndex(third, t, d - t));
        groups[kY].push_back(GetLmnIndex(d - t, third, t));
        groups[kZ].push_back(GetLmnIndex(t, d - t, third));
      }
    }
  }
}

bool QXHermiteRotation::BuildRotationMatrix(double angle, unsigned int N) {
  kernel::BuildRotationBlocks(std::cos(angle), std::sin(angle), N, inverse.data(),
                              rotationMatrix.data());
  return true;
}

bool QXHermiteRotation::BuildRotationMatrixWithDerivative(double angle, unsigned int N) {
  BuildRotationMatrix(angle, N);
  kernel::BuildRotationBlockDerivatives(N, rotationMatrix.data(), rotationMatrixDerivative.data());
  return true;
}

template <bool Derivative, unsigned int Vectors>
void QXHermiteRotation::Stage(Axis axis, unsigned int N, const double* const (&in)[Vectors],
                              double* const (&out)[Vectors], double* derivative) {
  kernel::PlanarStageData<Vectors, double> data;
  data.M = rotationMatrix.data();
  data.dM = rotationMatrixDerivative.data();
  std::copy_n(in, Vectors, data.in);
  std::copy_n(out, Vectors, data.out);
  data.derivative = derivative;
  kernel::PlanarStage<Derivative>(N, groups[axis].data(), groupStart.data(), data, work.data());
}

bool QXHermiteRotation::Rotate(double const* angles, unsigned int N, std::vector<double> const& in,
                               std::vector<double>& out, QXHermiteIndex const&) {
  const auto stage = [&](Axis axis, const double* source, double* target) {
    BuildRotationMatrix(angles[axis], N);
    Stage<false, 1>(axis, N, {source}, {target}, nullptr);
  };
  stage(kZ, in.data(), stageCoefficients.data());
  stage(kY, stageCoefficients.data(), stageResult.data());
  stage(kX, stageResult.data(), out.data());
  return true;
}

bool QXHermiteRotation::RotateWithDerivatives(double const* angles, unsigned int N,
                                              std::vector<double> const& in,
                                              std::vector<double>& out, QXHermiteIndex const&) {
  const size_t basisSize = QXHermiteBasisSize(N);
  double* value = out.data();
  double* byAlpha = value + basisSize;
  double* byBeta = byAlpha + basisSize;
  double* byGamma = byBeta + basisSize;
  double* V1 = stageCoefficients.data();
  double* V2 = stageResult.data();

  // The derivative by gamma enters at stage 1, by beta at stage 2, by alpha at stage 3. Blocks of
  // out that are not due yet hold those on their way.
  double* G1 = byGamma;
  double* B2 = byAlpha;
  double* G2 = stageDerivative.data();
  BuildRotationMatrixWithDerivative(angles[kZ], N);
  Stage<true, 1>(kZ, N, {in.data()}, {V1}, G1);

  BuildRotationMatrixWithDerivative(angles[kY], N);
  Stage<true, 2>(kY, N, {V1, G1}, {V2, G2}, B2);
  std::copy_n(B2, basisSize, V1);

  BuildRotationMatrixWithDerivative(angles[kX], N);
  Stage<true, 3>(kX, N, {V2, V1, G2}, {value, byBeta, byGamma}, byAlpha);
  return true;
}

}  // namespace QXHermiteMath
