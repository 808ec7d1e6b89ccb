// Makes the type of a record from its description.
//
// Tested by tests/python/test_records.py and test_index.py.
#pragma once

#include <Python.h>
#include <structmember.h>

#include <array>
#include <cstddef>

#include "bindings/python/arguments.h"
#include "bindings/python/errors.h"
#include "bindings/python/records.h"

namespace engines::treesitter::python {

// The slots that need to know the fields.
template <const RecordSpec& SPEC>
struct Slots {
  static PyObject* make(PyTypeObject* type, PyObject* arguments, PyObject* keywords) {
    const auto& state = *static_cast<ModuleState*>(PyType_GetModuleState(type));
    return translating(state, [&] { return make_record(SPEC, type, arguments, keywords); });
  }

  static PyObject* repr(PyObject* self) { return repr_of_record(SPEC, self); }

  static PyObject* get(PyObject* self, void* field) {
    return Py_NewRef(items_of(self)[static_cast<const Field*>(field) - SPEC.fields.data()]);
  }

  static int set(PyObject* self, PyObject* value, void* field) {
    return set_field(SPEC, self, *static_cast<const Field*>(field), value);
  }

  // Python's tables are not const.
  static inline constinit auto accessors = [] {
    std::array<PyGetSetDef, SPEC.fields.size() + 1> rows{};
    for (std::size_t i = 0; i < SPEC.fields.size(); ++i) {
      const Field& field = SPEC.fields[i];
      rows[i] = {field.name, get, SPEC.is_frozen ? nullptr : set, field.doc,
                 const_cast<Field*>(&field)};
    }
    return rows;
  }();
};

inline constexpr PyMethodDef REDUCE = {"__reduce__", reduce_record, METH_NOARGS,
                                       "Pickled as its type and its fields."};
inline const PyMethodDef REPLACE = {
    "__replace__", as_method(replace_record), METH_VARARGS | METH_KEYWORDS,
    "__replace__($self, /, **changes)\n--\n\nA new one with these fields changed."};

inline PyMethodDef record_methods[] = {
    REDUCE,
    REPLACE,
    {nullptr, nullptr, 0, nullptr},
};

// For a record that is a sequence. It is generic: Answer[Use].
inline PyMethodDef row_methods[] = {
    REDUCE,
    REPLACE,
    {"__class_getitem__", Py_GenericAlias, METH_O | METH_CLASS,
     "__class_getitem__($type, row, /)\n--\n\nThe type of those with such rows."},
    {nullptr, nullptr, 0, nullptr},
};

template <const RecordSpec& SPEC>
PyTypeObject* new_type(PyObject* module) {
  constexpr std::size_t SIZE = record_size(SPEC.fields.size());
  PyMemberDef members[] = {
      {"__weaklistoffset__", T_PYSSIZET, SIZE - sizeof(PyObject*), READONLY, nullptr},
      {nullptr, 0, 0, 0, nullptr},
  };
  std::array<PyType_Slot, 15> slots = {{
      {Py_tp_doc, const_cast<char*>(SPEC.doc)},
      {Py_tp_new, reinterpret_cast<void*>(&Slots<SPEC>::make)},
      {Py_tp_dealloc, reinterpret_cast<void*>(deallocate_record)},
      {Py_tp_repr, reinterpret_cast<void*>(&Slots<SPEC>::repr)},
      {Py_tp_richcompare, reinterpret_cast<void*>(compare_records)},
      {Py_tp_hash,
       reinterpret_cast<void*>(SPEC.is_frozen ? hash_record : PyObject_HashNotImplemented)},
      {Py_tp_getset, Slots<SPEC>::accessors.data()},
      {Py_tp_methods, SPEC.has_rows ? row_methods : record_methods},
      {Py_tp_members, members},
  }};
  std::size_t count = 9;
  if (SPEC.is_collected) {
    slots[count++] = {Py_tp_traverse, reinterpret_cast<void*>(traverse_record)};
    slots[count++] = {Py_tp_clear, reinterpret_cast<void*>(clear_record)};
  }
  if (SPEC.has_rows) {
    slots[count++] = {Py_tp_iter, reinterpret_cast<void*>(iterate_rows)};
    slots[count++] = {Py_mp_length, reinterpret_cast<void*>(count_rows)};
    slots[count++] = {Py_mp_subscript, reinterpret_cast<void*>(row_at)};
  }
  PyType_Spec spec = {
      .name = SPEC.qualified_name,
      .basicsize = static_cast<int>(SIZE),
      .itemsize = 0,
      .flags = Py_TPFLAGS_DEFAULT | (SPEC.is_collected ? Py_TPFLAGS_HAVE_GC : 0),
      .slots = slots.data(),
  };
  return reinterpret_cast<PyTypeObject*>(PyType_FromModuleAndSpec(module, &spec, nullptr));
}

// Makes the type and adds it to the module. False with an error set.
template <const RecordSpec& SPEC>
bool add_record_type(PyTypeObject*& type, PyObject* module) {
  type = new_type<SPEC>(module);
  return type != nullptr && add_dataclass_attributes(module, type, SPEC) &&
         PyModule_AddType(module, type) == 0;
}

}  // namespace engines::treesitter::python
