// See log_records.h.
//
// The logging package is imported with the first record, since that takes longer than our whole
// import.
#include "bindings/python/log_records.h"

#include <new>
#include <utility>

#include "bindings/python/errors.h"
#include "bindings/python/owned.h"

namespace engines::treesitter::python {
namespace {

thread_local constinit std::vector<StoredRecord>* current_records = nullptr;

class Sink final : public LogSink {
 public:
  // Python's logger is not asked here: that would need the GIL, and records are rare.
  bool is_enabled(LogLevel /*level*/) noexcept override { return current_records != nullptr; }

  void emit(const LogRecord& record) noexcept override {
    try {
      current_records->push_back({record.level,
                                  std::string(record.format),
                                  {record.arguments.begin(), record.arguments.end()},
                                  record.error});
    } catch (const std::bad_alloc&) {
      // Losing the record is better than losing the parse.
    }
  }
};

// Python's logging.DEBUG and logging.WARNING.
int level_number(LogLevel level) { return level == LogLevel::debug ? 10 : 30; }

PyObject* logger_of(ModuleState& state) {
  if (state.logger != nullptr) return state.logger;
  const Owned logging(PyImport_ImportModule("logging"));
  const Owned name(logging ? to_str(LOGGER_NAME) : nullptr);
  if (!name) return nullptr;
  PyObject* const logger = PyObject_CallMethod(logging.get(), "getLogger", "O", name.get());
  Py_XSETREF(state.logger, logger);  // another thread may have been faster
  return logger;
}

// The arguments of Logger.log: level, format, and what the format's fields stand for.
PyObject* positional_of(const StoredRecord& record, Surrogates surrogates) {
  Owned arguments(PyTuple_New(static_cast<Py_ssize_t>(record.arguments.size()) + 2));
  if (!arguments) return nullptr;
  Py_ssize_t index = 0;
  const auto add = [&](PyObject* object) {
    PyTuple_SET_ITEM(arguments.get(), index++, object);
    return object != nullptr;
  };
  bool added = add(PyLong_FromLong(level_number(record.level))) && add(to_str(record.format));
  for (const std::string& argument : record.arguments) {
    added = added && add(to_str(argument, surrogates));
  }
  return added ? arguments.release() : nullptr;
}

PyObject* named_of(const ModuleState& state, const StoredRecord& record) {
  Owned named(PyDict_New());
  if (!named || record.error == nullptr) return named.release();
  const Owned exception(to_exception_here(state, record.error));
  if (!exception || PyDict_SetItemString(named.get(), "exc_info", exception.get()) != 0) {
    return nullptr;
  }
  return named.release();
}

bool emit(ModuleState& state, const StoredRecord& record, Surrogates surrogates) {
  PyObject* const logger = logger_of(state);
  if (logger == nullptr) return false;
  const Owned enabled(PyObject_CallMethod(logger, "isEnabledFor", "i", level_number(record.level)));
  if (!enabled) return false;
  const int wanted = PyObject_IsTrue(enabled.get());
  if (wanted <= 0) return wanted == 0;
  const Owned log(PyObject_GetAttrString(logger, "log"));
  const Owned positional(log ? positional_of(record, surrogates) : nullptr);
  const Owned named(positional ? named_of(state, record) : nullptr);
  return named && Owned(PyObject_Call(log.get(), positional.get(), named.get()));
}

}  // namespace

RecordCollection::RecordCollection(std::vector<StoredRecord>& records)
    : _before(std::exchange(current_records, &records)) {}

RecordCollection::~RecordCollection() { current_records = _before; }

void install_log_sink() {
  // Never destroyed: a thread that outlives the interpreter may still log.
  static Sink* const sink = new Sink;
  set_log_sink(sink);
}

std::size_t size_of(const std::vector<StoredRecord>& records) {
  std::size_t size = 0;
  for (const StoredRecord& record : records) {
    size += sizeof record + record.format.size();
    for (const std::string& argument : record.arguments) {
      size += sizeof(std::string) + argument.size();
    }
  }
  return size;
}

bool emit_records(ModuleState& state, const std::vector<StoredRecord>& records,
                  Surrogates surrogates) {
  if (is_finalizing()) return true;
  for (const StoredRecord& record : records) {
    if (!emit(state, record, surrogates)) return false;
  }
  return true;
}

}  // namespace engines::treesitter::python
