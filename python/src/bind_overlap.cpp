#include "python/src/bindings.h"

namespace QXPython {

void BindOverlap(py::module_&) {}

}  // namespace QXPython
