// See commands.h. The threads that parse format the records, too. The main thread writes them in
// order, or collects tags and writes them sorted at the end.
#include <any>
#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "engines/treesitter/treesitter.h"
#include "tool/byte_sink.h"
#include "tool/commands.h"
#include "tool/ctags_output.h"
#include "tool/descriptors.h"
#include "tool/interrupts.h"
#include "tool/item_source.h"
#include "tool/json_output.h"
#include "tool/line_sorter.h"
#include "tool/messages.h"
#include "tool/record.h"
#include "tool/text_output.h"

namespace tool {
namespace {

using engines::treesitter::Declined;
using engines::treesitter::NoLanguage;
using engines::treesitter::ParsedItem;
using engines::treesitter::ParseManyOptions;
using engines::treesitter::ParseResult;

// In bytes. Larger records are formatted only when their turn to be written comes, directly into
// standard output. The text of a megabyte of keys may take a hundred megabytes, which must not be
// held beside the record.
constexpr std::size_t LARGE_OUTPUT = std::size_t{1} << 20;

// How often progress is updated while no outcome comes.
constexpr std::chrono::milliseconds TICK{50};

// Standard output, for pieces that are whole records.
class WholeRecordsSink final : public OutputSink {
 public:
  using OutputSink::OutputSink;
  void write(std::string_view bytes) override {
    const WholeRecord whole;
    OutputSink::write(bytes);
  }
};

bool is_declined(const ParsedItem& parsed, Declined::Reason reason) {
  const auto* const declined = std::get_if<Declined>(&parsed.outcome);
  return declined != nullptr && declined->reason == reason;
}

bool is_binary(const ParsedItem& parsed) { return is_declined(parsed, Declined::Reason::binary); }

class Run {
 public:
  explicit Run(const Arguments& arguments)
      : _arguments(arguments),
        _engine(arguments.rules),
        _messages(arguments.is_verbose, arguments.format == Format::ctags
                                            ? Messages::Records::none
                                            : Messages::Records::written),
        _source(arguments) {}

  int operator()();

 private:
  ParseManyOptions options();
  void format(ByteSink& sink, const ParsedItem& parsed) const;
  void write_formatted(ByteSink& sink, const ParsedItem& parsed) const;
  void parse_and_format(ParsedItem& parsed, const std::function<void()>& parse) const;
  void write(const ParsedItem& parsed);
  void keep_tags(const ParsedItem& parsed, std::vector<std::string>& errors);
  void write_kept_tags();
  void count(const ParsedItem& parsed, bool has_failed);

  const Arguments& _arguments;
  const engines::treesitter::TreeSitterEngine _engine;
  Messages _messages;
  ItemSource _source;
  Counts _counts;
  LineSorter _tags;  // of all files; empty in other formats
};

void Run::format(ByteSink& sink, const ParsedItem& parsed) const {
  switch (_arguments.format) {
    case Format::json:
      return write_json(sink, parsed);
    case Format::text:
      return write_text(sink, parsed);
    case Format::ctags:
      return write_ctags(sink, parsed);
  }
}

void Run::write_formatted(ByteSink& sink, const ParsedItem& parsed) const {
  if (const auto* const text = std::any_cast<std::string>(&parsed.extra)) {
    sink.write(*text);
  } else {
    format(sink, parsed);
  }
}

// Runs on the parsing threads: parses, and keeps the formatted record as `extra`. The symbols and
// references are then not needed any more.
void Run::parse_and_format(ParsedItem& parsed, const std::function<void()>& parse) const {
  parse();
  if (is_binary(parsed) || output_size_bound(parsed) > LARGE_OUTPUT) return;
  std::string text;
  StringSink sink(text);
  format(sink, parsed);
  const std::size_t size = text.size();
  parsed.extra = std::move(text);
  parsed.extra_bytes = size;
  if (auto* const result = std::get_if<ParseResult>(&parsed.outcome)) {
    result->symbols = {};
    result->references = {};
  }
}

void Run::count(const ParsedItem& parsed, bool has_failed) {
  if (is_binary(parsed)) {
    ++_counts.binary;
  } else if (std::holds_alternative<NoLanguage>(parsed.outcome) && !has_failed) {
    ++_counts.unknown;
  } else {
    ++_counts.files;
    _counts.failed += has_failed ? 1 : 0;
    _counts.large += is_declined(parsed, Declined::Reason::too_large) ? 1 : 0;
  }
}

void Run::keep_tags(const ParsedItem& parsed, std::vector<std::string>& errors) {
  const std::size_t before = _tags.left_out();
  write_formatted(_tags, parsed);
  if (const std::size_t more = _tags.left_out() - before; more > 0) {
    errors.push_back(tags_left_out_text(more));
  }
}

void Run::write(const ParsedItem& parsed) {
  auto errors = error_texts(parsed);
  const bool keeps_tags = _arguments.format == Format::ctags;
  if (keeps_tags) keep_tags(parsed, errors);
  count(parsed, !errors.empty());
  if (is_binary(parsed)) return;
  if (!keeps_tags) {
    const WholeRecord whole;
    OutputSink output(_counts.status());
    write_formatted(output, parsed);
  }
  for (const auto& error : errors) _messages.report(parsed.item.path, error);
}

void Run::write_kept_tags() {
  WholeRecordsSink output(_counts.status());
  write_ctags_head(output);
  _tags.write_sorted(output);
}

ParseManyOptions Run::options() {
  ParseManyOptions options;
  options.threads = _arguments.jobs;
  options.in_caller = _arguments.jobs == 1 && !_messages.shows_progress();
  options.perform = [this](ParsedItem& parsed, const std::function<void()>& parse) {
    parse_and_format(parsed, parse);
  };
  return options;
}

int Run::operator()() {
  auto run = _engine.parse_many([this] { return _source.next(); }, options());
  const auto show_progress = [&] {
    _messages.show_progress(_counts, _source.total(), run.longest_under_way());
  };
  for (;;) {
    while (_messages.shows_progress() && !run.wait_for(TICK)) show_progress();
    const auto parsed = run.next();
    if (!parsed) break;
    write(*parsed);
    if (_messages.shows_progress()) show_progress();
  }
  if (_arguments.format == Format::ctags) write_kept_tags();
  _messages.summarise(_counts, _source.left_out());
  return _counts.status();
}

}  // namespace

int run_parse(const Arguments& arguments) { return Run(arguments)(); }

}  // namespace tool
