#include "python/src/bindings.h"

namespace QXPython {

void BindShapeSearch(py::module_&) {}

}  // namespace QXPython
