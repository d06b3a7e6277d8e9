#pragma once

#include <pybind11/pybind11.h>

#include <filesystem>
#include <string>
#include <vector>

#include "hermite/foundations/options.h"
#include "host/core/gaussian.h"
#include "host/grid/scalar_grid.h"
#include "host/molkit/mol.h"
#include "host/molkit/trans.h"
#include "python/src/arrays.h"

// Checks of what comes from Python, since the library trusts its callers: ValueErrors that name the
// argument. Rigid motions as 4 x 4 arrays stand here too.

namespace QXPython {

/// As -NPolyMax has it.
inline constexpr unsigned int kLargestDegree = 100;

/// The value as a ValueError, "spacing: must be positive, not -1.0".
[[noreturn]] void Refuse(const char* name, const std::string& what);

/// A finite number, and a positive one, that floats can hold too.
double CheckFinite(double value, const char* name);
double CheckPositive(double value, const char* name);
/// An index or a count, 0 to `largest`. Integers of any size come in.
unsigned int CheckCount(long long value, unsigned int largest, const char* name);
/// A degree, 0 to 100.
unsigned int CheckDegree(long long degree, const char* name = "degree");
/// An array of any shape with `size` values.
void CheckSize(const py::array& array, size_t size, const char* name);

/// The degree of which so many coefficients are the basis, at most `largest`.
unsigned int DegreeOf(const Array& coefficients, unsigned int largest = kLargestDegree);

/// A flat copy of finite values, after RequireShape.
std::vector<double> ToFinite(const Array& values, std::initializer_list<py::ssize_t> shape,
                             const char* name);

/// Coefficients in shell order, of the size of the basis of degree N.
std::vector<double> CheckCoefficients(const Array& values, unsigned int N,
                                      const char* name = "coefficients");

/// Gaussians whose numbers are finite in single precision too, with widths above 0.
std::vector<QXCore::QXGaussian> CheckedGaussians(const Array& rows, const char* name = "gaussians");

/// A grid of finite values.
const QXCore::QXScalarGrid& CheckValues(const QXCore::QXScalarGrid& grid, const char* name);

/// The number of a conformer, negative ones counting from the end; IndexError.
QXMolKit::QXConfBase& GetConformer(const QXMolKit::QXMol& mol, long long index);

/// A rotation, (3, 3): orthonormal to 1e-3, and no mirror. Nine doubles, row-major.
std::vector<double> ToRotation(const Array& matrix, const char* name = "rotation");

/// A rigid transform, (4, 4): p' = R p + t; the last row is 0, 0, 0, 1.
QXMolKit::QXTrans ToTrans(const Array& transform, const char* name = "transform");
/// None is the identity.
QXMolKit::QXTrans ToTrans(const py::object& transform, const char* name = "transform");
py::array_t<double> FromTrans(const QXMolKit::QXTrans& trans);

}  // namespace QXPython
