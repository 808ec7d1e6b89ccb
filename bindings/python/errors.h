// The engine's errors as Python's, by one fixed map (errors.cpp).
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

// The current error as an object, its traceback attached; it is no more the current one. Null when
// there is none.
PyObject* take_error();

// That exception as if the function that Python called last had raised it: with a traceback whose
// last frame is its caller's. Null with an error set.
PyObject* to_exception_here(const ModuleState& state, const std::exception_ptr& error);

// Gives what `body` returns; what it throws becomes the current error, and the result null. For
// functions that Python calls: an exception of C++ must not reach its frames.
//
// Catches std::exception and not everything: the end of a thread unwinds through here (gil.h).
template <typename Body>
PyObject* translating(const ModuleState& state, Body&& body) {
  try {
    return body();
  } catch (const std::exception&) {
    return raise(state, std::current_exception());
  }
}

}  // namespace engines::treesitter::python
