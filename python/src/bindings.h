#pragma once

#include <pybind11/pybind11.h>

// One function for each source file of the extension module; module.cpp calls them in this order,
// since a type must be known before a signature names it.

namespace QXPython {

namespace py = pybind11;

void BindOptions(py::module_& module);
void BindMolecules(py::module_& module);
void BindMoleculeFiles(py::module_& module);
void BindGrids(py::module_& module);
void BindBasis(py::module_& module);
void BindExpansion(py::module_& module);
void BindGaussianToHermite(py::module_& module);
void BindFrame(py::module_& module);
void BindInertia(py::module_& module);
void BindOverlap(py::module_& module);
void BindOverlays(py::module_& module);
void BindShapeScreen(py::module_& module);
void BindMultiHermite(py::module_& module);
void BindGridAtoms(py::module_& module);
void BindCharges(py::module_& module);
void BindMinimizers(py::module_& module);
void BindShapeSearch(py::module_& module);
void BindReport(py::module_& module);
void BindWorkflows(py::module_& module);

}  // namespace QXPython
