// parse_many: an iterator over the results of many items, in their order (iteration.h).
//
// Tested by tests/python/test_parse_many.py.
#pragma once

#include <Python.h>

#include "bindings/python/state.h"

namespace engines::treesitter::python {

// Makes the iterator's type and adds it to the module. False with an error set.
bool add_parse_many_type(ModuleState& state, PyObject* module);

// A new iterator whose items `engine` parses. The arguments are those of the function
// parse_many(items, threads=None), called by METH_FASTCALL | METH_KEYWORDS. Null with an error set.
PyObject* new_parse_many(ModuleState& state, PyObject* engine, PyObject* const* arguments,
                         Py_ssize_t count, PyObject* keywords);

}  // namespace engines::treesitter::python
