#include "python/src/bindings.h"

namespace QXPython {

void BindWorkflows(py::module_&) {}

}  // namespace QXPython
