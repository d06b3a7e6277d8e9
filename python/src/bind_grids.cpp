#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "host/grid/field_grid.h"
#include "host/grid/grid_file.h"
#include "host/grid/grid_gaussian.h"
#include "host/grid/skew_grid.h"
#include "python/src/bindings.h"
#include "python/src/checks.h"
#include "python/src/reports.h"
#include "python/src/text.h"
#include "tools/grid_fit.h"

namespace QXPython {

using namespace QXCore;
using QXMolKit::QXMol;
using FloatArray = py::array_t<float, py::array::f_style | py::array::forcecast>;

namespace {

// What files can hold, and floats can tell apart.
constexpr double kLeastSpacing = 1e-5, kFarthest = 1e5;
// Of a grid that a transform makes: 4 GiB.
constexpr double kMostElements = 1 << 30;

float CheckSpacing(double spacing) {
  CheckPositive(spacing, "spacing");
  if (!(spacing >= kLeastSpacing && spacing <= kFarthest)) {
    Refuse("spacing", "must be 1e-5 to 1e5 angstrom");
  }
  return static_cast<float>(spacing);
}

/// Three coordinates within reach of floats.
std::array<double, 3> CheckPlace(const Array& place, const char* name) {
  RequireShape(place, {3}, name);
  std::array<double, 3> p;
  for (size_t axis = 0; axis < 3; ++axis) {
    p[axis] = place.data()[axis];
    if (!(std::abs(p[axis]) <= kFarthest)) Refuse(name, "must be within 1e5 angstrom");
  }
  return p;
}

/// A grid of zeros, element (0, 0, 0) at the origin.
QXScalarGrid MakeGrid(const std::array<long long, 3>& shape, double spacing, const Array& origin,
                      const std::string& title) {
  constexpr unsigned int kMost = std::numeric_limits<unsigned int>::max();
  unsigned int dim[3];
  double size = 1.0;
  for (size_t axis = 0; axis < 3; ++axis) {
    dim[axis] = CheckCount(shape[axis], kMost, "shape");
    size *= dim[axis];
  }
  if (!(size >= 1.0 && size <= kMost)) Refuse("shape", "must have 1 to 2^32 - 1 elements");
  const std::array<double, 3> first = CheckPlace(origin, "origin");
  QXScalarGrid grid;
  grid.SetSpacing(CheckSpacing(spacing));
  const auto mid = [&](size_t axis) {
    return static_cast<float>(first[axis] + 0.5 * (dim[axis] - 1.0) * spacing);
  };
  grid.SetMid(mid(0), mid(1), mid(2));
  grid.SetDim(dim[0], dim[1], dim[2]);
  grid.SetTitle(title);
  return grid;
}

QXScalarGrid FromArray(const FloatArray& values, const Array& origin, double spacing,
                       const std::string& title) {
  RequireShape(values, {kAny, kAny, kAny}, "values");
  QXScalarGrid grid =
      MakeGrid({values.shape(0), values.shape(1), values.shape(2)}, spacing, origin, title);
  std::copy_n(values.data(), values.size(), grid.GetValues());
  return grid;
}

py::tuple Shape(const QXScalarGrid& grid) {
  return py::make_tuple(grid.GetXDim(), grid.GetYDim(), grid.GetZDim());
}

/// The values themselves, x running fastest. In Python no grid changes its dimensions.
py::array Values(const py::object& self) {
  auto& grid = self.cast<QXScalarGrid&>();
  const py::ssize_t nx = grid.GetXDim(), ny = grid.GetYDim(), nz = grid.GetZDim();
  constexpr py::ssize_t kStep = sizeof(float);
  return py::array_t<float>({nx, ny, nz}, {kStep, kStep * nx, kStep * nx * ny}, grid.GetValues(),
                            self);
}

py::array_t<double> Origin(const QXScalarGrid& grid) {
  const std::array<double, 3> origin = QXGridOrigin(grid);
  return ToArray({origin.begin(), origin.end()});
}

py::array_t<double> Mid(const QXScalarGrid& grid) {
  return ToArray({grid.GetXMid(), grid.GetYMid(), grid.GetZMid()});
}

py::object GetMolecule(const QXScalarGrid& grid) {
  if (!grid.HasDataOfType<QXMol>(kQXGridMoleculeTag)) return py::none();
  return py::cast(grid.GetData<QXMol>(kQXGridMoleculeTag));
}

void SetMolecule(QXScalarGrid& grid, const QXMol* mol) {
  grid.DeleteData(kQXGridMoleculeTag);
  if (mol) grid.SetData(kQXGridMoleculeTag, QXMol(*mol));
}

QXScalarGrid ReadGrid(const std::filesystem::path& path) {
  return Call([&] {
    QXScalarGrid grid;
    QXReadGrid(path.string(), grid);
    return grid;
  });
}

void WriteGrid(const QXScalarGrid& grid, const std::filesystem::path& path,
               const std::string& format) {
  if (format != "auto" && format != "ccp4" && format != "cube") {
    Refuse("format", "'" + format + "' is none of auto, ccp4, cube");
  }
  Call([&] {
    if (format == "auto") return QXWriteGrid(path.string(), grid);
    return QXWriteGrid(path.string(), grid,
                       format == "cube" ? QXGridFormat::Cube : QXGridFormat::CCP4);
  });
}

py::array_t<double> Interpolate(const QXScalarGrid& grid, const Array& points, float outside) {
  RequireShape(points, {kAny, 3}, "points");
  std::vector<double> values(static_cast<size_t>(points.shape(0)));
  Call([&] {
    for (size_t i = 0; i < values.size(); ++i) {
      const double* p = points.data() + 3 * i;
      values[i] =
          QXLinearInterpolate<float>(grid, static_cast<float>(p[0]), static_cast<float>(p[1]),
                                     static_cast<float>(p[2]), outside);
    }
  });
  return ToArray(std::move(values));
}

py::tuple ElementAt(const QXScalarGrid& grid, const Array& point) {
  const std::array<double, 3> p = CheckPlace(point, "point");
  unsigned int element = 0;
  const bool inside = grid.SpatialCoordToElement(static_cast<float>(p[0]), static_cast<float>(p[1]),
                                                 static_cast<float>(p[2]), element);
  const unsigned int nx = grid.GetXDim(), ny = grid.GetYDim();
  return py::make_tuple(py::make_tuple(element % nx, element / nx % ny, element / nx / ny), inside);
}

/// The regular grid that covers a skew one.
QXScalarGrid MakeRegular(const QXSkewGrid& skew, std::optional<double> spacing) {
  const QXScalarGrid& values = skew.GetGrid();
  const float step = spacing ? CheckSpacing(*spacing) : values.GetSpacing();
  const double dim[3] = {static_cast<double>(values.GetXDim()),
                         static_cast<double>(values.GetYDim()),
                         static_cast<double>(values.GetZDim())};
  double elements = 1.0;
  for (size_t axis = 0; axis < 3; ++axis) {
    double length = 0.0;
    for (size_t k = 0; k < 3; ++k) length += std::abs(skew.GetSteps()[k][axis]) * dim[k];
    elements *= length / step + 1.0;
    const double middle = skew.GetPoint(0.5 * dim[0], 0.5 * dim[1], 0.5 * dim[2])[axis];
    if (!(std::abs(middle) <= kFarthest)) Refuse("grid", "moved farther than 1e5 angstrom");
  }
  if (!(elements <= kMostElements)) Refuse("spacing", "would make more than 2^30 elements");
  return Call([&] {
    QXScalarGrid out;
    QXMakeRegularGrid(out, skew, step);
    return out;
  });
}

QXScalarGrid Transformed(const QXScalarGrid& grid, const Array& transform,
                         std::optional<double> spacing) {
  const QXMolKit::QXTrans motion = ToTrans(transform);
  QXSkewGrid skew(grid);
  QXTransform(skew, motion);
  QXScalarGrid moved = MakeRegular(skew, spacing);
  QXTools::MoveAtoms(grid, motion, moved);
  return moved;
}

std::string Repr(const QXScalarGrid& grid) {
  const auto number = [](double value) {
    return py::str("{:g}").format(value).cast<std::string>();
  };
  const std::array<double, 3> origin = QXGridOrigin(grid);
  return "ScalarGrid(" + std::to_string(grid.GetXDim()) + " x " + std::to_string(grid.GetYDim()) +
         " x " + std::to_string(grid.GetZDim()) + ", spacing " + number(grid.GetSpacing()) +
         " A, origin (" + number(origin[0]) + ", " + number(origin[1]) + ", " + number(origin[2]) +
         "))";
}

bool AreEqual(const QXScalarGrid& a, const QXScalarGrid& b) {
  return Shape(a).equal(Shape(b)) && a.GetSpacing() == b.GetSpacing() &&
         Mid(a).attr("tolist")().equal(Mid(b).attr("tolist")()) && a.GetTitle() == b.GetTitle() &&
         std::equal(a.GetValues(), a.GetValues() + a.GetSize(), b.GetValues());
}

/// All but the place, which is that of the mid point, in the very floats.
py::tuple GetState(const py::object& self) {
  const auto& grid = self.cast<const QXScalarGrid&>();
  return py::make_tuple(Values(self), grid.GetXMid(), grid.GetYMid(), grid.GetZMid(),
                        grid.GetSpacing(), grid.GetTitle(), GetMolecule(grid));
}

QXScalarGrid SetState(const py::tuple& state) {
  if (state.size() != 7) Refuse("state", "expected seven items");
  QXScalarGrid grid = FromArray(state[0].cast<FloatArray>(), ToArray({0.0, 0.0, 0.0}),
                                state[4].cast<double>(), state[5].cast<std::string>());
  grid.SetMid(state[1].cast<float>(), state[2].cast<float>(), state[3].cast<float>());
  SetMolecule(grid, state[6].cast<const QXMol*>());
  return grid;
}

void BindScalarGrid(py::module_& module) {
  py::class_<QXScalarGrid>(
      module, "ScalarGrid",
      "Values on a regular grid, in single precision: values[i, j, k] stands at\n"
      "origin + spacing (i, j, k), angstrom. The dimensions of a grid do not change.")
      .def(py::init(&MakeGrid), py::arg("shape"), py::arg("spacing"),
           py::arg("origin") = py::make_tuple(0.0, 0.0, 0.0), py::arg("title") = "",
           "A grid of zeros. shape: three integers. spacing: 1e-5 to 1e5 angstrom. origin: the\n"
           "place of element (0, 0, 0), (3,), to which it is kept to single precision.")
      .def_static("from_array", &FromArray, py::arg("values"), py::arg("origin"),
                  py::arg("spacing"), py::arg("title") = "",
                  "A grid with a copy of values, (nx, ny, nz), narrowed to single precision.")
      .def_static("read", &ReadGrid, py::arg("path"), "See read_grid.")
      .def("write", &WriteGrid, py::arg("path"), py::arg("format") = "auto",
           "Write a file: .ccp4, .map, .mrc, .cube or .cub; format: auto, ccp4 or cube.\n"
           "QXHermiteError where that fails.")
      .def_property_readonly("values", &Values,
                             "(nx, ny, nz) float32: the values themselves, for reading and\n"
                             "writing, without a copy. x runs fastest.")
      .def_property_readonly("shape", &Shape)
      .def_property_readonly("spacing", &QXScalarGrid::GetSpacing, "Angstrom.")
      .def_property_readonly("origin", &Origin, "The place of element (0, 0, 0), (3,) angstrom.")
      .def_property_readonly("mid", &Mid, "The place of the mid point, (3,) angstrom.")
      .def_property(
          "title", [](const QXScalarGrid& grid) { return FromText(grid.GetTitle()); },
          [](QXScalarGrid& grid, const py::str& title) { grid.SetTitle(ToText(title)); })
      .def_property("molecule", &GetMolecule, &SetMolecule,
                    "The atoms of a cube file, a Molecule or None; a copy.")
      .def("interpolate", &Interpolate, py::arg("points"), py::arg("outside") = 0.0f,
           "Values at points, (n, 3) angstrom, by trilinear interpolation; `outside` where the\n"
           "elements do not surround a point. (n,).")
      .def("element_at", &ElementAt, py::arg("point"),
           "((i, j, k), inside): the element whose cell holds a point, clamped to the grid.")
      .def(
          "transformed", &Transformed, py::arg("transform"), py::arg("spacing") = py::none(),
          "The field moved by p' = R p + t, (4, 4), resampled on the regular grid that covers it,\n"
          "with the atoms it may carry.")
      .def("__repr__", &Repr)
      .def("__eq__",
           [](const QXScalarGrid& a, const py::object& other) {
             return py::isinstance<QXScalarGrid>(other) &&
                    AreEqual(a, other.cast<const QXScalarGrid&>());
           })
      .def("__copy__", [](const QXScalarGrid& grid) { return QXScalarGrid(grid); })
      .def("__deepcopy__", [](const QXScalarGrid& grid, py::handle) { return QXScalarGrid(grid); })
      .def(py::pickle(&GetState, &SetState));
}

QXSkewGrid MakeSkew(const QXScalarGrid& grid, const std::optional<Array>& origin,
                    const std::optional<Array>& steps) {
  if (!origin && !steps) return QXSkewGrid(grid);
  if (!origin || !steps) Refuse("steps", "go with an origin");
  const std::vector<double> m = ToVector(*steps, {3, 3}, "steps");
  RequireFinite(*steps, "steps");
  const double volume = m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) +
                        m[2] * (m[3] * m[7] - m[4] * m[6]);
  if (!(std::abs(volume) > kLeastSpacing * kLeastSpacing * kLeastSpacing)) {
    Refuse("steps", "must span space");
  }
  return {grid,
          CheckPlace(*origin, "origin"),
          {{{m[0], m[1], m[2]}, {m[3], m[4], m[5]}, {m[6], m[7], m[8]}}}};
}

void BindSkewGrid(py::module_& module) {
  py::class_<QXSkewGrid>(
      module, "SkewGrid",
      "A grid with axes of its own, moved without resampling: element (i, j, k) stands at\n"
      "origin + i a + j b + k c. The values are copied.")
      .def(py::init(&MakeSkew), py::arg("grid"), py::arg("origin") = py::none(),
           py::arg("steps") = py::none(),
           "Of a grid as it stands, or its values with another origin, (3,), and steps, (3, 3),\n"
           "the rows a, b, c.")
      .def_property_readonly("grid", [](const QXSkewGrid& skew) { return skew.GetGrid(); })
      .def_property_readonly("origin",
                             [](const QXSkewGrid& skew) {
                               return ToArray({skew.GetOrigin().begin(), skew.GetOrigin().end()});
                             })
      .def_property_readonly("steps",
                             [](const QXSkewGrid& skew) {
                               std::vector<double> rows;
                               for (const auto& step : skew.GetSteps()) {
                                 rows.insert(rows.end(), step.begin(), step.end());
                               }
                               return ToArray(std::move(rows), {3, 3});
                             })
      .def(
          "transform",
          [](QXSkewGrid& skew, const Array& transform) { QXTransform(skew, ToTrans(transform)); },
          py::arg("transform"), "Move the grid by p' = R p + t, (4, 4).")
      .def("regular", &MakeRegular, py::arg("spacing") = py::none(),
           "The regular grid that covers this one, by trilinear interpolation, 0 outside.");
}

void CheckAtom(long long atomicNumber) {
  CheckCount(atomicNumber, 118, "atomic_number");
}

}  // namespace

