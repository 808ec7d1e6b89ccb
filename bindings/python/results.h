// The engine's results as Python's.
#pragma once

#include <Python.h>

#include "bindings/python/owned.h"
#include "bindings/python/state.h"
#include "bindings/python/texts.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::python {

// A new ParseResult. Null with an error set: for want of memory, or what the handler of a signal
// raised. Each text of `result` is freed when Python has it, so that never both are there whole.
// With `raised`, what a handler raised is put there, and the result is made all the same: half of
// it could not be made again.
PyObject* to_python(const ModuleState& state, ParseResult result, Surrogates surrogates,
                    Owned* raised = nullptr);

}  // namespace engines::treesitter::python
