// One parse for Python: what the parsing thread does around it, and the conversion of its outcome.
//
// Tested by tests/python/test_engine.py and test_signals.py.
#pragma once

#include <Python.h>

#include <functional>
#include <memory>

#include "bindings/python/items.h"
#include "bindings/python/state.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::python {

// Parses the item on the calling thread, without the GIL. Gives a new ParseResult or None, or null
// with an error set.
PyObject* parse(ModuleState& state, std::shared_ptr<const TreeSitterEngine> engine, Item item);

// For ParseManyOptions::perform: collects the item's log records, and makes the end of the
// interpreter wait for the parse; does nothing when the interpreter has ended. Touches no Python
// object. Throws std::bad_alloc.
void perform(ParsedItem& parsed, const std::function<void()>& parse);

// The same for a parse on the Python thread that waits for the outcome.
void perform_here(ParsedItem& parsed, const TreeSitterEngine& engine,
                  const Cancellation& cancellation);

// Logs the records that `perform` has collected. False with an error set.
bool emit_records_of(ModuleState& state, const ParsedItem& parsed, Surrogates surrogates);

}  // namespace engines::treesitter::python
