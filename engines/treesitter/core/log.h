// The engine's log: one logger, "engines.treesitter", with two levels. The engine prints nothing; a
// host that wants the records sets a sink. A part of treesitter.h, which includes it.
//
// Tested by tests/engine_test.cpp.
#pragma once

#include <cstdint>
#include <exception>
#include <initializer_list>
#include <string>
#include <string_view>

namespace engines::treesitter {

inline constexpr std::string_view LOGGER_NAME = "engines.treesitter";

enum class LogLevel : std::uint8_t { debug, warning };

// One message. Its views are valid until `emit` returns.
struct LogRecord {
  LogLevel level;
  std::string_view format;                            // printf-style, with %s only
  std::initializer_list<std::string_view> arguments;  // one for each %s; paths may be any bytes
  std::exception_ptr error;                           // the error that is logged, or null
};

// The record's format with its arguments put in.
std::string format_record(const LogRecord& record);

// Receives the records. Both operations are called on the threads that parse, by several at once
// and with no lock held.
class LogSink {
 public:
  virtual ~LogSink() = default;
  // Called first: a record of a level that is not enabled is not made.
  virtual bool is_enabled(LogLevel level) noexcept = 0;
  virtual void emit(const LogRecord& record) noexcept = 0;
};

// Sets the sink of the process and returns the one before. Null, the default, drops all records.
// May be called from any thread. The sink before must live on while a thread may still be using it.
LogSink* set_log_sink(LogSink* sink);

// Gives a record to the sink, if there is one and it wants the level.
void log(LogLevel level, std::string_view format, std::initializer_list<std::string_view> arguments,
         std::exception_ptr error = nullptr);

}  // namespace engines::treesitter
