// One idea: items are read and results are made on the thread that iterates, everything between is
// done by the engine's own threads (ParseMany), which know nothing of Python. A pool of Python
// threads would pass the interpreter's lock from hand to hand for each file, and would have to be
// ended with it.
//
// Where the system gives no thread, the engine parses on the thread that iterates, which looks for
// signals meanwhile. It then takes one item for each result, so that the queue always has what it
// asks for.
//
// Tested by tests/python/test_parse_many.py.
#include "bindings/python/parse_many.h"

#include <Python.h>
#include <structmember.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "bindings/python/arguments.h"
#include "bindings/python/engine.h"
#include "bindings/python/errors.h"
#include "bindings/python/gil.h"
#include "bindings/python/interpreter_end.h"
#include "bindings/python/item_queue.h"
#include "bindings/python/items.h"
#include "bindings/python/outcome.h"
#include "bindings/python/owned.h"
#include "bindings/python/results.h"
#include "bindings/python/signals.h"

namespace engines::treesitter::python {
namespace {

// How far items are read ahead of the results, per thread: enough that a file which takes as long
// as ten others leaves no thread without work. Contents wait in memory, so they have a bound too.
constexpr std::size_t AHEAD_PER_THREAD = 16;
constexpr std::size_t MOST_BYTES_AHEAD = 64 << 20;
constexpr std::size_t MOST_THREADS = 1024;

// How long a wait may keep Ctrl-C waiting.
constexpr std::chrono::milliseconds SIGNAL_INTERVAL(50);

// One place in the order: an item that is being parsed (null), or what to give or to raise for it.
struct Turn {
  PyObject* object;
  Surrogates surrogates;
};

struct Iteration {
  std::shared_ptr<const TreeSitterEngine> engine;
  std::size_t threads;
  pid_t process;
  PyObject* items = nullptr;  // the input's iterator, null once it has ended
  std::deque<Turn> turns;
  bool is_running = false;
  std::unique_ptr<ItemQueue> queue;
  std::unique_ptr<ParseMany> run;
};

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

// Cancels what is being parsed.
void end_run(Iteration& iteration) {
  if (iteration.process != ::getpid()) {
    // In a fork's child there are no such threads, and whatever lock they held is held for ever.
    (void)iteration.run.release();
    (void)iteration.queue.release();
    return;
  }
  without_gil([&] {
    iteration.queue->close();  // a thread may wait for it
    iteration.run.reset();
  });
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

// ---- Reading items ----

// The exception's name and text.
std::string error_text(PyObject* exception) {
  const Owned text(PyObject_Str(exception));
  const char* const utf8 = text ? PyUnicode_AsUTF8(text.get()) : nullptr;
  PyErr_Clear();
  const std::string name = Py_TYPE(exception)->tp_name;
  return utf8 == nullptr || *utf8 == '\0' ? name : name + ": " + utf8;
}

// The end of the input, for which the current error may be the reason. Errors have their turn like
// results; Ctrl-C and its like do not wait.
bool end_input(Iteration& iteration) {
  Py_CLEAR(iteration.items);
  iteration.queue->end();
  if (PyErr_Occurred() == nullptr) return true;
  if (PyErr_ExceptionMatches(PyExc_Exception) == 0) return false;
  iteration.turns.push_back({take_error(), Surrogates::are_bytes});
  return true;
}

// Sets the error that was taken, if any.
void set_error(Owned error) {
  if (!error) return;
  PyErr_SetObject(PyExceptionInstance_Class(error.get()), error.get());
}

// What stands for an item with a text that cannot be encoded: a file that cannot be parsed.
bool add_failed(const ModuleState& state, Iteration& iteration, const Item& item) {
  const Owned error(take_error());
  Owned raised;
  PyObject* const result = to_python(state,
                                     {.path = item.parse.path,
                                      .language = item.parse.language.value_or(""),
                                      .content_hash = {},
                                      .symbols = {},
                                      .references = {},
                                      .errors = {error_text(error.get())}},
                                     item.surrogates, &raised);
  if (result == nullptr) return false;
  iteration.turns.push_back({result, item.surrogates});
  set_error(std::move(raised));
  return PyErr_Occurred() == nullptr;
}

bool read_item(const ModuleState& state, Iteration& iteration) {
  const Owned object(PyIter_Next(iteration.items));
  if (!object) return end_input(iteration);
  Item item;
  if (any_item(object.get(), item)) {
    iteration.turns.push_back({nullptr, item.surrogates});
    try {
      iteration.queue->add(std::move(item.parse));
    } catch (const std::bad_alloc&) {
      iteration.turns.pop_back();
      throw;
    }
    return true;
  }
  if (PyErr_ExceptionMatches(PyExc_UnicodeEncodeError) == 0) return end_input(iteration);
  return add_failed(state, iteration, item);
}

bool first_is_ready(const Iteration& iteration) {
  if (iteration.turns.empty()) return false;
  return iteration.turns.front().object != nullptr || iteration.run->wait_for({});
}

// Reads until a result is there and every thread has an item to go on with, within the bounds.
bool read_ahead(const ModuleState& state, Iteration& iteration) {
  const std::size_t bound = iteration.threads * AHEAD_PER_THREAD;
  while (iteration.items != nullptr && iteration.turns.size() < bound) {
    const std::size_t waiting = iteration.queue->count();
    if (waiting > 0 && iteration.queue->bytes() >= MOST_BYTES_AHEAD) break;
    if (waiting >= iteration.threads && first_is_ready(iteration)) break;
    if (!read_item(state, iteration)) return false;
  }
  return true;
}

// ---- Giving results ----

// Reads on meanwhile, since contents that were too large to wait may have gone to their threads.
bool wait_for_first(const ModuleState& state, Iteration& iteration) {
  while (!first_is_ready(iteration)) {
    without_gil([&] { iteration.run->wait_for(SIGNAL_INTERVAL); });
    if (PyErr_CheckSignals() != 0 || !read_ahead(state, iteration)) return false;
  }
  return true;
}

// Of the thread that takes an outcome.
thread_local constinit const Cancellation* cancellation_here = nullptr;

void perform_item(const TreeSitterEngine& engine, ParsedItem& parsed,
                  const std::function<void()>& parse) {
  if (cancellation_here == nullptr) return perform(parsed, parse);
  perform_here(parsed, engine, *cancellation_here);
}

// The next outcome. It is there already, unless this thread has to make it; the handler of a signal
// that raises meanwhile leaves an error set.
std::optional<ParsedItem> take(Iteration& iteration) {
  std::optional<ParsedItem> parsed;
  std::exception_ptr failure;
  SignalPoll signals;
  const Cancellation cancellation = {end_of_interpreter(), signals.function()};
  without_gil([&] {
    const Cancellation* const before = std::exchange(cancellation_here, &cancellation);
    try {
      parsed = iteration.run->next();
    } catch (const std::exception&) {
      failure = std::current_exception();
    }
    cancellation_here = before;
  });
  if (failure != nullptr) std::rethrow_exception(failure);
  return parsed;
}

// What the item gave, as Python's.
PyObject* convert(const ModuleState& state, ParsedItem& parsed, Surrogates surrogates,
                  Owned& raised) {
  if (auto* const result = std::get_if<ParseResult>(&parsed.outcome)) {
    return to_python(state, std::move(*result), surrogates, &raised);
  }
  auto* const failure = std::get_if<Raised>(&parsed.outcome);
  // Cancelled without a handler that raised: the interpreter has ended, and nobody takes this.
  if (failure == nullptr || failure->kind == Raised::Kind::cancelled) Py_RETURN_NONE;
  const Owned exception(to_exception(state, failure->error));
  if (!exception) return nullptr;
  return to_python(state,
                   {.path = std::move(parsed.item.path),
                    .language = std::move(failure->language),
                    .content_hash = std::move(failure->content_hash),
                    .symbols = {},
                    .references = {},
                    .errors = {error_text(exception.get())}},
                   surrogates, &raised);
}

// What a handler of signals or of log records raises meanwhile is raised here, and the result waits
// for the next call: it is in no other place any more.
PyObject* give_parsed(ModuleState& state, Iteration& iteration) {
  const Surrogates surrogates = iteration.turns.front().surrogates;
  std::optional<ParsedItem> parsed = take(iteration);
  iteration.turns.pop_front();
  if (!parsed) return nullptr;
  const auto* const failure = std::get_if<Raised>(&parsed->outcome);
  const bool is_cancelled = failure != nullptr && failure->kind == Raised::Kind::cancelled;
  if (is_cancelled && PyErr_Occurred() != nullptr) return nullptr;
  Owned raised(take_error());
  if (!raised && !emit_records_of(state, *parsed, surrogates)) raised = Owned(take_error());
  PyObject* const result = convert(state, *parsed, surrogates, raised);
  if (result == nullptr || !raised) return result;
  iteration.turns.push_front({result, surrogates});
  set_error(std::move(raised));
  return nullptr;
}

PyObject* give(ModuleState& state, Iteration& iteration) {
  if (!read_ahead(state, iteration) || iteration.turns.empty()) return nullptr;
  if (!wait_for_first(state, iteration)) return nullptr;
  PyObject* const turn = iteration.turns.front().object;
  if (turn == nullptr) return give_parsed(state, iteration);
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

// A single path would be taken apart into letters.
PyObject* iterator_of(PyObject* items) {
  if (!PyUnicode_Check(items) && !PyBytes_Check(items)) return PyObject_GetIter(items);
  PyErr_Format(PyExc_TypeError, "items must be an iterable of items, not %.200s",
               Py_TYPE(items)->tp_name);
  return nullptr;
}

std::unique_ptr<Iteration> new_iteration(PyObject* engine, std::size_t threads) {
  auto iteration = std::make_unique<Iteration>();
  iteration->engine = engine_of(engine);
  iteration->threads = threads;
  iteration->process = ::getpid();
  iteration->queue = std::make_unique<ItemQueue>();
  iteration->run = std::make_unique<ParseMany>(
      *iteration->engine, [queue = iteration->queue.get()] { return queue->take(); },
      ParseManyOptions{
          .threads = threads,
          .stop = end_of_interpreter(),
          .perform = [engine = iteration->engine.get()](
                         ParsedItem& parsed,
                         const auto& parse) { perform_item(*engine, parsed, parse); },
      });
  return iteration;
}

constexpr const char DOC[] =
    "The iterator that parse_many gives: results in the order of its items.";

PyMethodDef methods[] = {
    {"close", close, METH_NOARGS,
     "close($self, /)\n--\n\nCancel what is being parsed, and end the threads."},
    {"__enter__", enter, METH_NOARGS, "__enter__($self, /)\n--\n\nThe iterator itself."},
    {"__exit__", reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(leave)), METH_FASTCALL,
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
    auto iteration = new_iteration(engine, threads);
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
