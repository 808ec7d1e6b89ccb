// The type Index, and how an object of it runs a question.
//
// Tested by tests/python/test_index.py.
#pragma once

#include <Python.h>

#include <exception>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>

#include "bindings/python/gil.h"
#include "bindings/python/index_connections.h"
#include "bindings/python/interpreter_end.h"
#include "bindings/python/signals.h"
#include "bindings/python/state.h"
#include "index/index_error.h"
#include "index/poll.h"

namespace engines::treesitter::python {

// Makes the type and adds it to the module. False with an error set.
bool add_index_type(ModuleState& state, PyObject* module);

struct IndexObject {
  PyObject_HEAD std::shared_ptr<IndexConnections> connections;  // null when closed
  struct {
    std::string root;
    std::string database;
  } names;
  PyObject* weak_references;
};

inline IndexObject& index_of(PyObject* self) { return *reinterpret_cast<IndexObject*>(self); }

// Runs `work` without the GIL, with the poll that ends its questions. What it throws is thrown
// here. False with an error set when the handler of a signal has raised.
template <typename Work>
bool run_question(Work work) {
  SignalPoll signals;
  const auto serve = signals.function();
  const std::stop_token end = end_of_interpreter();
  const repository::Poll poll = [&] { return end.stop_requested() || (serve && serve()); };
  std::exception_ptr failure;
  without_gil([&] {
    const EngineCall call;
    try {
      if (!call.may_begin()) throw repository::IndexError("the interpreter has ended");
      work(poll);
    } catch (const std::exception&) {
      failure = std::current_exception();
    }
  });
  if (signals.has_raised()) return false;
  if (failure != nullptr) std::rethrow_exception(failure);
  return true;
}

// The methods: those for questions stand in index_questions.cpp, the others in index.cpp.
extern PyMethodDef index_methods[];
PyObject* close_index(PyObject* self, PyObject* none);
PyObject* enter_index(PyObject* self, PyObject* none);
PyObject* leave_index(PyObject* self, PyObject* const* exception, Py_ssize_t count);
PyObject* reduce_index(PyObject* self, PyObject* none);

}  // namespace engines::treesitter::python
