// Converts the arguments of a question to an index.
//
// Tested by tests/python/test_index.py.
#pragma once

#include <Python.h>

#include "index/questions.h"

namespace engines::treesitter::python {

// Each leaves the default when the object is null. False with an error set: TypeError for another
// type, ValueError for a value that does not exist.
bool match_from(PyObject* object, repository::Match& match);
bool kind_from(PyObject* object, repository::Filter& filter);
// `objects`: the arguments language, within and limit.
bool filter_from(PyObject* const* objects, repository::Filter& filter);

}  // namespace engines::treesitter::python
