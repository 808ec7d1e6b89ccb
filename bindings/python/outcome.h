// One parse for Python: what belongs to it on the thread that makes it, and what it gave as
// Python's.
#pragma once

#include <Python.h>

#include <functional>
#include <memory>

#include "bindings/python/items.h"
#include "bindings/python/state.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::python {

// Parses the item on the calling thread. Gives a new ParseResult or None, or null with an error
// set.
PyObject* parse(ModuleState& state, std::shared_ptr<const TreeSitterEngine> engine, Item item);

// For ParseManyOptions::perform: collects the item's log records, and makes the end of the
// interpreter wait; once that is over, does nothing. Touches no Python object. Throws
// std::bad_alloc.
void perform(ParsedItem& parsed, const std::function<void()>& parse);

// The same for a parse on the thread of Python's that wants its outcome.
void perform_here(ParsedItem& parsed, const TreeSitterEngine& engine,
                  const Cancellation& cancellation);

// Logs what was to be logged. False with an error set.
bool emit_records_of(ModuleState& state, const ParsedItem& parsed, Surrogates surrogates);

// The outcome as the result of a Python function, its records logged: a new ParseResult or None, or
// null with the error set. The outcome's texts go as they are converted.
PyObject* deliver(ModuleState& state, ParsedItem& parsed, Surrogates surrogates);

}  // namespace engines::treesitter::python
