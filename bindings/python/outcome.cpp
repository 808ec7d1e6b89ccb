// See outcome.h.
#include "bindings/python/outcome.h"

#include <any>
#include <exception>
#include <utility>
#include <variant>
#include <vector>

#include "bindings/python/errors.h"
#include "bindings/python/gil.h"
#include "bindings/python/interpreter_end.h"
#include "bindings/python/log_records.h"
#include "bindings/python/results.h"
#include "bindings/python/signals.h"

namespace engines::treesitter::python {

void perform(ParsedItem& parsed, const std::function<void()>& parse) {
  const EngineCall call;
  if (!call.may_begin()) return;
  std::vector<StoredRecord> records;
  {
    const RecordCollection collection(records);
    parse();
  }
  parsed.extra_bytes = size_of(records);
  parsed.extra = std::move(records);
}

void perform_here(ParsedItem& parsed, const TreeSitterEngine& engine,
                  const Cancellation& cancellation) {
  const bool is_nested = EngineCall::is_under_way();
  perform(parsed, [&] {
    // The parse that a signal has interrupted is using the thread's parser.
    parsed.outcome = is_nested ? TreeSitterEngine(engine.rules()).parse(parsed.item, cancellation)
                               : engine.parse(parsed.item, cancellation);
  });
}

bool emit_records_of(ModuleState& state, const ParsedItem& parsed, Surrogates surrogates) {
  const auto* const records = std::any_cast<std::vector<StoredRecord>>(&parsed.extra);
  return records == nullptr || emit_records(state, *records, surrogates);
}

namespace {

// Logs the records and converts the outcome for the caller of a Python function.
PyObject* deliver(ModuleState& state, ParsedItem& parsed, Surrogates surrogates) {
  if (!emit_records_of(state, parsed, surrogates)) return nullptr;
  if (auto* const result = std::get_if<ParseResult>(&parsed.outcome)) {
    return to_python(state, std::move(*result), surrogates);
  }
  const auto* const raised = std::get_if<Raised>(&parsed.outcome);
  // Cancelled without a handler that raised: the interpreter has ended, and nobody takes this.
  if (raised == nullptr || raised->kind == Raised::Kind::cancelled) Py_RETURN_NONE;
  return raise(state, raised->error);
}

}  // namespace

PyObject* parse(ModuleState& state, const std::shared_ptr<const TreeSitterEngine> engine,
                Item item) {
  ParsedItem parsed{std::move(item.parse), NoLanguage{}};
  SignalPoll signals;
  const Cancellation cancellation = {end_of_interpreter(), signals.function()};
  without_gil([&] {
    try {
      perform_here(parsed, *engine, cancellation);
    } catch (...) {
      parsed.outcome = Raised{Raised::Kind::other, {}, {}, {}, std::current_exception()};
    }
    parsed.item.content.reset();
  });
  return signals.has_raised() ? nullptr : deliver(state, parsed, item.surrogates);
}

}  // namespace engines::treesitter::python
