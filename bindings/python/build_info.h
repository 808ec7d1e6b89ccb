// What the module is made of, as Python's own objects.
#pragma once

#include <Python.h>

namespace engines::treesitter::python {

// A method without arguments. The dict equals the JSON object of the tool's `--version --json`.
PyObject* build_info_dict(PyObject* module, PyObject* none);

}  // namespace engines::treesitter::python
