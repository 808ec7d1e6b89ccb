// What one call of the engine gave: kept apart from Python until the calling thread has the
// interpreter's lock again.
#pragma once

#include <Python.h>

#include <exception>
#include <optional>
#include <vector>

#include "bindings/python/interpreter_end.h"
#include "bindings/python/log_records.h"
#include "bindings/python/state.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::python {

// Neither a result nor an error: a file of no known language, or a call that the end of the
// interpreter let not begin.
struct Outcome {
  std::optional<ParseResult> result;
  std::exception_ptr error;
  std::vector<StoredRecord> records;
};

// Calls the engine, which `call` does and nothing else. Touches no Python object and does not
// throw, so it may run without the lock and on any thread.
template <typename Call>
Outcome outcome_of(Call&& call) noexcept {
  Outcome outcome;
  const EngineCall engine_call;
  if (!engine_call.may_begin()) return outcome;
  const RecordCollection collection(outcome.records);
  try {
    outcome.result = call();
  } catch (...) {
    outcome.error = std::current_exception();
  }
  return outcome;
}

// The outcome as the result of a Python function: logs what was to be logged, then gives a new
// ParseResult or None, or null with the error set.
PyObject* deliver(ModuleState& state, const Outcome& outcome);

}  // namespace engines::treesitter::python
