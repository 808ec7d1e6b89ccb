// See parse_many.h.
#include "bindings/python/parse_many.h"

#include <Python.h>
#include <structmember.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "bindings/python/arguments.h"
#include "bindings/python/engine.h"
#include "bindings/python/errors.h"
#include "bindings/python/iteration.h"
#include "bindings/python/owned.h"
#include "bindings/python/texts.h"

namespace engines::treesitter::python {
namespace {

constexpr std::size_t MOST_THREADS = 1024;

struct IterationObject {
  PyObject_HEAD Iteration* iteration;  // null when closed
  PyObject* weak_references;
};

Iteration*& iteration_of(PyObject* self) {
  return reinterpret_cast<IterationObject*>(self)->iteration;
}

// ---- Ending ----

int traverse(PyObject* self, visitproc visit, void* arg) {
  Py_VISIT(Py_TYPE(self));
  if (const Iteration* const iteration = iteration_of(self)) {
    Py_VISIT(iteration->items);
    for (const Turn& turn : iteration->turns) Py_VISIT(turn.object);
  }
  return 0;
}

int end(PyObject* self) {
  Iteration* const iteration = std::exchange(iteration_of(self), nullptr);
  if (iteration == nullptr) return 0;
  end_run(*iteration);
  Py_XDECREF(iteration->items);
  for (const Turn& turn : iteration->turns) Py_XDECREF(turn.object);
  delete iteration;
  return 0;
}

void deallocate(PyObject* self) {
  PyTypeObject* const type = Py_TYPE(self);
  PyObject_GC_UnTrack(self);
  PyObject_ClearWeakRefs(self);
  end(self);
  type->tp_free(self);
  Py_DECREF(type);
}

// Whether the iteration may go on in this call. Otherwise false with an error set, and without one
// when it is closed.
bool is_usable(const Iteration* iteration) {
  if (iteration == nullptr) return false;
  if (iteration->process != ::getpid()) {
    PyErr_SetString(PyExc_RuntimeError, "parse_many was begun in another process");
  } else if (iteration->is_running) {
    PyErr_SetString(PyExc_ValueError, "parse_many is already executing");
  } else {
    return true;
  }
  return false;
}

PyObject* next(PyObject* self) {
  // A caller such as list() runs no code of Python's, which would look for signals, between two
  // calls.
  if (PyErr_CheckSignals() != 0) return nullptr;
  Iteration* const iteration = iteration_of(self);
  if (!is_usable(iteration)) return nullptr;
  ModuleState& state = state_of(self);
  const Owned stays(Py_NewRef(self));
  iteration->is_running = true;
  PyObject* const result = translating(state, [&] { return next_result(state, *iteration); });
  iteration->is_running = false;
  // At the end the threads are not needed any more.
  if (iteration->items == nullptr && iteration->turns.empty()) end(self);
  return result;
}

PyObject* close(PyObject* self, PyObject* /*none*/) {
  if (iteration_of(self) != nullptr && iteration_of(self)->is_running) {
    PyErr_SetString(PyExc_ValueError, "parse_many is already executing");
    return nullptr;
  }
  end(self);
  Py_RETURN_NONE;
}

PyObject* enter(PyObject* self, PyObject* /*none*/) { return Py_NewRef(self); }

PyObject* leave(PyObject* self, PyObject* const* /*exception*/, Py_ssize_t /*count*/) {
  return close(self, nullptr);
}

// ---- Beginning ----

bool wrong_threads() {
  PyErr_SetString(PyExc_ValueError, "threads must be at least 1, and less than 2**63");
  return false;
}

bool threads_from(PyObject* object, std::size_t& threads) {
  if (object == nullptr || object == Py_None) {
    threads = usable_processors();
    return true;
  }
  std::int64_t number = 0;
  if (!integer_from(object, number)) {
    return PyErr_ExceptionMatches(PyExc_OverflowError) != 0 && wrong_threads();
  }
  if (number < 1) return wrong_threads();
  threads = std::min(static_cast<std::size_t>(number), MOST_THREADS);
  return true;
}

// A single path is no iterable of items, although Python would give its letters.
PyObject* iterator_of(PyObject* items) {
  if (!PyUnicode_Check(items) && !PyBytes_Check(items)) return PyObject_GetIter(items);
  PyErr_Format(PyExc_TypeError, "items must be an iterable of items, not %.200s",
               Py_TYPE(items)->tp_name);
  return nullptr;
}

constexpr const char DOC[] =
    "The iterator that parse_many gives: results in the order of its items.";

PyMethodDef methods[] = {
    {"close", close, METH_NOARGS,
     "close($self, /)\n--\n\nCancel what is being parsed, and end the threads."},
    {"__enter__", enter, METH_NOARGS, "__enter__($self, /)\n--\n\nThe iterator itself."},
    {"__exit__", as_method(leave), METH_FASTCALL,
     "__exit__($self, /, *exception)\n--\n\nClose the iterator."},
    {nullptr, nullptr, 0, nullptr},
};

PyMemberDef members[] = {
    {"__weaklistoffset__", T_PYSSIZET, offsetof(IterationObject, weak_references), READONLY,
     nullptr},
    {nullptr, 0, 0, 0, nullptr},
};

PyType_Slot slots[] = {
    {Py_tp_doc, const_cast<char*>(DOC)},
    {Py_tp_iter, reinterpret_cast<void*>(PyObject_SelfIter)},
    {Py_tp_iternext, reinterpret_cast<void*>(next)},
    {Py_tp_methods, methods},
    {Py_tp_members, members},
    {Py_tp_dealloc, reinterpret_cast<void*>(deallocate)},
    {Py_tp_traverse, reinterpret_cast<void*>(traverse)},
    {Py_tp_clear, reinterpret_cast<void*>(end)},
    {0, nullptr},
};

PyType_Spec spec = {
    .name = "treesitter.ParseMany",
    .basicsize = sizeof(IterationObject),
    .itemsize = 0,
    .flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_GC | Py_TPFLAGS_DISALLOW_INSTANTIATION,
    .slots = slots,
};

}  // namespace

bool add_parse_many_type(ModuleState& state, PyObject* module) {
  state.parse_many =
      reinterpret_cast<PyTypeObject*>(PyType_FromModuleAndSpec(module, &spec, nullptr));
  return state.parse_many != nullptr && PyModule_AddType(module, state.parse_many) == 0;
}

PyObject* new_parse_many(ModuleState& state, PyObject* engine, PyObject* const* arguments,
                         Py_ssize_t count, PyObject* keywords) {
  static constexpr const char* NAMES[] = {"items", "threads"};
  std::array<PyObject*, std::size(NAMES)> values{};
  if (!bind_arguments({"parse_many", NAMES, 1}, arguments, count, keywords, values)) return nullptr;
  return translating(state, [&]() -> PyObject* {
    std::size_t threads = 0;
    if (!threads_from(values[1], threads)) return nullptr;
    auto iteration = new_iteration(engine_of(engine), threads);
    Owned items(iterator_of(values[0]));
    if (!items) return nullptr;
    PyObject* const self = state.parse_many->tp_alloc(state.parse_many, 0);
    if (self == nullptr) return nullptr;
    iteration->items = items.release();
    iteration_of(self) = iteration.release();
    return self;
  });
}

}  // namespace engines::treesitter::python
