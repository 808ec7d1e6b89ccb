// Tested by tests/python/test_records.py.
#include "bindings/python/symbol_kinds.h"

#include <string>
#include <string_view>

#include "bindings/python/owned.h"
#include "bindings/python/texts.h"

namespace engines::treesitter::python {
namespace {

// "function" as a constant: FUNCTION.
PyObject* member_name(PyObject* text) { return PyObject_CallMethod(text, "upper", nullptr); }

// The enumeration's members in its functional form: a list of pairs of name and value.
PyObject* member_pairs() {
  Owned pairs(PyList_New(KIND_COUNT));
  for (std::size_t i = 0; pairs && i < KIND_COUNT; ++i) {
    const Owned value(to_str(models::kind_text(static_cast<models::SymbolKind>(i))));
    const Owned name(value ? member_name(value.get()) : nullptr);
    PyObject* const pair = name ? PyTuple_Pack(2, name.get(), value.get()) : nullptr;
    if (pair == nullptr) return nullptr;
    PyList_SET_ITEM(pairs.get(), static_cast<Py_ssize_t>(i), pair);
  }
  return pairs.release();
}

PyObject* new_enumeration() {
  const Owned enum_module(PyImport_ImportModule("enum"));
  const Owned base(enum_module ? PyObject_GetAttrString(enum_module.get(), "StrEnum") : nullptr);
  const Owned pairs(base ? member_pairs() : nullptr);
  const Owned arguments(pairs ? Py_BuildValue("(sO)", "SymbolKind", pairs.get()) : nullptr);
  const Owned keywords(arguments ? Py_BuildValue("{ss}", "module", "treesitter") : nullptr);
  return keywords ? PyObject_Call(base.get(), arguments.get(), keywords.get()) : nullptr;
}

}  // namespace

bool add_symbol_kind(ModuleState& state, PyObject* module) {
  state.symbol_kind = new_enumeration();
  if (state.symbol_kind == nullptr) return false;
  const Owned doc(to_str("What a symbol is. Each member equals its text."));
  if (!doc || PyObject_SetAttrString(state.symbol_kind, "__doc__", doc.get()) != 0) return false;
  const Owned members(PySequence_List(state.symbol_kind));
  if (!members) return false;
  for (std::size_t i = 0; i < KIND_COUNT; ++i) {
    state.kinds[i] = Py_NewRef(PyList_GET_ITEM(members.get(), static_cast<Py_ssize_t>(i)));
  }
  return PyModule_AddObjectRef(module, "SymbolKind", state.symbol_kind) == 0;
}

PyObject* kind_from(const ModuleState& state, PyObject* text) {
  if (PyObject_TypeCheck(text, reinterpret_cast<PyTypeObject*>(state.symbol_kind))) {
    return Py_NewRef(text);
  }
  const std::size_t unknown = KIND_COUNT;
  std::size_t index = 0;
  for (; index < unknown; ++index) {
    if (PyUnicode_Compare(text, state.kinds[index]) == 0) return Py_NewRef(state.kinds[index]);
  }
  PyErr_Format(PyExc_ValueError, "unknown symbol kind %R", text);
  return nullptr;
}

}  // namespace engines::treesitter::python
