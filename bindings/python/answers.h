// Converts an index's answers to Python's records.
//
// Tested by tests/python/test_index.py, against the tool's answers.
#pragma once

#include <Python.h>

#include <vector>

#include "bindings/python/state.h"
#include "index/answers.h"

namespace engines::treesitter::python {

// Makes the types of these records and adds them to the module. False with an error set.
bool add_answer_types(ModuleState& state, PyObject* module);

// A new record, for changes a tuple of them. Null with an error set: MemoryError, or what the
// handler of a signal has raised.
PyObject* to_python(const ModuleState& state,
                    const repository::Answer<repository::Definition>& answer);
PyObject* to_python(const ModuleState& state, const repository::Answer<repository::Use>& answer);
PyObject* to_python(const ModuleState& state,
                    const std::vector<repository::PendingChange>& changes);
PyObject* to_python(const ModuleState& state, const repository::Statistics& statistics);

}  // namespace engines::treesitter::python
