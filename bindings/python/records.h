// Records as Python sees them: plain values with typed fields, which dataclasses, match, pickle and
// repr treat as dataclasses. Those of a parse are mutable, those of an index are not.
//
// They are types of C and not Python's dataclasses. Dataclasses would take some percent more time
// and an eighth more memory (doc/performance.md), and importing dataclasses takes longer than our
// whole import. A field holds only what its type allows, so that records of texts and numbers can
// be part of no reference cycle, and the garbage collector does not visit them.
//
// Tested by tests/python/test_records.py.
#pragma once

#include <Python.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>

#include "bindings/python/owned.h"
#include "bindings/python/state.h"

namespace engines::treesitter::python {

enum class FieldType : std::uint8_t {
  text,
  optional_text,
  integer,
  optional_integer,
  boolean,
  kind,  // a SymbolKind, or the text of one, which becomes it
  list_of_symbols,
  list_of_references,
  list_of_texts,
  tuple_of_texts,
  definition,
  optional_definition,
  tuple_of_candidates,
  tuple_of_languages,  // LanguageCount
  tuple_of_rows,       // Definition or Use
};

struct Field {
  const char* name;
  FieldType type;
  const char* doc;
};

struct RecordSpec {
  const char* name;            // without the module's
  const char* qualified_name;  // with it
  const char* doc;             // begins with the signature
  std::span<const Field> fields;
  bool is_collected;  // by the garbage collector: a list in it may hold the record itself
  // Judges the values of all fields, whose types are right, before a record is made and before a
  // field is set: false with an error set. May be null.
  bool (*accepts)(PyObject* const* items);
  bool is_frozen = false;  // fields cannot be set, and there is a hash
  bool has_rows = false;   // it is a sequence: of what its first field holds, a tuple
};

inline constexpr std::size_t MOST_FIELDS = 11;

// Makes the types of a parse's records, and LanguageInfo, and adds them to the module. False with
// an error set.
bool add_record_types(ModuleState& state, PyObject* module);

// Makes a type look like a dataclass to whoever asks: sets __match_args__, __annotations__,
// __dataclass_fields__ and __dataclass_params__. False with an error set.
bool add_dataclass_attributes(PyObject* module, PyTypeObject* type, const RecordSpec& spec);

// ---- Making records ----

// A record whose fields are still to be filled. Null with an error set.
inline PyObject* new_record(PyTypeObject* type) { return type->tp_alloc(type, 0); }

// A record of these values, one for each field, which it takes over. Null with an error set when
// one of them is null.
PyObject* record_of(PyTypeObject* type, std::initializer_list<PyObject*> fields);

// A tuple of what `convert` makes of each value: a new reference, or null with an error set. Null
// with an error set also when the handler of a signal has raised.
template <typename Values, typename Convert>
PyObject* tuple_of(const Values& values, Convert convert) {
  constexpr std::size_t VALUES_PER_LOOK = 64;
  Owned tuple(PyTuple_New(static_cast<Py_ssize_t>(values.size())));
  for (std::size_t i = 0; tuple && i < values.size(); ++i) {
    if (i % VALUES_PER_LOOK == VALUES_PER_LOOK - 1 && PyErr_CheckSignals() != 0) return nullptr;
    PyObject* const item = convert(values[i]);
    if (item == nullptr) return nullptr;
    PyTuple_SET_ITEM(tuple.get(), static_cast<Py_ssize_t>(i), item);
  }
  return tuple.release();
}

// ---- Fields ----

// The values of the record's fields, in their order: strong references, null only until they are
// filled. One more pointer lies behind them, to the list of weak references to the record.
inline PyObject** items_of(PyObject* record) { return reinterpret_cast<PyObject**>(record + 1); }

inline constexpr std::size_t record_size(std::size_t fields) {
  return sizeof(PyObject) + (fields + 1) * sizeof(PyObject*);
}

// The annotation of a field of that type, such as "str | None".
const char* annotation_of(FieldType type);

// The value that a field gets when somebody sets it to `value`: a new reference, or null with a
// TypeError or ValueError set. `record`: the name of its type, for error texts.
PyObject* field_value(const ModuleState& state, const char* record, const Field& field,
                      PyObject* value);

// ---- What the slots of the types call ----

PyObject* make_record(const RecordSpec& spec, PyTypeObject* type, PyObject* arguments,
                      PyObject* keywords);
int set_field(const RecordSpec& spec, PyObject* self, const Field& field, PyObject* value);
PyObject* repr_of_record(const RecordSpec& spec, PyObject* self);
PyObject* compare_records(PyObject* self, PyObject* other, int operation);
PyObject* reduce_record(PyObject* self, PyObject* none);
PyObject* replace_record(PyObject* self, PyObject* positional, PyObject* changes);
Py_hash_t hash_record(PyObject* self);
PyObject* iterate_rows(PyObject* self);
Py_ssize_t count_rows(PyObject* self);
PyObject* row_at(PyObject* self, PyObject* index);
void deallocate_record(PyObject* self);
int traverse_record(PyObject* self, visitproc visit, void* arg);
int clear_record(PyObject* self);

}  // namespace engines::treesitter::python
