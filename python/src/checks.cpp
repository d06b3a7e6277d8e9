#include "python/src/checks.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

#include "hermite/foundations/basis.h"
#include "host/grid/grid_file.h"

namespace QXPython {

using QXCore::QXGaussian;

void Refuse(const char* name, const std::string& what) {
  throw py::value_error(std::string(name) + ": " + what);
}

namespace {

std::string Text(double value) {
  return py::repr(py::float_(value)).cast<std::string>();
}

}  // namespace

double CheckFinite(double value, const char* name) {
  if (!(std::abs(value) <= FLT_MAX)) Refuse(name, "must be finite, not " + Text(value));
  return value;
}

double CheckPositive(double value, const char* name) {
  if (!(value >= FLT_MIN && value <= FLT_MAX)) {
    Refuse(name, "must be positive, not " + Text(value));
  }
  return value;
}

unsigned int CheckCount(long long value, unsigned int largest, const char* name) {
  if (value < 0 || value > static_cast<long long>(largest)) {
    Refuse(name, "must be 0 to " + std::to_string(largest) + ", not " + std::to_string(value));
  }
  return static_cast<unsigned int>(value);
}

unsigned int CheckDegree(long long degree, const char* name) {
  return CheckCount(degree, kLargestDegree, name);
}

void CheckSize(const py::array& array, size_t size, const char* name) {
  if (static_cast<size_t>(array.size()) == size) return;
  Refuse(name, "expected " + std::to_string(size) + " values, got " + std::to_string(array.size()));
}

unsigned int DegreeOf(const Array& coefficients, unsigned int largest) {
  RequireShape(coefficients, {kAny}, "coefficients");
  for (unsigned int N = 0; N <= largest; ++N) {
    if (QXHermiteMath::QXHermiteBasisSize(N) == coefficients.size()) return N;
  }
  Refuse("coefficients", std::to_string(coefficients.size()) + " are no basis of a degree up to " +
                             std::to_string(largest));
}

std::vector<double> ToFinite(const Array& values, std::initializer_list<py::ssize_t> shape,
                             const char* name) {
  RequireFinite(values, name);
  return ToVector(values, shape, name);
}

std::vector<double> CheckCoefficients(const Array& values, unsigned int N, const char* name) {
  return ToVector(values, {QXHermiteMath::QXHermiteBasisSize(N)}, name);
}

std::vector<QXGaussian> CheckedGaussians(const Array& rows, const char* name) {
  std::vector<QXGaussian> gaussians = ToGaussians(rows, name);
  for (const QXGaussian& g : gaussians) {
    const float values[] = {g.GetX(), g.GetY(), g.GetZ(), g.GetAmplitude(), g.GetWidth()};
    if (!std::ranges::all_of(values, [](float value) { return std::isfinite(value); })) {
      Refuse(name, "must be finite, also in single precision");
    }
    if (!(g.GetWidth() >= FLT_MIN)) Refuse(name, "widths, the last column, must be positive");
  }
  return gaussians;
}

const QXCore::QXScalarGrid& CheckValues(const QXCore::QXScalarGrid& grid, const char* name) {
  if (const size_t count = QXCore::QXCountNonFinite(grid)) {
    Refuse(name, std::to_string(count) + " values are not finite");
  }
  return grid;
}

QXMolKit::QXConfBase& GetConformer(const QXMolKit::QXMol& mol, long long index) {
  const long long count = mol.NumConfs();
  const long long place = index < 0 ? index + count : index;
  if (place < 0 || place >= count) {
    throw py::index_error("conformer: " + std::to_string(index) + " of " + std::to_string(count));
  }
  std::unique_ptr<QXMolKit::QXIterator<QXMolKit::QXConfBase>> conformers(mol.GetConfs());
  for (long long i = 0; i < place; ++i) conformers->Next();
  return *conformers->Get();
}

namespace {

/// Whether the upper left 3 x 3 of an array of rows of `stride` values is a rotation.
bool IsRotation(const double* m, size_t stride) {
  constexpr double kSlack = 1e-3;  // poses are made in single precision
  const double *x = m, *y = m + stride, *z = m + 2 * stride;
  const auto dot = [](const double* a, const double* b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
  };
  const double cross[3] = {y[1] * z[2] - y[2] * z[1], y[2] * z[0] - y[0] * z[2],
                           y[0] * z[1] - y[1] * z[0]};
  const auto near = [](double value, double wanted) { return std::abs(value - wanted) < kSlack; };
  return near(dot(x, x), 1) && near(dot(y, y), 1) && near(dot(z, z), 1) && near(dot(x, y), 0) &&
         near(dot(x, z), 0) && near(dot(y, z), 0) && dot(x, cross) > 0;
}

}  // namespace

std::vector<double> ToRotation(const Array& matrix, const char* name) {
  std::vector<double> m = ToVector(matrix, {3, 3}, name);
  if (!IsRotation(m.data(), 3)) Refuse(name, "must be a rotation: orthonormal, determinant 1");
  return m;
}

QXMolKit::QXTrans ToTrans(const Array& transform, const char* name) {
  const std::vector<double> m = ToVector(transform, {4, 4}, name);
  const bool lastRow = m[12] == 0 && m[13] == 0 && m[14] == 0 && m[15] == 1;
  if (!lastRow || !IsRotation(m.data(), 4)) {
    Refuse(name, "must be rigid: a rotation, a translation, and 0, 0, 0, 1");
  }
  const double R[9] = {m[0], m[1], m[2], m[4], m[5], m[6], m[8], m[9], m[10]};
  double t[3];
  for (size_t row = 0; row < 3; ++row) t[row] = CheckFinite(m[4 * row + 3], name);
  QXMolKit::QXTrans trans;
  trans.Append(QXMolKit::QXRotMatrix(R));
  trans.Append(QXMolKit::QXTranslation(t));
  return trans;
}

QXMolKit::QXTrans ToTrans(const py::object& transform, const char* name) {
  if (transform.is_none()) return {};
  return ToTrans(Array(transform), name);
}

py::array_t<double> FromTrans(const QXMolKit::QXTrans& trans) {
  double R[9], t[3];
  trans.Extract(R, t, true);
  return ToArray(
      {R[0], R[1], R[2], t[0], R[3], R[4], R[5], t[1], R[6], R[7], R[8], t[2], 0, 0, 0, 1}, {4, 4});
}

}  // namespace QXPython
