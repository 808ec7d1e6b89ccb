// The functions of the module: what is known of the languages and of this build, parse_many, and
// text helpers.
//
// Tested by tests/python/test_module.py.
#pragma once

#include <Python.h>

namespace engines::treesitter::python {

extern PyMethodDef module_functions[];

// One of them, in a file of its own: takes no argument, and gives a dict that equals the JSON
// object which the tool prints for `--version --json`.
PyObject* build_info_dict(PyObject* module, PyObject* none);

}  // namespace engines::treesitter::python
