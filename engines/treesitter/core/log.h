// The engine's log: one logger, "engines.treesitter", with two levels. The engine prints nothing
// itself; the host that wants the records hands in a sink.
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

// One message. The views live until `emit` returns.
struct LogRecord {
  LogLevel level;
  std::string_view format;                            // printf-style, with %s only
  std::initializer_list<std::string_view> arguments;  // one for each %s; paths may be any bytes
  std::exception_ptr error;                           // what a warning is about; else null
};

// The record's format with its arguments in place.
std::string format_record(const LogRecord& record);

// Where records go. Both operations are called from whichever thread parses, with no lock held;
// they must not throw.
class LogSink {
 public:
  virtual ~LogSink() = default;
  // Asked first, so that a record which nobody wants costs no more than this question.
  virtual bool is_enabled(LogLevel level) noexcept = 0;
  virtual void emit(const LogRecord& record) noexcept = 0;
};

// Sets the process-wide sink, which must outlive its use; null, the default, drops all records.
// Gives the sink that was set before. May be called from any thread.
LogSink* set_log_sink(LogSink* sink);

// Hands a record to the sink, if there is one and it wants the level.
void log(LogLevel level, std::string_view format, std::initializer_list<std::string_view> arguments,
         std::exception_ptr error = nullptr);

}  // namespace engines::treesitter
