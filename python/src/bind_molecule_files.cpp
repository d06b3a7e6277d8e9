#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <utility>

#include "host/molkit/molstream.h"
#include "python/src/bindings.h"
#include "python/src/checks.h"
#include "python/src/reports.h"

namespace QXPython {

using namespace QXMolKit;

namespace {

QXMolFormat ToFormat(const std::string& name) {
  constexpr std::pair<const char*, QXMolFormat> kFormats[] = {
      {"auto", QXMolFormat::Auto}, {"sdf", QXMolFormat::SDF}, {"mol", QXMolFormat::MOL},
      {"mol2", QXMolFormat::MOL2}, {"pdb", QXMolFormat::PDB}, {"smiles", QXMolFormat::SMILES},
      {"qxb", QXMolFormat::QXB}};
  for (const auto& [known, format] : kFormats) {
    if (name == known) return format;
  }
  Refuse("format", "'" + name + "' is none of auto, sdf, mol, mol2, pdb, smiles, qxb");
}

qxmolistream Open(const std::filesystem::path& path, const std::string& format) {
  const QXMolFormat wanted = ToFormat(format);
  return Call([&] { return qxmolistream(path.string(), wanted); });
}

std::vector<QXMol> ReadAll(const std::filesystem::path& path, const std::string& format) {
  qxmolistream in = Open(path, format);
  return Call([&] {
    std::vector<QXMol> all;
    for (QXMol mol; QXReadMolecule(in, mol);) all.push_back(mol);
    return all;
  });
}

QXMol ReadNext(qxmolistream& in) {
  QXMol mol;
  if (!Call([&] { return QXReadMolecule(in, mol); })) throw py::stop_iteration();
  return mol;
}

/// A file being written.
class Writer {
 public:
  Writer(const std::filesystem::path& path, const std::string& format)
      : out_(Call([&, wanted = ToFormat(format)] { return qxmolostream(path.string(), wanted); })) {
  }

  void Write(const QXMol& mol) {
    if (closed_) throw py::value_error("the file is closed");
    if (!Call([&, copy = QXMol(mol)] { return QXWriteMolecule(out_, copy); })) Fail();
  }
  void Close() {
    closed_ = true;
    if (!Call([&] { return out_.close(); })) Fail();
  }

 private:
  [[noreturn]] void Fail() { throw std::runtime_error(out_.Error()); }

  qxmolostream out_;
  bool closed_ = false;
};

void WriteAll(const std::filesystem::path& path, const py::iterable& molecules,
              const std::string& format) {
  Writer writer(path, format);
  for (const py::handle mol : molecules) {
    if (!py::isinstance<QXMol>(mol)) throw py::type_error("molecules: expected Molecules");
    writer.Write(mol.cast<const QXMol&>());
  }
  writer.Close();
}

}  // namespace

void BindMoleculeFiles(py::module_& module) {
  py::class_<QXSkippedRecord>(module, "SkippedRecord", "A record that could not be read.")
      .def_readonly("file", &QXSkippedRecord::file)
      .def_readonly("record", &QXSkippedRecord::record, "Its number in the file, from 1.")
      .def_readonly("line", &QXSkippedRecord::line, "Its first line, or byte of a binary file.")
      .def_property_readonly("title",
                             [](const QXSkippedRecord& record) {
                               return py::bytes(record.title).attr("decode")("utf-8", "replace");
                             })
      .def_readonly("reason", &QXSkippedRecord::reason)
      .def("__repr__", [](const QXSkippedRecord& record) {
        return "SkippedRecord(" + record.file + ":" + std::to_string(record.record) + ": " +
               record.reason + ")";
      });

  py::class_<qxmolistream>(
      module, "MoleculeReader",
      "The molecules of a file, one record in memory at a time: for mol in\n"
      "MoleculeReader(path). A record that cannot be read is a warning, noted in `skipped`, and\n"
      "passed over. A file that cannot be opened is a QXHermiteError. One thread at a time.")
      .def(py::init(&Open), py::arg("path"), py::arg("format") = "auto",
           "format: auto (by the extension), sdf, mol, mol2, pdb, smiles or qxb.")
      .def("__iter__", [](py::object self) { return self; })
      .def("__next__", &ReadNext)
      .def_property_readonly("record", &qxmolistream::RecordNumber,
                             "The number of the record read last, from 1.")
      .def_property_readonly(
          "skipped", [](const qxmolistream& in) { return py::cast(in.SkippedRecords()); },
          "The records that could not be read.");

  py::class_<Writer>(module, "MoleculeWriter",
                     "A file of molecules to write, with all their conformers; a context manager.\n"
                     "One thread at a time.")
      .def(py::init<const std::filesystem::path&, const std::string&>(), py::arg("path"),
           py::arg("format") = "auto", "format: as of MoleculeReader, all but mol2.")
      .def("write", &Writer::Write, py::arg("molecule"))
      .def("close", &Writer::Close, "QXHermiteError where what was held back cannot be written.")
      .def("__enter__", [](py::object self) { return self; })
      .def("__exit__", [](Writer& writer, const py::args&) { writer.Close(); });

  module.def("_read_molecules", &ReadAll, py::arg("path"), py::arg("format") = "auto",
             "All molecules of a file that can be read, a list; warnings tell what was skipped.");
  module.def("write_molecules", &WriteAll, py::arg("path"), py::arg("molecules"),
             py::arg("format") = "auto",
             "Write molecules, with all conformers, in the format of the name.");
}

}  // namespace QXPython
