// What one import of the module owns, and what its functions find each other's types by.
//
// Nothing of it is a global, so that every interpreter of the process has a module of its own. Read
// and written with that interpreter's lock held.
#pragma once

#include <Python.h>

#include <array>
#include <cstddef>

#include "models/symbol.h"

namespace engines::treesitter::python {

inline constexpr std::size_t KIND_COUNT = models::SYMBOL_KIND_COUNT;

// All members are strong references. Those of the second group are null until first needed.
struct ModuleState {
  PyTypeObject* symbol;
  PyTypeObject* reference_info;
  PyTypeObject* parse_result;
  PyTypeObject* language_info;
  PyTypeObject* engine;
  PyTypeObject* parse_many;
  PyTypeObject* definition;
  PyTypeObject* candidate;
  PyTypeObject* use;
  PyTypeObject* answer;
  PyTypeObject* change;
  PyTypeObject* language_count;
  PyTypeObject* statistics;
  PyTypeObject* index;
  PyObject* result_limit_error;
  PyObject* parse_error;
  PyObject* repository_index_error;
  PyObject* symbol_kind;
  std::array<PyObject*, KIND_COUNT>
      kinds;  // the enumeration's members, in the order of the model's

  PyObject* logger;
  std::array<PyObject*, 2> process_engines;  // what unpickling an engine gives, by its Rules
  PyObject* body_digest_re;
};

inline ModuleState& state_of_module(PyObject* module) {
  return *static_cast<ModuleState*>(PyModule_GetState(module));
}

// `self` is an instance of one of the module's types, none of which can be derived from.
inline ModuleState& state_of(PyObject* self) {
  return *static_cast<ModuleState*>(PyType_GetModuleState(Py_TYPE(self)));
}

// The module function that gives the process-wide engine of the rules whose name is the argument,
// by default of the standard ones; TreeSitterEngine.__reduce__ names it.
PyObject* process_engine(PyObject* module, PyObject* const* arguments, Py_ssize_t count);

}  // namespace engines::treesitter::python
