// Iteration: reads the items of parse_many, has the engine parse them, and gives the results in
// order.
//
// Items are read and results are converted on the thread that iterates. The engine's own threads
// (ParseMany) do everything in between and know nothing of Python. A pool of Python's threads was
// refused: it would pass the GIL from thread to thread for each file, and Python would have to end
// it.
//
// Where the system gives no thread, the engine parses on the thread that iterates, which looks for
// signals meanwhile. It then takes one item for each result, so that the queue always has what it
// asks for.
//
// Cost: at most 16 items for each thread are ahead of the results, and contents of about 64 MiB
// wait to be parsed.
//
// Tested by tests/python/test_parse_many.py.
#pragma once

#include <Python.h>
#include <sys/types.h>

#include <cstddef>
#include <deque>
#include <memory>

#include "bindings/python/item_queue.h"
#include "bindings/python/state.h"
#include "bindings/python/texts.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::python {

// One place in the order of the items.
struct Turn {
  PyObject* object;  // what to give or to raise for the item; null while it is being parsed
  Surrogates surrogates;
};

// All objects are strong references.
struct Iteration {
  std::shared_ptr<const TreeSitterEngine> engine;
  std::size_t threads;
  pid_t process;              // the one in which it began
  PyObject* items = nullptr;  // the input's iterator, null once it has ended
  std::deque<Turn> turns;
  bool is_running = false;
  std::unique_ptr<ItemQueue> queue;
  std::unique_ptr<ParseMany> run;
};

// An iteration whose `items` are still to be set.
std::unique_ptr<Iteration> new_iteration(std::shared_ptr<const TreeSitterEngine> engine,
                                         std::size_t threads);

// The next result, a new reference. Null at the end, and with an error set.
PyObject* next_result(ModuleState& state, Iteration& iteration);

// Cancels what is being parsed, and ends the threads.
void end_run(Iteration& iteration);

}  // namespace engines::treesitter::python
