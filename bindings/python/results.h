// Converts the engine's results to Python's.
//
// Tested by tests/python/test_engine.py, against the tool's answers too.
#pragma once

#include <Python.h>

#include "bindings/python/owned.h"
#include "bindings/python/state.h"
#include "bindings/python/texts.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::python {

// A new ParseResult. Null with an error set: MemoryError, or what the handler of a signal has
// raised. Each text of `result` is freed when its str is made, so that the memory never holds both
// results. With `raised`, what a handler has raised is put there and the result is made all the
// same, since what is already converted could not be made again.
PyObject* to_python(const ModuleState& state, ParseResult result, Surrogates surrogates,
                    Owned* raised = nullptr);

}  // namespace engines::treesitter::python
