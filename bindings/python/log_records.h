// The engine's log records on their way to logging.getLogger("engines.treesitter").
//
// The engine hands a record out in the middle of a call, where the thread has not the interpreter's
// lock and may not even be Python's. There a record is only put aside, with the call that it
// belongs to; it goes to Python when that call's result does. So handlers never run while anything
// is held, the records of parse_many come in the order of its input, and a thread that ends with
// the interpreter has nothing to say. Refused: taking the lock inside the sink, where a thread that
// the interpreter ends would have to be unwound through functions that must not throw.
#pragma once

#include <Python.h>

#include <exception>
#include <string>
#include <vector>

#include "bindings/python/state.h"
#include "bindings/python/texts.h"
#include "engines/treesitter/core/log.h"

namespace engines::treesitter::python {

struct StoredRecord {
  LogLevel level;
  std::string format;
  std::vector<std::string> arguments;
  std::exception_ptr error;
};

// Puts the calling thread's records into `records` while it exists. The handler of a signal may
// make a call in the middle of another, whose records go on behind it.
class RecordCollection {
 public:
  explicit RecordCollection(std::vector<StoredRecord>& records);
  ~RecordCollection();
  RecordCollection(const RecordCollection&) = delete;
  RecordCollection& operator=(const RecordCollection&) = delete;

 private:
  std::vector<StoredRecord>* const _before;
};

// Makes this module the engine's log sink. May be called again.
void install_log_sink();

// About how many bytes the records take.
std::size_t size_of(const std::vector<StoredRecord>& records);

// Gives the records to Python's logger, which is asked for each level first. False with an error
// set, when a filter or a handler of the host raised it.
bool emit_records(ModuleState& state, const std::vector<StoredRecord>& records,
                  Surrogates surrogates);

}  // namespace engines::treesitter::python
