#include "python/src/bindings.h"

namespace QXPython {

void BindMinimizers(py::module_&) {}

}  // namespace QXPython
