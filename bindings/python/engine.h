// The type TreeSitterEngine.
//
// Tested by tests/python/test_engine.py and test_processes.py.
#pragma once

#include <Python.h>

#include <memory>

#include "bindings/python/state.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::python {

// Makes the type and adds it to the module. False with an error set.
bool add_engine_type(ModuleState& state, PyObject* module);

// The engine of a TreeSitterEngine object. A call that releases the GIL keeps a copy of this
// pointer (gil.h says why).
const std::shared_ptr<const TreeSitterEngine>& engine_of(PyObject* object);

// The module's function _process_engine (METH_FASTCALL), which TreeSitterEngine.__reduce__ names:
// gives the one engine of the process for the rules whose name is the argument, by default the
// standard ones.
PyObject* process_engine(PyObject* module, PyObject* const* arguments, Py_ssize_t count);

}  // namespace engines::treesitter::python
