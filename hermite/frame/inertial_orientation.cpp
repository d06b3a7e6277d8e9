#include "hermite/frame/inertial_orientation.h"

#include <Eigen/Dense>
#include <limits>

#include "hermite/expansion/hermite.h"
#include "hermite/foundations/basis.h"
#include "hermite/frame/center_of_mass.h"
#include "hermite/frame/moments.h"
#include "host/core/throw.h"

namespace QXHermiteMath {

namespace {

using Rows = std::vector<std::vector<double>>;

// Eigenvectors of a symmetric matrix by the general solver, as columns, in the solver's order.
void SolveEigenproblem(Rows const& T, std::vector<double>& values, Rows& vectors) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  values.assign(3, nan);
  vectors.assign(3, std::vector<double>(3, nan));
  Eigen::Matrix3d matrix;
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) matrix(r, c) = T[r][c];
  // The solver does not take non-finite matrices; NaN eigenvalues then bring the warning.
  if (!matrix.allFinite()) return;
  const Eigen::EigenSolver<Eigen::Matrix3d> solver(matrix, true);
  if (solver.info() != Eigen::Success) return;
  for (int j = 0; j < 3; ++j) {
    values[j] = solver.eigenvalues()[j].real();
    for (int r = 0; r < 3; ++r) vectors[r][j] = solver.eigenvectors()(r, j).real();
  }
}

// Negating all three rows turns a left-handed frame into a right-handed one.
void MakeRightHanded(Rows& vectors) {
  Eigen::Matrix3d matrix;
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) matrix(r, c) = vectors[r][c];
  if (!(matrix.determinant() < 0.0)) return;
  for (std::vector<double>& row : vectors)
    for (double& element : row) element = -element;
}

double Sign(unsigned int power) {
  return power % 2 == 0 ? 1.0 : -1.0;
}

}  // namespace

bool ComputeInertialHermiteVectors(std::vector<double> const& coefficients,
                                   QXHermiteOptions const& options,
                                   std::vector<std::vector<double>>& turned) {
  const unsigned int N = options.GetNPolyMax();
  turned.assign(3, std::vector<double>(QXHermiteBasisSize(N)));
  ForEachLmn(N, [&](unsigned int i, unsigned int l, unsigned int m, unsigned int n) {
    turned[0][i] = Sign(m + n) * coefficients[i];
    turned[1][i] = Sign(l + n) * coefficients[i];
    turned[2][i] = Sign(l + m) * coefficients[i];
  });
  return true;
}

void OrderEigenvaluesHighToLow(std::vector<double>& values, Rows& vectors) {
  const double a = values[0], b = values[1], c = values[2];
  std::vector<size_t> order;
  if (a >= b && b >= c)
    order = {0, 1, 2};
  else if (a >= c && c >= b)
    order = {0, 2, 1};
  else if (b >= a && a >= c)
    order = {1, 0, 2};
  else if (b >= c && c >= a)
    order = {1, 2, 0};
  else if (c >= a && a >= b)
    order = {2, 0, 1};
  else if (c >= b && b >= a)
    order = {2, 1, 0};
  if (order.empty()) {
    QXCore::QXThrow.Warning("Unexpected conditional logical error.");
    return;
  }

  const std::vector<double> oldValues = values;
  const Rows oldVectors = vectors;
  for (size_t k = 0; k < 3; ++k) {
    const size_t j = order[k];
    values[k] = oldValues[j];
    vectors[k] = {oldVectors[0][j], oldVectors[1][j], oldVectors[2][j]};
  }
}

void ComputeRotationMatrix(Rows const& vectors, std::vector<double>& rotation) {
  for (size_t r = 0; r < 3; ++r)
    for (size_t c = 0; c < 3; ++c) rotation.push_back(vectors[r][c]);
}

void QXRotateGaussians(std::vector<QXGaussian>& gaussians, std::vector<double> const& m) {
  for (QXGaussian& g : gaussians) {
    const double x = g.GetX(), y = g.GetY(), z = g.GetZ();
    g.SetX(static_cast<float>(m[0] * x + m[1] * y + m[2] * z));
    g.SetY(static_cast<float>(m[3] * x + m[4] * y + m[5] * z));
    g.SetZ(static_cast<float>(m[6] * x + m[7] * y + m[8] * z));
  }
}

int QXOrientByHermiteMomentsOfInertia(std::vector<QXGaussian>& gaussians, unsigned int N,
                                      double lambdaX, double lambdaY, double lambdaZ,
                                      std::vector<double>& center, std::vector<double>& rotation,
                                      Rows& tensor, std::vector<double>& eigenvalues) {
  const std::vector<double> r = QXOptimizationSearchOfHermiteCOM(
      gaussians, N, (lambdaY + lambdaX + lambdaZ) * 0.3333333333333333);
  center = {-r[0], -r[1], -r[2]};

  QXHermiteOptions options;
  options.SetNPolyMax(N);
  SetLambdas(options, lambdaX, lambdaY, lambdaZ);
  options.SetUseOptimalLambdas(false);
  QXHermite h;
  h.Setup(gaussians, options);

  const unsigned int degree = options.GetNPolyMax();  // the options refuse an N above 100
  const auto moment = [&](unsigned int a, unsigned int b, unsigned int c) {
    return Hermite3DMoment(a, b, c, degree, lambdaX, lambdaY, lambdaZ, h.GetCoefficients());
  };
  const double M200 = moment(2, 0, 0), M020 = moment(0, 2, 0), M002 = moment(0, 0, 2);
  const double M110 = moment(1, 1, 0), M101 = moment(1, 0, 1), M011 = moment(0, 1, 1);
  tensor = {{M200, M110, M101}, {M110, M020, M011}, {M101, M011, M002}};

  Rows vectors;
  SolveEigenproblem(tensor, eigenvalues, vectors);
  OrderEigenvaluesHighToLow(eigenvalues, vectors);
  MakeRightHanded(vectors);
  rotation.clear();
  ComputeRotationMatrix(vectors, rotation);
  QXRotateGaussians(gaussians, rotation);
  return 0;
}

int QXOrientByHermiteMomentsOfInertia(std::vector<QXGaussian>& gaussians, unsigned int N,
                                      double lambda, std::vector<double>& center,
                                      std::vector<double>& rotation, Rows& tensor,
                                      std::vector<double>& eigenvalues) {
  return QXOrientByHermiteMomentsOfInertia(gaussians, N, lambda, lambda, lambda, center, rotation,
                                           tensor, eigenvalues);
}

}  // namespace QXHermiteMath
