// Binds the arguments of a call to its parameters.
//
// An argument may be given by position or by name, as in a plain Python function; one that does not
// fit is a TypeError in Python's own words. Python's own parsers of arguments were refused, since
// none serves both ways in which C functions are called.
//
// Tested by tests/python/test_errors.py.
#pragma once

#include <Python.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace engines::treesitter::python {

struct Parameters {
  const char* function;  // the name that error texts show
  std::span<const char* const> names;
  std::size_t required;               // how many have no default; they come first
  std::size_t positional = SIZE_MAX;  // how many may be given without a name
};

// Fills `values`, which has one place for each name: borrowed references, null where an argument is
// left out. False with an error set. The first form is for METH_FASTCALL | METH_KEYWORDS, the
// second for tp_new.
bool bind_arguments(const Parameters& parameters, PyObject* const* arguments, Py_ssize_t count,
                    PyObject* keywords, std::span<PyObject*> values);
bool bind_arguments(const Parameters& parameters, PyObject* arguments, PyObject* keywords,
                    std::span<PyObject*> values);

// The pointer to a function as a method table holds it, whatever parameters the method's flags give
// it.
template <typename... Arguments>
PyCFunction as_method(PyObject* (*function)(Arguments...)) {
  return reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(function));
}

}  // namespace engines::treesitter::python
