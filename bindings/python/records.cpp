// See records.h. What all records do alike, whatever their fields.
#include "bindings/python/records.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <utility>

#include "bindings/python/arguments.h"
#include "bindings/python/owned.h"

namespace engines::treesitter::python {
namespace {

std::span<PyObject*> all_items(PyObject* self) {
  const auto bytes = static_cast<std::size_t>(Py_TYPE(self)->tp_basicsize) - record_size(0);
  return {items_of(self), bytes / sizeof(PyObject*)};
}

PyObject* filled_record(const RecordSpec& spec, PyTypeObject* type, PyObject* const* values) {
  const auto& state = *static_cast<ModuleState*>(PyType_GetModuleState(type));
  Owned record(new_record(type));
  if (!record) return nullptr;
  PyObject** const items = items_of(record.get());
  for (std::size_t i = 0; i < spec.fields.size(); ++i) {
    items[i] = field_value(state, spec.name, spec.fields[i], values[i]);
    if (items[i] == nullptr) return nullptr;
  }
  if (spec.accepts != nullptr && !spec.accepts(items)) return nullptr;
  return record.release();
}

// "name=value, " for each field.
PyObject* repr_of_fields(const RecordSpec& spec, PyObject* self) {
  const Owned parts(PyList_New(0));
  const Owned comma(PyUnicode_FromString(", "));
  if (!parts || !comma) return nullptr;
  for (std::size_t i = 0; i < spec.fields.size(); ++i) {
    const Owned part(PyUnicode_FromFormat("%s=%R", spec.fields[i].name, items_of(self)[i]));
    if (!part || PyList_Append(parts.get(), part.get()) != 0) return nullptr;
  }
  return PyUnicode_Join(comma.get(), parts.get());
}

PyObject* tuple_of_items(PyObject* self) {
  const std::span<PyObject*> items = all_items(self);
  PyObject* const values = PyTuple_New(static_cast<Py_ssize_t>(items.size()));
  for (std::size_t i = 0; values != nullptr && i < items.size(); ++i) {
    PyTuple_SET_ITEM(values, static_cast<Py_ssize_t>(i), Py_NewRef(items[i]));
  }
  return values;
}

}  // namespace

PyObject* record_of(PyTypeObject* type, std::initializer_list<PyObject*> fields) {
  const bool is_whole = std::find(fields.begin(), fields.end(), nullptr) == fields.end();
  PyObject* const record = is_whole ? new_record(type) : nullptr;
  if (record != nullptr) {
    assert(fields.size() == all_items(record).size() && "one value for each field");
    std::copy(fields.begin(), fields.end(), items_of(record));
  } else {
    for (PyObject* const field : fields) Py_XDECREF(field);
  }
  return record;
}

PyObject* make_record(const RecordSpec& spec, PyTypeObject* type, PyObject* arguments,
                      PyObject* keywords) {
  std::array<const char*, MOST_FIELDS> names{};
  std::array<PyObject*, MOST_FIELDS> values{};
  const std::size_t count = spec.fields.size();
  for (std::size_t i = 0; i < count; ++i) names[i] = spec.fields[i].name;
  const Parameters parameters = {spec.name, {names.data(), count}, count};
  if (!bind_arguments(parameters, arguments, keywords, {values.data(), count})) return nullptr;
  return filled_record(spec, type, values.data());
}

int set_field(const RecordSpec& spec, PyObject* self, const Field& field, PyObject* value) {
  if (value == nullptr) {
    PyErr_Format(PyExc_TypeError, "cannot delete %s.%s", spec.name, field.name);
    return -1;
  }
  Owned held(field_value(state_of(self), spec.name, field, value));
  if (!held) return -1;
  const auto index = static_cast<std::size_t>(&field - spec.fields.data());
  if (spec.accepts != nullptr) {
    std::array<PyObject*, MOST_FIELDS> items{};
    std::copy_n(items_of(self), spec.fields.size(), items.begin());
    items[index] = held.get();
    if (!spec.accepts(items.data())) return -1;
  }
  // The old value is released last, when the record is whole again: that may run code of the
  // host's.
  const Owned old(std::exchange(items_of(self)[index], held.release()));
  return 0;
}

PyObject* repr_of_record(const RecordSpec& spec, PyObject* self) {
  // A list in a record may hold the record.
  const int entered = Py_ReprEnter(self);
  if (entered != 0) return entered > 0 ? PyUnicode_FromFormat("%s(...)", spec.name) : nullptr;
  const Owned fields(repr_of_fields(spec, self));
  Py_ReprLeave(self);
  return fields ? PyUnicode_FromFormat("%s(%U)", spec.name, fields.get()) : nullptr;
}

PyObject* compare_records(PyObject* self, PyObject* other, int operation) {
  if ((operation != Py_EQ && operation != Py_NE) || Py_TYPE(self) != Py_TYPE(other)) {
    Py_RETURN_NOTIMPLEMENTED;
  }
  int equal = 1;
  for (std::size_t i = 0; equal > 0 && i < all_items(self).size(); ++i) {
    // Comparing may run code of the host's, which may set the field; so we hold both values.
    const Owned mine(Py_NewRef(items_of(self)[i]));
    const Owned theirs(Py_NewRef(items_of(other)[i]));
    equal = PyObject_RichCompareBool(mine.get(), theirs.get(), Py_EQ);
  }
  if (equal < 0) return nullptr;
  return PyBool_FromLong((equal != 0) == (operation == Py_EQ));
}

PyObject* reduce_record(PyObject* self, PyObject* /*none*/) {
  const Owned values(tuple_of_items(self));
  return values ? PyTuple_Pack(2, Py_TYPE(self), values.get()) : nullptr;
}

Py_hash_t hash_record(PyObject* self) {
  const Owned values(tuple_of_items(self));
  return values ? PyObject_Hash(values.get()) : -1;
}

PyObject* iterate_rows(PyObject* self) { return PyObject_GetIter(items_of(self)[0]); }

Py_ssize_t count_rows(PyObject* self) { return PyTuple_GET_SIZE(items_of(self)[0]); }

PyObject* row_at(PyObject* self, PyObject* index) {
  return PyObject_GetItem(items_of(self)[0], index);
}

// copy.replace calls it, from Python 3.13 on.
PyObject* replace_record(PyObject* self, PyObject* positional, PyObject* changes) {
  if (PyTuple_GET_SIZE(positional) > 0) {
    PyErr_SetString(PyExc_TypeError, "__replace__() takes no positional arguments");
    return nullptr;
  }
  PyObject* const type = reinterpret_cast<PyObject*>(Py_TYPE(self));
  const Owned names(PyObject_GetAttrString(type, "__match_args__"));
  const Owned values(names ? PyDict_New() : nullptr);
  for (std::size_t i = 0; values && i < all_items(self).size(); ++i) {
    PyObject* const name = PyTuple_GET_ITEM(names.get(), static_cast<Py_ssize_t>(i));
    if (PyDict_SetItem(values.get(), name, items_of(self)[i]) != 0) return nullptr;
  }
  if (!values || (changes != nullptr && PyDict_Update(values.get(), changes) != 0)) return nullptr;
  return PyObject_Call(type, positional, values.get());
}

void deallocate_record(PyObject* self) {
  PyTypeObject* const type = Py_TYPE(self);
  if (PyType_IS_GC(type)) PyObject_GC_UnTrack(self);
  PyObject_ClearWeakRefs(self);
  clear_record(self);
  type->tp_free(self);
  Py_DECREF(type);
}

int traverse_record(PyObject* self, visitproc visit, void* arg) {
  Py_VISIT(Py_TYPE(self));
  for (PyObject* const item : all_items(self)) Py_VISIT(item);
  return 0;
}

int clear_record(PyObject* self) {
  for (PyObject*& item : all_items(self)) Py_CLEAR(item);
  return 0;
}

}  // namespace engines::treesitter::python
