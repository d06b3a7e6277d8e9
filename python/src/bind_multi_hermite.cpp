#include "python/src/bindings.h"

namespace QXPython {

void BindMultiHermite(py::module_&) {}

}  // namespace QXPython
