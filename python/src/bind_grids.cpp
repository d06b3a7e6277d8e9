#include "python/src/bindings.h"

namespace QXPython {

void BindGrids(py::module_&) {}

}  // namespace QXPython
