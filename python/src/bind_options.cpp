#include "python/src/bindings.h"

namespace QXPython {

void BindOptions(py::module_&) {}

}  // namespace QXPython
