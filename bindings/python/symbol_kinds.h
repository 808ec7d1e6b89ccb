// SymbolKind: the kinds of symbols as a Python enumeration, whose members equal their texts.
//
// Tested by tests/python/test_records.py.
#pragma once

#include <Python.h>

#include "bindings/python/state.h"
#include "models/symbol.h"

namespace engines::treesitter::python {

// Makes the enumeration and adds it to the module. False with an error set.
bool add_symbol_kind(ModuleState& state, PyObject* module);

// The member of a kind. A borrowed reference.
inline PyObject* kind_member(const ModuleState& state, models::SymbolKind kind) {
  return state.kinds[static_cast<std::size_t>(kind)];
}

// The member that a str is, or whose text it is: a new reference, or null with a ValueError set.
PyObject* kind_from(const ModuleState& state, PyObject* text);

}  // namespace engines::treesitter::python
