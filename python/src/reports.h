#pragma once

#include <pybind11/pybind11.h>

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "host/core/throw.h"

// How the reports of the library reach Python: warnings as QXHermiteWarning, errors and fatals as
// QXHermiteError.

namespace QXPython {

namespace py = pybind11;

/// Makes both classes in the module, and takes over the reports of the library from here on.
void BindReports(py::module_& module);

/// The reports of this thread while it lives. They are collected without the GIL and handed to
/// Python later, with it.
class ReportScope {
 public:
  ReportScope();
  ~ReportScope();
  ReportScope(const ReportScope&) = delete;
  ReportScope& operator=(const ReportScope&) = delete;

  /// Issues the warnings in their order; then throws all errors as one exception, if there are any.
  /// Holding the GIL. A filter of Python's that makes errors of warnings throws too.
  void Deliver();

 private:
  friend class ReportSink;
  using Report = std::pair<QXCore::QXErrorLevel, std::string>;
  std::vector<Report> reports_;
  ReportScope* outer_;
};

/// Calls work() without the GIL, delivers the reports it made, and gives back its result.
/// Everything that touches Python objects belongs outside.
template <typename Work>
auto Call(Work&& work) {
  ReportScope scope;
  if constexpr (std::is_void_v<decltype(work())>) {
    {
      const py::gil_scoped_release release;
      work();
    }
    scope.Deliver();
  } else {
    auto result = [&] {
      const py::gil_scoped_release release;
      return work();
    }();
    scope.Deliver();
    return result;
  }
}

/// The same for what is too short to be worth releasing the GIL.
template <typename Work>
auto QuickCall(Work&& work) {
  ReportScope scope;
  if constexpr (std::is_void_v<decltype(work())>) {
    work();
    scope.Deliver();
  } else {
    auto result = work();
    scope.Deliver();
    return result;
  }
}

}  // namespace QXPython
