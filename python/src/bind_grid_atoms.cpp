#include "python/src/bindings.h"

namespace QXPython {

void BindGridAtoms(py::module_&) {}

}  // namespace QXPython
