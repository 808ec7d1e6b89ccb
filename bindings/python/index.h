// Index as Python sees it: the questions of index/questions.h, asked from any thread.
#pragma once

#include <Python.h>

#include "bindings/python/state.h"

namespace engines::treesitter::python {

// Makes the type and adds it to the module. False with an error set.
bool add_index_type(ModuleState& state, PyObject* module);

}  // namespace engines::treesitter::python
