// The attributes by which Python's library knows a dataclass.
//
// __dataclass_fields__ and __dataclass_params__ are made when somebody first reads them, who then
// has imported dataclasses already: a true dataclass with the same fields is made, and its
// attributes are copied. To import dataclasses with this module would more than double the time of
// its import.
//
// Tested by tests/python/test_records.py.
#include "bindings/python/owned.h"
#include "bindings/python/records.h"

namespace engines::treesitter::python {
namespace {

constexpr const char* LATE_NAMES[] = {"__dataclass_fields__", "__dataclass_params__"};

// A descriptor that stands for one of these attributes until somebody reads it.
struct LateAttribute {
  PyObject_HEAD const char* name;
};

// A dataclass with the name and the fields of the type.
PyObject* dataclass_like(PyObject* type) {
  const Owned dataclasses(PyImport_ImportModule("dataclasses"));
  const Owned name(dataclasses ? PyObject_GetAttrString(type, "__name__") : nullptr);
  const Owned annotations(name ? PyObject_GetAttrString(type, "__annotations__") : nullptr);
  const Owned fields(annotations ? PyDict_Items(annotations.get()) : nullptr);
  const Owned make(fields ? PyObject_GetAttrString(dataclasses.get(), "make_dataclass") : nullptr);
  const Owned arguments(make ? PyTuple_Pack(2, name.get(), fields.get()) : nullptr);
  const bool is_frozen =
      reinterpret_cast<PyTypeObject*>(type)->tp_hash != PyObject_HashNotImplemented;
  const Owned options(arguments ? Py_BuildValue("{sO}", "frozen", is_frozen ? Py_True : Py_False)
                                : nullptr);
  return options ? PyObject_Call(make.get(), arguments.get(), options.get()) : nullptr;
}

// The descriptor's __get__: replaces both descriptors of the type by the attributes.
PyObject* make_attributes(PyObject* self, PyObject* /*instance*/, PyObject* type) {
  const Owned dataclass(dataclass_like(type));
  if (!dataclass) return nullptr;
  for (const char* const name : LATE_NAMES) {
    const Owned attribute(PyObject_GetAttrString(dataclass.get(), name));
    if (!attribute || PyObject_SetAttrString(type, name, attribute.get()) != 0) return nullptr;
  }
  return PyObject_GetAttrString(type, reinterpret_cast<LateAttribute*>(self)->name);
}

void deallocate(PyObject* self) {
  PyTypeObject* const type = Py_TYPE(self);
  type->tp_free(self);
  Py_DECREF(type);
}

PyObject* new_late_attribute_type(PyObject* module) {
  PyType_Slot slots[] = {
      {Py_tp_descr_get, reinterpret_cast<void*>(make_attributes)},
      {Py_tp_dealloc, reinterpret_cast<void*>(deallocate)},
      {0, nullptr},
  };
  PyType_Spec spec = {
      .name = "treesitter._LateAttribute",
      .basicsize = sizeof(LateAttribute),
      .itemsize = 0,
      .flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_DISALLOW_INSTANTIATION,
      .slots = slots,
  };
  return PyType_FromModuleAndSpec(module, &spec, nullptr);
}

bool set_late_attributes(PyObject* module, PyObject* type) {
  const Owned late_type(new_late_attribute_type(module));
  for (const char* const name : LATE_NAMES) {
    const Owned late(late_type ? new_record(reinterpret_cast<PyTypeObject*>(late_type.get()))
                               : nullptr);
    if (!late) return false;
    reinterpret_cast<LateAttribute*>(late.get())->name = name;
    if (PyObject_SetAttrString(type, name, late.get()) != 0) return false;
  }
  return true;
}

}  // namespace

bool add_dataclass_attributes(PyObject* module, PyTypeObject* type, const RecordSpec& spec) {
  const Owned names(PyTuple_New(static_cast<Py_ssize_t>(spec.fields.size())));
  const Owned annotations(PyDict_New());
  if (!names || !annotations) return false;
  for (std::size_t i = 0; i < spec.fields.size(); ++i) {
    PyObject* const name = PyUnicode_InternFromString(spec.fields[i].name);
    if (name == nullptr) return false;
    PyTuple_SET_ITEM(names.get(), static_cast<Py_ssize_t>(i), name);
    const Owned annotation(PyUnicode_FromString(annotation_of(spec.fields[i].type)));
    if (!annotation || PyDict_SetItem(annotations.get(), name, annotation.get()) != 0) return false;
  }
  auto* const object = reinterpret_cast<PyObject*>(type);
  return PyObject_SetAttrString(object, "__match_args__", names.get()) == 0 &&
         PyObject_SetAttrString(object, "__annotations__", annotations.get()) == 0 &&
         set_late_attributes(module, object);
}

}  // namespace engines::treesitter::python
