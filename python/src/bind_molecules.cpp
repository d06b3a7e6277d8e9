#include <pybind11/stl.h>

#include <optional>
#include <set>
#include <sstream>
#include <utility>

#include "hermite/expansion/mol_to_gaussians.h"
#include "host/grid/scalar_grid.h"
#include "host/molkit/charges.h"
#include "host/molkit/formats.h"
#include "python/src/bindings.h"
#include "python/src/checks.h"
#include "python/src/elements.h"
#include "python/src/reports.h"
#include "python/src/text.h"

namespace QXPython {

using namespace QXMolKit;
using Numbers = py::array_t<long long, py::array::c_style | py::array::forcecast>;

namespace {

std::vector<unsigned int> AtomicNumbers(const py::sequence& elements) {
  std::vector<unsigned int> numbers;
  for (const py::object element : elements) {  // a sequence may make them as it goes
    int number = -1;
    if (py::isinstance<py::str>(element)) {
      number = AtomicNumber(element.cast<std::string>());
    } else if (PyIndex_Check(element.ptr())) {
      const long long value = py::int_(py::reinterpret_borrow<py::object>(element));
      if (value >= 0 && value <= kLargestAtomicNumber) number = static_cast<int>(value);
    }
    if (number < 0) {
      Refuse("elements", "no element is " + py::repr(element).cast<std::string>());
    }
    numbers.push_back(static_cast<unsigned int>(number));
  }
  return numbers;
}

/// Integers as they are: 1.5 is no number of an atom.
Numbers Integers(const py::object& values, const char* name) {
  const py::array array(values);
  const char kind = array.dtype().kind();
  if (kind != 'i' && kind != 'u' && array.size() > 0) Refuse(name, "must be integers");
  return Numbers(array);
}

bool IsOrder(long long order) {
  return (order >= 0 && order <= 5) || order == 8 || order == 9;
}

void AddBonds(QXMol& mol, const py::object& bonds) {
  const Numbers rows = Integers(bonds, "bonds");
  if (rows.size() == 0) return;
  const bool hasOrders = rows.ndim() == 2 && rows.shape(1) == 3;
  RequireShape(rows, {kAny, hasOrders ? 3 : 2}, "bonds");
  const long long count = mol.NumAtoms();
  std::set<std::pair<long long, long long>> seen;
  for (py::ssize_t i = 0; i < rows.shape(0); ++i) {
    const long long begin = rows.at(i, 0), end = rows.at(i, 1);
    const long long order = hasOrders ? rows.at(i, 2) : 1;
    const std::string row = "row " + std::to_string(i);
    if (std::min(begin, end) < 0 || std::max(begin, end) >= count || begin == end) {
      Refuse("bonds", row + " has no two atoms of the molecule");
    }
    if (!seen.insert(std::minmax(begin, end)).second) Refuse("bonds", row + " repeats a bond");
    if (!IsOrder(order)) Refuse("bonds", row + " has no order: 0 to 5, 8 or 9");
    mol.NewBond(static_cast<unsigned int>(begin), static_cast<unsigned int>(end),
                static_cast<QXBondOrder>(order));
  }
}

void SetFormalCharges(QXMol& mol, const py::object& charges) {
  const Numbers values = Integers(charges, "formal_charges");
  RequireShape(values, {mol.NumAtoms()}, "formal_charges");
  constexpr long long kMost = 100;
  for (unsigned int i = 0; i < mol.NumAtoms(); ++i) {
    if (std::abs(values.at(i)) > kMost) Refuse("formal_charges", "must be -100 to 100");
  }
  for (unsigned int i = 0; i < mol.NumAtoms(); ++i) {
    mol.GetAtom(i)->SetFormalCharge(static_cast<int>(values.at(i)));
  }
}

QXMol MakeMolecule(const py::sequence& elements, const Array& coordinates, const py::object& bonds,
                   const py::object& formalCharges, const py::str& title) {
  const std::vector<unsigned int> numbers = AtomicNumbers(elements);
  const auto count = static_cast<py::ssize_t>(numbers.size());
  const bool many = coordinates.ndim() == 3;
  if (many) {
    RequireShape(coordinates, {kAny, count, 3}, "coordinates");
  } else {
    RequireShape(coordinates, {count, 3}, "coordinates");
  }
  for (py::ssize_t i = 0; i < coordinates.size(); ++i) {
    CheckFinite(coordinates.data()[i], "coordinates");
  }
  const py::ssize_t numConfs = many ? coordinates.shape(0) : 1;
  if (numConfs == 0) Refuse("coordinates", "at least one conformer");

  QXMol mol(1);
  for (const unsigned int number : numbers) mol.NewAtom(number);
  if (count > 0) {
    QXMCMolBase& molecule = mol;
    for (py::ssize_t k = 0; k < numConfs; ++k) {
      QXConfBase* const conf = k == 0 ? molecule.GetActive() : molecule.NewConf();
      conf->SetCoords(coordinates.data() + 3 * count * k);
    }
  }
  if (!bonds.is_none()) AddBonds(mol, bonds);
  if (!formalCharges.is_none()) SetFormalCharges(mol, formalCharges);
  mol.SetTitle(ToText(title));
  return mol;
}

/// Calls visit(conformer) for each.
template <typename Visit>
void ForEachConformer(const QXMol& mol, Visit&& visit) {
  std::unique_ptr<QXIterator<QXConfBase>> conformers(mol.GetConfs());
  for (; conformers && conformers->IsValid(); conformers->Next()) visit(*conformers->Get());
}

py::array_t<double> Coordinates(const QXMol& mol) {
  std::vector<double> values;
  values.reserve(size_t{3} * mol.NumAtoms() * mol.NumConfs());
  ForEachConformer(mol, [&](QXConfBase& conf) {
    values.insert(values.end(), conf.Coords().begin(), conf.Coords().end());
  });
  return ToArray(std::move(values), {mol.NumConfs(), mol.NumAtoms(), 3});
}

/// One number of each atom.
template <typename T, typename Get>
py::array_t<T> OfAtoms(const QXMol& mol, Get&& get) {
  py::array_t<T> values(static_cast<py::ssize_t>(mol.NumAtoms()));
  for (unsigned int i = 0; i < mol.NumAtoms(); ++i) {
    values.mutable_at(i) = static_cast<T>(get(*mol.GetAtom(i)));
  }
  return values;
}

py::array_t<int> Bonds(const QXMol& mol) {
  py::array_t<int> rows({static_cast<py::ssize_t>(mol.NumBonds()), py::ssize_t{3}});
  for (unsigned int i = 0; i < mol.NumBonds(); ++i) {
    const QXBond& bond = *mol.GetBond(i);
    rows.mutable_at(i, 0) = static_cast<int>(bond.begin);
    rows.mutable_at(i, 1) = static_cast<int>(bond.end);
    rows.mutable_at(i, 2) = static_cast<int>(bond.order);
  }
  return rows;
}

void SetPartialCharges(QXMol& mol, const Array& charges) {
  RequireShape(charges, {mol.NumAtoms()}, "partial_charges");
  for (py::ssize_t i = 0; i < charges.size(); ++i) CheckFinite(charges.at(i), "partial_charges");
  for (unsigned int i = 0; i < mol.NumAtoms(); ++i) {
    mol.GetAtom(i)->SetPartialCharge(charges.at(i));
  }
}

/// The molecule, or one of its conformers.
QXMolBase& GetView(QXMol& mol, std::optional<long long> conformer) {
  if (!conformer) return mol;
  return GetConformer(mol, *conformer);
}

py::dict GetText(QXMol& mol, std::optional<long long> conformer) {
  const QXSDText text = QXGetRecordText(mol.NumConfs() > 0 ? GetView(mol, conformer) : mol);
  py::dict data;
  for (size_t i = 0; i < text.Size(); ++i) {
    data[FromText(text.Tag(i))] = FromText(text.Value(i));
  }
  return data;
}

void SetText(QXMol& mol, const py::dict& data) {
  std::vector<std::pair<std::string, std::string>> items;
  for (const auto& [tag, value] : data) {
    items.emplace_back(ToText(tag), ToText(value));
  }
  for (const std::string& tag : QXGetSDTags(mol)) QXDeleteSDData(mol, tag);
  ForEachConformer(mol, [](QXConfBase& conf) {
    for (const std::string& tag : QXGetSDTags(conf)) QXDeleteSDData(conf, tag);
  });
  for (const auto& [tag, value] : items) QXSetSDData(mol, tag, value);
}

py::object GetVector(QXMol& mol, const std::string& name, std::optional<long long> conformer) {
  const QXMolBase& view = GetView(mol, conformer);
  if (!view.HasDataOfType<std::vector<double>>(name.c_str())) return py::none();
  return ToArray(view.GetData<std::vector<double>>(name.c_str()));
}

void SetVector(QXMol& mol, const std::string& name, const Array& values,
               std::optional<long long> conformer) {
  QXMolBase& view = GetView(mol, conformer);
  std::vector<double> flat(values.data(), values.data() + values.size());
  view.DeleteData(name.c_str());
  view.SetData(name.c_str(), std::move(flat));
}

std::string ToBytes(const QXMol& mol) {
  const std::unique_ptr<FormatWriter> writer = MakeQXBWriter();
  std::string problem, bytes = writer->Begin();
  bytes += writer->Write(mol, problem);
  if (!problem.empty()) Refuse("molecule", problem);
  return bytes;
}

QXMol FromBytes(const std::string& bytes) {
  std::istringstream in(bytes);
  std::string problem;
  const std::unique_ptr<FormatReader> reader = MakeQXBReader(in, problem);
  RecordReport report;
  QXMol mol;
  if (!reader || reader->Read(mol, report) != ReadOutcome::Molecule) {
    Refuse("molecule", problem + report.problem);
  }
  return mol;
}

std::string Repr(const QXMol& mol) {
  const std::string title =
      py::repr(py::bytes(mol.GetTitle()).attr("decode")("utf-8", "replace")).cast<std::string>();
  return "Molecule(" + title + ", " + std::to_string(mol.NumAtoms()) + " atoms, " +
         std::to_string(mol.NumBonds()) + " bonds, " + std::to_string(mol.NumConfs()) +
         (mol.NumConfs() == 1 ? " conformer)" : " conformers)");
}

QXMol Transformed(const QXMol& mol, const Array& transform) {
  const QXTrans trans = ToTrans(transform);
  QXMol moved(mol);
  ForEachConformer(moved, [&](QXConfBase& conf) { trans.Transform(&conf); });
  return moved;
}

void AssignCharges(QXMol& mol) {
  QXMol charged(mol);  // that the molecule keeps still meanwhile
  Call([&] { QXAssignGasteigerCharges(charged); });
  for (unsigned int i = 0; i < mol.NumAtoms(); ++i) {
    mol.GetAtom(i)->SetPartialCharge(charged.GetAtom(i)->GetPartialCharge());
  }
}

}  // namespace

void BindMolecules(py::module_& module) {
  py::class_<QXMol>(
      module, "Molecule",
      "A molecule with its conformers: elements, bonds, charges, title and data. Lengths are in\n"
      "angstrom; coordinates are kept in single precision.")
      .def(py::init(&MakeMolecule), py::arg("elements"), py::arg("coordinates"),
           py::arg("bonds") = py::none(), py::arg("formal_charges") = py::none(),
           py::arg("title") = "",
           "elements: n atomic numbers, 0 to 118, or symbols. coordinates: (n, 3), or\n"
           "(conformers, n, 3). bonds: (m, 2) or (m, 3) integers: begin, end, order, where the\n"
           "order is 0 to 3, 4 for aromatic, 5 for quadruple, 8 for any or 9 for dative.\n"
           "formal_charges: n integers.")
      .def_property_readonly("num_atoms", &QXMol::NumAtoms)
      .def_property_readonly("num_bonds", &QXMol::NumBonds)
      .def_property_readonly("num_conformers", &QXMol::NumConfs)
      .def_property_readonly("dimension", &QXMol::GetDimension,
                             "3 for a structure in space, 2 for a drawing, 0 without coordinates.")
      .def_property_readonly(
          "atomic_numbers",
          [](const QXMol& mol) {
            return OfAtoms<int>(mol, [](const QXAtom& atom) { return atom.GetAtomicNum(); });
          },
          "(n,), a copy.")
      .def_property_readonly("coordinates", &Coordinates, "(conformers, n, 3) float64, a copy.")
      .def_property_readonly("bonds", &Bonds, "(m, 3): begin, end, order; a copy.")
      .def_property(
          "formal_charges",
          [](const QXMol& mol) {
            return OfAtoms<int>(mol, [](const QXAtom& atom) { return atom.GetFormalCharge(); });
          },
          &SetFormalCharges, "(n,), a copy. Can be set.")
      .def_property(
          "partial_charges",
          [](const QXMol& mol) {
            return OfAtoms<double>(mol, [](const QXAtom& atom) { return atom.GetPartialCharge(); });
          },
          &SetPartialCharges, "(n,) elementary charges, a copy. Can be set.")
      .def_property(
          "title", [](const QXMol& mol) { return FromText(mol.GetTitle()); },
          [](QXMol& mol, const py::str& title) { mol.SetTitle(ToText(title)); })
      .def_property(
          "data", [](QXMol& mol) { return GetText(mol, 0); }, &SetText,
          "The SD data of the first conformer, a dict of texts, a copy. What is set holds for all\n"
          "conformers, in place of all that was there.")
      .def("conformer_data", &GetText, py::arg("conformer"), "The SD data of one conformer.")
      .def(
          "set_data",
          [](QXMol& mol, const py::str& tag, const py::object& value,
             std::optional<long long> conformer) {
            QXSetSDData(GetView(mol, conformer), ToText(tag), ToText(value));
          },
          py::arg("tag"), py::arg("value"), py::arg("conformer") = py::none(),
          "Set one item of the SD data, of a conformer or of all.")
      .def("vector", &GetVector, py::arg("name"), py::arg("conformer") = py::none(),
           "Numbers attached to the molecule or one conformer under a name, or None; a copy.")
      .def("set_vector", &SetVector, py::arg("name"), py::arg("values"),
           py::arg("conformer") = py::none(), "Attach numbers, flat, under a name.")
      .def(
          "attached_grid",
          [](QXMol& mol, const std::string& name,
             std::optional<long long> conformer) -> py::object {
            const QXMolBase& view = GetView(mol, conformer);
            if (!view.HasDataOfType<QXCore::QXScalarGrid>(name.c_str())) return py::none();
            return py::cast(view.GetData<QXCore::QXScalarGrid>(name.c_str()));
          },
          py::arg("name"), py::arg("conformer") = py::none(),
          "A ScalarGrid attached under a name, as by HermiteShapeOverlay, or None; a copy.")
      .def(
          "conformer",
          [](const QXMol& mol, long long index) { return QXMol(GetConformer(mol, index), 1); },
          py::arg("index"), "A molecule of one conformer. IndexError.")
      .def(
          "without_hydrogens",
          [](const QXMol& mol) {
            QXMol heavy(mol);
            QXSuppressHydrogens(heavy, false, false, true);
            return heavy;
          },
          "A copy without its hydrogen atoms, in all conformers.")
      .def("transformed", &Transformed, py::arg("transform"),
           "A copy, all conformers moved: p' = R p + t. transform: (4, 4), rigid.")
      .def("assign_gasteiger_charges", &AssignCharges,
           "Set the partial charges to those of Gasteiger and Marsili. QXHermiteError where the\n"
           "structure cannot be understood; nothing has changed then.")
      .def(
          "gaussians",
          [](const QXMol& mol, double radius, long long conformer) {
            CheckPositive(radius, "radius");
            return FromGaussians(
                QXHermiteMath::QXMolToGaussians(QXMol(GetConformer(mol, conformer), 1), radius));
          },
          py::arg("radius") = 1.7, py::arg("conformer") = 0,
          "The shape density, one Gaussian an atom, hydrogens included: (n, 5) rows x, y, z,\n"
          "amplitude, width. Radius in angstrom.")
      .def("__repr__", &Repr)
      .def("__eq__",
           [](const QXMol& a, const py::object& other) {
             return py::isinstance<QXMol>(other) &&
                    ToBytes(a) == ToBytes(other.cast<const QXMol&>());
           })
      .def("__copy__", [](const QXMol& mol) { return QXMol(mol); })
      .def("__deepcopy__", [](const QXMol& mol, py::handle) { return QXMol(mol); })
      .def(py::pickle([](const QXMol& mol) { return py::bytes(ToBytes(mol)); },
                      [](const py::bytes& bytes) { return FromBytes(bytes); }));
}

}  // namespace QXPython
