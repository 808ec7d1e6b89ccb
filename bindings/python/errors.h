// Converts the engine's errors to Python's exceptions.
//
// Tested by tests/python/test_errors.py.
#pragma once

#include <Python.h>

#include <exception>

#include "bindings/python/state.h"

namespace engines::treesitter::python {

// Makes the module's own exceptions and adds them to the module. False with an error set.
bool add_error_types(ModuleState& state, PyObject* module);

// A new instance of the Python exception that `error` is. Null with an error set.
PyObject* to_exception(const ModuleState& state, const std::exception_ptr& error);

// Sets that exception as the current error. Gives null, for functions to return.
PyObject* raise(const ModuleState& state, const std::exception_ptr& error);

// Takes the current error away: gives it as an object with its traceback, null when there is none.
PyObject* take_error();

// Sets that object as the current error.
void set_error(PyObject* exception);

// The exception that `error` is, with a traceback that ends in the Python function which has called
// us. Null with an error set.
PyObject* to_exception_here(const ModuleState& state, const std::exception_ptr& error);

// Gives what `body` returns. What it throws becomes the current error, and the result is null. For
// functions that Python calls: no exception of C++ may reach Python's own code.
//
// Catches only std::exception, since Python may end a thread by unwinding it through here
// (owned.h).
template <typename Body>
PyObject* translating(const ModuleState& state, Body&& body) {
  try {
    return body();
  } catch (const std::exception&) {
    return raise(state, std::current_exception());
  }
}

}  // namespace engines::treesitter::python
