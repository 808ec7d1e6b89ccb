// The types and other objects that one import of the module owns.
//
// They are no globals, so that every interpreter of the process has a module of its own. They are
// read and written with that interpreter's GIL held.
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
  // The members of the enumeration, in the order of models::SymbolKind.
  std::array<PyObject*, KIND_COUNT> kinds;

  PyObject* logger;
  std::array<PyObject*, 2> process_engines;  // what unpickling an engine gives, by its Rules
};

inline ModuleState& state_of_module(PyObject* module) {
  return *static_cast<ModuleState*>(PyModule_GetState(module));
}

// `self`: an instance of one of the module's types, none of which can have subclasses.
inline ModuleState& state_of(PyObject* self) {
  return *static_cast<ModuleState*>(PyType_GetModuleState(Py_TYPE(self)));
}

}  // namespace engines::treesitter::python
