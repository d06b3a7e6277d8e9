#include "python/src/bindings.h"

namespace QXPython {

void BindExpansion(py::module_&) {}

}  // namespace QXPython
