// Which values the fields of records take, and how their types are annotated.
//
// Tested by tests/python/test_records.py.
#include "bindings/python/owned.h"
#include "bindings/python/records.h"
#include "bindings/python/symbol_kinds.h"

namespace engines::treesitter::python {
namespace {

bool is_record(PyTypeObject* type, PyObject* value) { return Py_TYPE(value) == type; }

// A tuple of nothing but these records, so that no record can be part of a cycle.
template <typename... Types>
bool is_tuple_of(PyObject* value, Types*... types) {
  if (!PyTuple_CheckExact(value)) return false;
  for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(value); ++i) {
    if (!(is_record(types, PyTuple_GET_ITEM(value, i)) || ...)) return false;
  }
  return true;
}

bool is_of(const ModuleState& state, FieldType type, PyObject* value) {
  switch (type) {
    case FieldType::text:
      return PyUnicode_Check(value);
    case FieldType::optional_text:
      return value == Py_None || PyUnicode_Check(value);
    case FieldType::integer:
      return PyLong_Check(value);
    case FieldType::optional_integer:
      return value == Py_None || PyLong_Check(value);
    case FieldType::boolean:
      return PyBool_Check(value);
    case FieldType::kind:
      return PyUnicode_Check(value);
    case FieldType::list_of_symbols:
    case FieldType::list_of_references:
    case FieldType::list_of_texts:
      return PyList_Check(value);
    case FieldType::tuple_of_texts:
      return PyTuple_Check(value);
    case FieldType::definition:
      return is_record(state.definition, value);
    case FieldType::optional_definition:
      return value == Py_None || is_record(state.definition, value);
    case FieldType::tuple_of_candidates:
      return is_tuple_of(value, state.candidate);
    case FieldType::tuple_of_languages:
      return is_tuple_of(value, state.language_count);
    case FieldType::tuple_of_rows:
      return is_tuple_of(value, state.definition, state.use);
  }
  return false;
}

}  // namespace

const char* annotation_of(FieldType type) {
  switch (type) {
    case FieldType::text:
      return "str";
    case FieldType::optional_text:
      return "str | None";
    case FieldType::integer:
      return "int";
    case FieldType::optional_integer:
      return "int | None";
    case FieldType::boolean:
      return "bool";
    case FieldType::kind:
      return "SymbolKind";
    case FieldType::list_of_symbols:
      return "list[Symbol]";
    case FieldType::list_of_references:
      return "list[ReferenceInfo]";
    case FieldType::list_of_texts:
      return "list[str]";
    case FieldType::tuple_of_texts:
      return "tuple[str, ...]";
    case FieldType::definition:
      return "Definition";
    case FieldType::optional_definition:
      return "Definition | None";
    case FieldType::tuple_of_candidates:
      return "tuple[Candidate, ...]";
    case FieldType::tuple_of_languages:
      return "tuple[LanguageCount, ...]";
    case FieldType::tuple_of_rows:
      return "tuple[Definition | Use, ...]";
  }
  return "";
}

PyObject* field_value(const ModuleState& state, const char* record, const Field& field,
                      PyObject* value) {
  if (!is_of(state, field.type, value)) {
    PyErr_Format(PyExc_TypeError, "%s.%s must be %s, not %.200s", record, field.name,
                 annotation_of(field.type), Py_TYPE(value)->tp_name);
    return nullptr;
  }
  return field.type == FieldType::kind ? kind_from(state, value) : Py_NewRef(value);
}

}  // namespace engines::treesitter::python
