// parse_many: an iterator over the results of many items, in their order.
#pragma once

#include <Python.h>

#include "bindings/python/state.h"

namespace engines::treesitter::python {

// Makes the iterator's type and adds it to the module. False with an error set.
bool add_parse_many_type(ModuleState& state, PyObject* module);

// What the function parse_many(items, threads=None) gives for these arguments, which are those of a
// METH_FASTCALL | METH_KEYWORDS function, when `engine` parses.
PyObject* new_parse_many(ModuleState& state, PyObject* engine, PyObject* const* arguments,
                         Py_ssize_t count, PyObject* keywords);

}  // namespace engines::treesitter::python
