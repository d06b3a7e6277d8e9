#include "python/src/reports.h"

#include <cstdio>

#include "python/src/text.h"

namespace QXPython {

using QXCore::QXErrorLevel;

namespace {

thread_local ReportScope* innermost = nullptr;

// Owned by the module, which is never unloaded.
PyObject* warningClass = nullptr;
PyObject* errorClass = nullptr;

/// Whose line a warning points at, as the warnings of Python count: the first caller outside of the
/// package, where there is one.
py::ssize_t LevelOfUser() {
  py::ssize_t level = 1;
  auto frame = py::reinterpret_borrow<py::object>(reinterpret_cast<PyObject*>(PyEval_GetFrame()));
  for (; frame && !frame.is_none(); frame = frame.attr("f_back"), ++level) {
    const py::object name = frame.attr("f_globals").attr("get")("__name__", "");
    const std::string module = py::str(name);
    if (module != "qxhermite" && !module.starts_with("qxhermite.")) return level;
  }
  return 1;
}

}  // namespace

/// What the library reports to.
class ReportSink {
 public:
  static void Take(QXErrorLevel level, const std::string& text) {
    if (innermost) {
      innermost->reports_.emplace_back(level, text);
    } else {
      std::fprintf(stderr, "%s\n", text.c_str());  // outside of all calls from Python
    }
  }
};

ReportScope::ReportScope() : outer_(std::exchange(innermost, this)) {}

ReportScope::~ReportScope() {
  innermost = outer_;
}

void ReportScope::Deliver() {
  const std::vector<Report> reports = std::move(reports_);
  reports_.clear();
  std::string errors;
  for (const auto& [level, text] : reports) {
    if (level == QXErrorLevel::Debug) continue;
    if (level != QXErrorLevel::Warning) {
      errors += (errors.empty() ? "" : "\n") + text;
    } else if (PyErr_WarnFormat(warningClass, LevelOfUser(), "%U", FromText(text).ptr()) != 0) {
      throw py::error_already_set();
    }
  }
  if (errors.empty()) return;
  PyErr_SetObject(errorClass, FromText(errors).ptr());
  throw py::error_already_set();
}

void BindReports(py::module_& module) {
  const auto make = [&](const char* name, PyObject* base, const char* text) {
    const std::string path = std::string("qxhermite.") + name;
    PyObject* made = PyErr_NewExceptionWithDoc(path.c_str(), text, base, nullptr);
    if (!made) throw py::error_already_set();
    module.attr(name) = py::handle(made);
    return made;
  };
  warningClass = make("QXHermiteWarning", PyExc_UserWarning,
                      "Something was changed or left out, and the work went on.");
  errorClass =
      make("QXHermiteError", PyExc_RuntimeError, "The library could not do what was asked.");
  QXCore::QXThrow.SetHandler(ReportSink::Take);
}

}  // namespace QXPython
