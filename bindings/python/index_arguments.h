// What a question to an index takes from Python.
#pragma once

#include <Python.h>

#include <string>

#include "index/questions.h"

namespace engines::treesitter::python {

// Each is false with an error set: TypeError for what is of another type, ValueError for what there
// is not. Null leaves the default.
bool match_from(PyObject* object, repository::Match& match);
bool kind_from(PyObject* object, repository::Filter& filter);
// Three objects: language, within, limit.
bool filter_from(PyObject* const* objects, repository::Filter& filter);

// A path for functions that take its bytes up to a NUL, which would cut it.
bool file_path_from(PyObject* object, std::string& path);

}  // namespace engines::treesitter::python
