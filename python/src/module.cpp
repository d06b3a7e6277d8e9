// The extension module qxhermite._core: the classes and functions of the library, one source file
// for each of its concepts.

#include "python/src/bindings.h"
#include "python/src/objectives.h"
#include "python/src/reports.h"

PYBIND11_MODULE(_core, module) {
  using namespace QXPython;
  module.doc() = "The classes and functions of the library; `qxhermite` offers them all.";
  module.attr("__version__") = QX_VERSION;
  BindReports(module);
  BindObjectives(module);
  BindOptions(module);
  BindMolecules(module);
  BindMoleculeFiles(module);
  BindGrids(module);
  BindBasis(module);
  BindExpansion(module);
  BindGaussianToHermite(module);
  BindFrame(module);
  BindInertia(module);
  BindOverlap(module);
  BindOverlays(module);
  BindShapeScreen(module);
  BindMultiHermite(module);
  BindGridAtoms(module);
  BindCharges(module);
  BindMinimizers(module);
  BindShapeSearch(module);
  BindReport(module);
  BindWorkflows(module);
}
