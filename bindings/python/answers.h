// An index's answers as Python's.
#pragma once

#include <Python.h>

#include <cstddef>
#include <vector>

#include "bindings/python/state.h"
#include "index/answers.h"

namespace engines::treesitter::python {

inline constexpr std::size_t DEFINITION_FIELD_COUNT = 11;
inline constexpr std::size_t USE_FIELD_COUNT = 10;

// Makes the types of all their records and adds them to the module. False with an error set.
bool add_answer_types(ModuleState& state, PyObject* module);

// New records, a tuple of them for changes. Null with an error set: for want of memory, or what the
// handler of a signal raised.
PyObject* to_python(const ModuleState& state,
                    const repository::Answer<repository::Definition>& answer);
PyObject* to_python(const ModuleState& state, const repository::Answer<repository::Use>& answer);
PyObject* to_python(const ModuleState& state,
                    const std::vector<repository::PendingChange>& changes);
PyObject* to_python(const ModuleState& state, const repository::Statistics& statistics);

}  // namespace engines::treesitter::python
