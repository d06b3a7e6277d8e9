#include "python/src/bindings.h"

namespace QXPython {

void BindMolecules(py::module_&) {}

}  // namespace QXPython
