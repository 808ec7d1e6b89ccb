// What makes a record a dataclass in the eyes of Python's own library.
#pragma once

#include <Python.h>

#include "bindings/python/records.h"

namespace engines::treesitter::python {

// Gives the record's type __match_args__, __annotations__ and, worked out when first asked for,
// __dataclass_fields__ and __dataclass_params__. False with an error set.
bool add_dataclass_face(PyObject* module, PyTypeObject* type, const RecordSpec& spec);

}  // namespace engines::treesitter::python
