// See log.h. The log's only state is the sink, an atomic pointer.
#include "engines/treesitter/core/log.h"

#include <atomic>
#include <utility>

namespace engines::treesitter {
namespace {

std::atomic<LogSink*> current_sink = nullptr;

}  // namespace

std::string format_record(const LogRecord& record) {
  std::string text;
  const auto* argument = record.arguments.begin();
  std::size_t begin = 0;
  for (std::size_t at; (at = record.format.find("%s", begin)) != std::string_view::npos;) {
    text.append(record.format, begin, at - begin);
    if (argument != record.arguments.end()) text.append(*argument++);
    begin = at + 2;
  }
  return text.append(record.format, begin);
}

LogSink* set_log_sink(LogSink* sink) {
  return current_sink.exchange(sink, std::memory_order_acq_rel);
}

void log(LogLevel level, std::string_view format, std::initializer_list<std::string_view> arguments,
         std::exception_ptr error) {
  LogSink* const sink = current_sink.load(std::memory_order_acquire);
  if (sink == nullptr || !sink->is_enabled(level)) return;
  sink->emit({level, format, arguments, std::move(error)});
}

}  // namespace engines::treesitter
