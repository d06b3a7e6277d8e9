#include "python/src/bindings.h"

namespace QXPython {

void BindFrame(py::module_&) {}

}  // namespace QXPython
