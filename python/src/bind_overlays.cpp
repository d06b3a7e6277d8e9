#include "python/src/bindings.h"

namespace QXPython {

void BindOverlays(py::module_&) {}

}  // namespace QXPython
