// The engine's results as Python's.
#pragma once

#include <Python.h>

#include "bindings/python/state.h"
#include "bindings/python/texts.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::python {

// A new ParseResult. Null with an error set: for want of memory, or what the handler of a signal
// raised. Each text of `result` is freed when Python has it, so that never both are there whole.
PyObject* to_python(const ModuleState& state, ParseResult result, Surrogates surrogates);

}  // namespace engines::treesitter::python
