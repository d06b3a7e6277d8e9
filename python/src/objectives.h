#pragma once

#include <pybind11/pybind11.h>

#include "host/minimizer/func.h"

// Objectives of minimisers in Python: f(x), f.gradient(x), f.hessian(x). Classes of objectives are
// registered with QXFunc1 or QXFunc2 as their base, and with py::multiple_inheritance(), since they
// derive from them virtually.

namespace QXPython {

namespace py = pybind11;

void BindObjectives(py::module_& module);

}  // namespace QXPython
