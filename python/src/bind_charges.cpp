#include "python/src/bindings.h"

namespace QXPython {

void BindCharges(py::module_&) {}

}  // namespace QXPython
