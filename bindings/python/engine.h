// TreeSitterEngine as Python sees it.
#pragma once

#include <Python.h>

#include <memory>

#include "bindings/python/state.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::python {

// Makes the type and adds it to the module. False with an error set.
bool add_engine_type(ModuleState& state, PyObject* module);

// The engine of a TreeSitterEngine object. A call that lets the interpreter's lock go holds it by a
// copy of this pointer (gil.h says why).
const std::shared_ptr<const TreeSitterEngine>& engine_of(PyObject* object);

}  // namespace engines::treesitter::python
