// See iteration.h.
#include "bindings/python/iteration.h"

#include <unistd.h>

#include <chrono>
#include <exception>
#include <functional>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "bindings/python/errors.h"
#include "bindings/python/gil.h"
#include "bindings/python/interpreter_end.h"
#include "bindings/python/items.h"
#include "bindings/python/outcome.h"
#include "bindings/python/owned.h"
#include "bindings/python/results.h"
#include "bindings/python/signals.h"

namespace engines::treesitter::python {
namespace {

// How far items are read ahead of the results: so far that a file which takes as long as ten others
// leaves no thread without work. Contents wait in memory, so that they have a bound in bytes too.
constexpr std::size_t AHEAD_PER_THREAD = 16;
constexpr std::size_t MOST_BYTES_AHEAD = 64 << 20;

// The longest wait between two looks for signals.
constexpr std::chrono::milliseconds SIGNAL_INTERVAL(50);

// ---- Reading items ----

// The exception's name and text.
std::string error_text(PyObject* exception) {
  const Owned text(PyObject_Str(exception));
  const char* const utf8 = text ? PyUnicode_AsUTF8(text.get()) : nullptr;
  PyErr_Clear();
  const std::string name = Py_TYPE(exception)->tp_name;
  return utf8 == nullptr || *utf8 == '\0' ? name : name + ": " + utf8;
}

// Ends the input, because it has ended or because of the current error. An Exception takes its turn
// behind the results; others, such as KeyboardInterrupt, are raised at once (false).
bool end_input(Iteration& iteration) {
  Py_CLEAR(iteration.items);
  iteration.queue->end();
  if (PyErr_Occurred() == nullptr) return true;
  if (PyErr_ExceptionMatches(PyExc_Exception) == 0) return false;
  iteration.turns.push_back({take_error(), Surrogates::are_bytes});
  return true;
}

// Adds a result that says in its errors why the item cannot be parsed: the current error.
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
  if (raised) set_error(raised.get());
  return !raised;
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

// Reads items until a result is there and each thread finds another item, within the bounds.
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

// Reads on meanwhile: once a thread has taken a large content, there is room for the next one.
bool wait_for_first(const ModuleState& state, Iteration& iteration) {
  while (!first_is_ready(iteration)) {
    without_gil([&] { iteration.run->wait_for(SIGNAL_INTERVAL); });
    if (PyErr_CheckSignals() != 0 || !read_ahead(state, iteration)) return false;
  }
  return true;
}

// What cancels a parse on the thread that takes outcomes; null on the engine's own threads.
thread_local constinit const Cancellation* cancellation_here = nullptr;

void perform_item(const TreeSitterEngine& engine, ParsedItem& parsed,
                  const std::function<void()>& parse) {
  if (cancellation_here == nullptr) return perform(parsed, parse);
  perform_here(parsed, engine, *cancellation_here);
}

// Takes the next outcome, which is there unless this thread has to make it. The current error is
// then what the handler of a signal has raised meanwhile.
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

// Converts an outcome. Null with an error set.
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

// Takes, logs and converts the outcome of the first turn. When a handler of signals or of log
// records raises meanwhile, that is raised, and the result takes its turn again: it cannot be made
// twice.
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
  set_error(raised.get());
  return nullptr;
}

}  // namespace

std::unique_ptr<Iteration> new_iteration(std::shared_ptr<const TreeSitterEngine> engine,
                                         std::size_t threads) {
  auto iteration = std::make_unique<Iteration>();
  iteration->engine = std::move(engine);
  iteration->threads = threads;
  iteration->process = ::getpid();
  iteration->queue = std::make_unique<ItemQueue>();
  iteration->run = std::make_unique<ParseMany>(
      *iteration->engine, [queue = iteration->queue.get()] { return queue->take(); },
      ParseManyOptions{
          .threads = threads,
          .stop = end_of_interpreter(),
          .perform = [used = iteration->engine.get()](
                         ParsedItem& parsed,
                         const auto& parse) { perform_item(*used, parsed, parse); },
      });
  return iteration;
}

PyObject* next_result(ModuleState& state, Iteration& iteration) {
  if (!read_ahead(state, iteration) || iteration.turns.empty()) return nullptr;
  if (!wait_for_first(state, iteration)) return nullptr;
  PyObject* const turn = iteration.turns.front().object;
  if (turn == nullptr) return give_parsed(state, iteration);
  iteration.turns.pop_front();
  if (!PyExceptionInstance_Check(turn)) return turn;
  set_error(turn);
  Py_DECREF(turn);
  return nullptr;
}

void end_run(Iteration& iteration) {
  if (iteration.process != ::getpid()) {
    // A forked child has none of the threads, and their locks may be held for ever.
    (void)iteration.run.release();
    (void)iteration.queue.release();
    return;
  }
  without_gil([&] {
    iteration.queue->close();  // wakes the threads that wait for items
    iteration.run.reset();
  });
}

}  // namespace engines::treesitter::python
