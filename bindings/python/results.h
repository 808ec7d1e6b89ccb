// The engine's results as Python's.
#pragma once

#include <Python.h>

#include "bindings/python/state.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::python {

// A new ParseResult. Null with an error set (for want of memory only).
PyObject* to_python(const ModuleState& state, const ParseResult& result);

}  // namespace engines::treesitter::python
