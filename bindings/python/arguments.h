// Arguments of a call, sorted to the parameters that they are for.
//
// A parameter may be given by position or by name, as in a plain Python function; what does not fit
// is a TypeError in Python's own words. Python's parsers of format strings are not used, since
// none serves both ways in which C functions are called.
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

// Fills `values`, one for each name: borrowed references, null where an argument is left out. False
// with an error set. The first form is for METH_FASTCALL | METH_KEYWORDS, the second for tp_new.
bool bind_arguments(const Parameters& parameters, PyObject* const* arguments, Py_ssize_t count,
                    PyObject* keywords, std::span<PyObject*> values);
bool bind_arguments(const Parameters& parameters, PyObject* arguments, PyObject* keywords,
                    std::span<PyObject*> values);

// The function pointer of a METH_FASTCALL | METH_KEYWORDS function, as a method table wants it.
using KeywordFunction = PyObject* (*)(PyObject*, PyObject* const*, Py_ssize_t, PyObject*);
inline PyCFunction as_method(KeywordFunction function) {
  return reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(function));
}

}  // namespace engines::treesitter::python
