// The engine's log records on their way to logging.getLogger("engines.treesitter").
//
// The engine logs in the middle of a call, on a thread that does not hold the GIL and may not even
// be one of Python's. The record is therefore only stored with its call, and logged when the call's
// result is handed over. So no handler runs while the engine holds a lock, the records of
// parse_many come in the order of its input, and a thread that the end of the interpreter stops
// logs nothing. Refused: taking the GIL inside the sink. When the interpreter ends, that unwinds
// the thread, which would go through functions that must not throw.
//
// Tested by tests/python/test_logging.py.
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

// Stores the calling thread's records in `records` while it exists. The handler of a signal may
// make a call in the middle of another; when that ends, the other call's collection goes on.
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

// Roughly how many bytes the records take.
std::size_t size_of(const std::vector<StoredRecord>& records);

// Logs the records whose level Python's logger wants. False with an error set, when a filter or a
// handler of the host has raised it.
bool emit_records(ModuleState& state, const std::vector<StoredRecord>& records,
                  Surrogates surrogates);

}  // namespace engines::treesitter::python
