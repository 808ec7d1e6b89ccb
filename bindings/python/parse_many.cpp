// One idea: paths are read and results are made on the thread that iterates, everything between is
// done by threads that know nothing of Python (ordered_parse.h). A pool of Python threads would
// pass the interpreter's lock from hand to hand for each file, and would have to be ended with it.
//
// Tested by tests/python/test_parse_many.py.
#include "bindings/python/parse_many.h"

#include <sched.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <deque>
#include <memory>
#include <new>
#include <string>

#include "bindings/python/arguments.h"
#include "bindings/python/engine.h"
#include "bindings/python/errors.h"
#include "bindings/python/gil.h"
#include "bindings/python/ordered_parse.h"
#include "bindings/python/outcome.h"
#include "bindings/python/owned.h"
#include "bindings/python/results.h"
#include "bindings/python/texts.h"
#include "engines/languages/languages.h"

namespace engines::treesitter::python {
namespace {

// How far paths are read ahead of the results, per thread: enough that a file which takes as long
// as ten others leaves no thread without work.
constexpr std::size_t AHEAD_PER_THREAD = 16;
constexpr std::size_t MOST_THREADS = 1024;

// How long a wait may keep Ctrl-C waiting.
constexpr std::chrono::milliseconds SIGNAL_INTERVAL(50);

// One place in the order: a file that is being parsed (null), or what to give or to raise for it.
using Turn = PyObject*;

struct Iteration {
  std::unique_ptr<OrderedParse> files;
  std::size_t threads;
  pid_t process;
  PyObject* paths;  // the input's iterator, null once it has ended
  std::deque<Turn> turns;
  bool is_running = false;
};

struct IterationObject {
  PyObject_HEAD Iteration* iteration;  // null when closed
};

Iteration*& iteration_of(PyObject* self) {
  return reinterpret_cast<IterationObject*>(self)->iteration;
}

// ---- Ending ----

int traverse(PyObject* self, visitproc visit, void* arg) {
  Py_VISIT(Py_TYPE(self));
  if (const Iteration* const iteration = iteration_of(self)) {
    Py_VISIT(iteration->paths);
    for (PyObject* const turn : iteration->turns) Py_VISIT(turn);
  }
  return 0;
}

int end(PyObject* self) {
  Iteration* const iteration = std::exchange(iteration_of(self), nullptr);
  if (iteration == nullptr) return 0;
  // In a fork's child there are no such threads, and whatever lock they held is held for ever.
  if (iteration->process != ::getpid()) (void)iteration->files.release();
  if (iteration->files) without_gil([&] { iteration->files.reset(); });
  Py_XDECREF(iteration->paths);
  for (PyObject* const turn : iteration->turns) Py_XDECREF(turn);
  delete iteration;
  return 0;
}

void deallocate(PyObject* self) {
  PyTypeObject* const type = Py_TYPE(self);
  PyObject_GC_UnTrack(self);
  end(self);
  type->tp_free(self);
  Py_DECREF(type);
}

// ---- Reading paths ----

// The exception's name and text.
std::string error_text(PyObject* exception) {
  const Owned text(PyObject_Str(exception));
  const char* const utf8 = text ? PyUnicode_AsUTF8(text.get()) : nullptr;
  PyErr_Clear();
  const std::string name = Py_TYPE(exception)->tp_name;
  return utf8 == nullptr || *utf8 == '\0' ? name : name + ": " + utf8;
}

// What stands for a file whose parse raised.
PyObject* failed_result(const ModuleState& state, const std::string& path, PyObject* exception) {
  ParseResult result;
  result.path = path;
  result.language = languages::detect_language(path).value_or("");
  result.errors = {error_text(exception)};
  return to_python(state, result);
}

// The current error as an object, its trace attached.
PyObject* take_error() {
  PyObject* type = nullptr;
  PyObject* value = nullptr;
  PyObject* trace = nullptr;
  PyErr_Fetch(&type, &value, &trace);
  PyErr_NormalizeException(&type, &value, &trace);
  if (trace != nullptr) PyException_SetTraceback(value, trace);
  Py_DECREF(type);
  Py_XDECREF(trace);
  return value;
}

// A str that the file system cannot name is a file that cannot be parsed; the result has it as
// given.
PyObject* unnameable_result(const ModuleState& state, PyObject* path) {
  const Owned error(take_error());
  const Owned text(PyOS_FSPath(path));
  Owned result(text ? failed_result(state, {}, error.get()) : nullptr);
  if (!result || PyObject_SetAttrString(result.get(), "path", text.get()) != 0) return nullptr;
  return result.release();
}

// The end of the input, for which the current error may be the reason. Errors have their turn like
// results; Ctrl-C and its like do not wait.
bool end_input(Iteration& iteration) {
  Py_CLEAR(iteration.paths);
  if (PyErr_Occurred() == nullptr) return true;
  if (!PyErr_ExceptionMatches(PyExc_Exception)) return false;
  iteration.turns.push_back(take_error());
  return true;
}

bool read_path(const ModuleState& state, Iteration& iteration) {
  const Owned object(PyIter_Next(iteration.paths));
  if (!object) return end_input(iteration);
  std::string path;
  if (path_from(object.get(), path)) {
    iteration.files->add(std::move(path));
    iteration.turns.push_back(nullptr);
    return true;
  }
  if (!PyErr_ExceptionMatches(PyExc_UnicodeEncodeError)) return end_input(iteration);
  PyObject* const result = unnameable_result(state, object.get());
  if (result == nullptr) return false;
  iteration.turns.push_back(result);
  return true;
}

bool first_is_ready(const Iteration& iteration) {
  if (iteration.turns.empty()) return false;
  return iteration.turns.front() != nullptr || iteration.files->wait({});
}

// Reads until a result is there and every thread has a file to go on with, within the bound.
bool read_ahead(const ModuleState& state, Iteration& iteration) {
  const std::size_t bound = iteration.threads * AHEAD_PER_THREAD;
  while (iteration.paths != nullptr && iteration.turns.size() < bound) {
    if (iteration.files->waiting() >= iteration.threads && first_is_ready(iteration)) break;
    if (!read_path(state, iteration)) return false;
  }
  return true;
}

// ---- Giving results ----

bool wait_for_first(const OrderedParse& files) {
  bool is_there = files.wait({});
  while (!is_there) {
    without_gil([&] { is_there = files.wait(SIGNAL_INTERVAL); });
    if (PyErr_CheckSignals() != 0) return false;
  }
  return true;
}

PyObject* give_file(ModuleState& state, Iteration& iteration) {
  if (!wait_for_first(*iteration.files)) return nullptr;
  iteration.turns.pop_front();
  const OrderedParse::Taken taken = iteration.files->take();
  if (taken.outcome.error == nullptr) return deliver(state, taken.outcome);
  if (!emit_records(state, taken.outcome.records)) return nullptr;
  const Owned exception(to_exception(state, taken.outcome.error));
  return exception ? failed_result(state, taken.path, exception.get()) : nullptr;
}

PyObject* give(ModuleState& state, Iteration& iteration) {
  if (!read_ahead(state, iteration) || iteration.turns.empty()) return nullptr;
  PyObject* const turn = iteration.turns.front();
  if (turn == nullptr) return give_file(state, iteration);
  iteration.turns.pop_front();
  if (!PyExceptionInstance_Check(turn)) return turn;
  PyErr_SetObject(PyExceptionInstance_Class(turn), turn);
  Py_DECREF(turn);
  return nullptr;
}

// Whether the iteration may go on here. False with an error set; also false, without one, when it
// is closed.
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
  // A caller such as list() asks again and again without Python code in between.
  if (PyErr_CheckSignals() != 0) return nullptr;
  Iteration* const iteration = iteration_of(self);
  if (!is_usable(iteration)) return nullptr;
  ModuleState& state = state_of(self);
  const Owned stays(Py_NewRef(self));
  iteration->is_running = true;
  PyObject* const result = translating(state, [&] { return give(state, *iteration); });
  iteration->is_running = false;
  // Its threads have nothing to wait for any more.
  if (iteration->paths == nullptr && iteration->turns.empty()) end(self);
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

// ---- Beginning ----

std::size_t usable_processors() {
  cpu_set_t set;
  const bool known = ::sched_getaffinity(0, sizeof(set), &set) == 0;
  return known ? static_cast<std::size_t>(CPU_COUNT(&set)) : 1;
}

bool threads_from(PyObject* object, std::size_t& threads) {
  if (object == nullptr || object == Py_None) {
    threads = usable_processors();
    return true;
  }
  std::int64_t number = 0;
  if (!integer_from(object, number)) return false;
  if (number < 1) {
    PyErr_SetString(PyExc_ValueError, "threads must be at least 1");
    return false;
  }
  threads = std::min(static_cast<std::size_t>(number), MOST_THREADS);
  return true;
}

// A single path would be taken apart into letters.
PyObject* iterator_of(PyObject* paths) {
  if (!PyUnicode_Check(paths) && !PyBytes_Check(paths)) return PyObject_GetIter(paths);
  PyErr_Format(PyExc_TypeError, "paths must be an iterable of paths, not %.200s",
               Py_TYPE(paths)->tp_name);
  return nullptr;
}

constexpr const char DOC[] =
    "The iterator that parse_many gives: results in the order of its paths.";

PyMethodDef methods[] = {
    {"close", close, METH_NOARGS,
     "close($self, /)\n--\n\nEnd the threads, after the file that each is parsing."},
    {nullptr, nullptr, 0, nullptr},
};

PyType_Slot slots[] = {
    {Py_tp_doc, const_cast<char*>(DOC)},
    {Py_tp_iter, reinterpret_cast<void*>(PyObject_SelfIter)},
    {Py_tp_iternext, reinterpret_cast<void*>(next)},
    {Py_tp_methods, methods},
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
  static constexpr const char* NAMES[] = {"paths", "threads"};
  std::array<PyObject*, std::size(NAMES)> values{};
  if (!bind_arguments({"parse_many", NAMES, 1}, arguments, count, keywords, values)) return nullptr;
  return translating(state, [&]() -> PyObject* {
    auto iteration = std::make_unique<Iteration>();
    if (!threads_from(values[1], iteration->threads)) return nullptr;
    iteration->files = std::make_unique<OrderedParse>(engine_of(engine), iteration->threads);
    iteration->process = ::getpid();
    Owned paths(iterator_of(values[0]));
    if (!paths) return nullptr;
    PyObject* const self = state.parse_many->tp_alloc(state.parse_many, 0);
    if (self == nullptr) return nullptr;
    iteration->paths = paths.release();
    iteration_of(self) = iteration.release();
    return self;
  });
}

}  // namespace engines::treesitter::python