void BindGrids(py::module_& module) {
  BindScalarGrid(module);
  BindSkewGrid(module);
  module.def(
      "read_grid", &ReadGrid, py::arg("path"),
      "Read a CCP4, MRC or cube file. What is not regular is resampled, and values that are\n"
      "not finite are kept, with a warning each. QXHermiteError where it cannot be read.");
  module.def(
      "grid_overlap",
      [](const QXScalarGrid& a, const QXScalarGrid& b) {
        const auto [aa, bb, ab] = Call([&] { return QXFieldKit::QXGridOverlap(a, b); });
        return py::make_tuple(aa, bb, ab);
      },
      py::arg("a"), py::arg("b"),
      "(a a, b b, a b): sums of products of values times the volume of an element; b is read at\n"
      "the elements of a.");
  module.def(
      "make_molecular_gaussian_grid",
      [](QXScalarGrid& grid, const QXMol& mol) {
        Call([&, copy = QXMol(mol)] { QXFieldKit::QXMakeMolecularGaussianGrid(grid, copy); });
      },
      py::arg("grid"), py::arg("molecule"),
      "Overwrite the values of a grid with the density of the atoms of a molecule: Gaussians\n"
      "2.7 exp(-w d^2), w = 2.34422871067 / r^2, r the Bondi radius.");
  module.def(
      "add_atom_gaussian",
      [](QXScalarGrid& grid, long long atomicNumber, const Array& centre) {
        CheckAtom(atomicNumber);
        const std::array<double, 3> c = CheckPlace(centre, "centre");
        Call([&] {
          QXFieldKit::QXAddAtomGaussian(grid, static_cast<unsigned int>(atomicNumber), c.data());
        });
      },
      py::arg("grid"), py::arg("atomic_number"), py::arg("centre"),
      "Add one atom of that density to the values of a grid.");
  module.def(
      "add_gaussians",
      [](QXScalarGrid& grid, const Array& gaussians) {
        const std::vector<QXGaussian> list = CheckedGaussians(gaussians);
        Call([&] {
          for (const QXGaussian& g : list) {
            const double centre[3] = {g.GetX(), g.GetY(), g.GetZ()};
            QXAddGaussian(grid, g.GetAmplitude(), g.GetWidth(), centre);
          }
        });
      },
      py::arg("grid"), py::arg("gaussians"),
      "Add Gaussians, (n, 5) rows, to the values of a grid.");
  module.def(
      "bondi_radius",
      [](long long atomicNumber) {
        CheckAtom(atomicNumber);
        return QXFieldKit::QXBondiRadius(static_cast<unsigned int>(atomicNumber));
      },
      py::arg("atomic_number"),
      "The van der Waals radius of an element, angstrom; 1.7 if unknown.");
}

}  // namespace QXPython
