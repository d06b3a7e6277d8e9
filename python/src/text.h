#pragma once

#include <pybind11/pybind11.h>

#include <string>
#include <string_view>

// Texts of files, which need not be UTF-8. In Python their other bytes are lone surrogates, as they
// are in file names, and come back as the bytes they were.

namespace QXPython {

namespace py = pybind11;

inline py::str FromText(std::string_view text) {
  return py::reinterpret_steal<py::str>(
      PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "surrogateescape"));
}

/// str(value) in bytes.
inline std::string ToText(py::handle value) {
  const auto bytes = py::reinterpret_steal<py::bytes>(
      PyUnicode_AsEncodedString(py::str(value).ptr(), "utf-8", "surrogateescape"));
  if (!bytes) throw py::error_already_set();
  return bytes;
}

}  // namespace QXPython
