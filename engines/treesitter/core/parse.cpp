// The entry points: from a path, a text or bytes to one ParseResult.
//
// A file that cannot be read or parsed gives a result with an error text. Exceptions of the walks
// reach the caller, or become the outcome of `parse`.
//
// Tested by tests/engine_test.cpp and tests/parse_item_test.cpp.
#include <new>

#include "engines/languages/languages.h"
#include "engines/treesitter/core/measure.h"
#include "engines/treesitter/core/outcome.h"
#include "engines/treesitter/core/thread_storage.h"
#include "engines/treesitter/guard_limits.h"
#include "engines/treesitter/memory/room.h"
#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/parsing/parser.h"
#include "engines/treesitter/reading/file.h"
#include "engines/treesitter/text/text.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

// The formats of log records. They call the argument `file` or `path`, as the entry point does.
struct Messages {
  std::string_view no_parser;
  std::string_view parse_error;
};

constexpr Messages FILE_MESSAGES = {
    .no_parser = "No parser available for language=%s file=%s",
    .parse_error = "Tree-sitter parse error for file=%s language=%s: %s",
};
constexpr Messages CONTENT_MESSAGES = {
    .no_parser = "No parser available for language=%s path=%s",
    .parse_error = "Tree-sitter parse error for path=%s language=%s: %s",
};

// The memory that a parse is expected to take, so that no more begin at once than there is room
// for. Typical of code, so that few parses have to begin again.
constexpr std::uint64_t EXPECTED_FLOOR = 1 << 20;
constexpr std::uint64_t EXPECTED_PER_BYTE = 48;

bool is_utf8(std::string_view bytes, StopCheck& stop) {
  for (std::size_t offset = 0; offset < bytes.size(); stop.check()) {
    const IllFormed fault = find_ill_formed(bytes, offset, offset + BYTES_PER_CHECK);
    if (fault.size > 0) return false;
    offset = fault.offset;
  }
  return true;
}

// The error text for a path at which there is nothing, else an empty text.
std::string reading_error(const std::filesystem::path& path) {
  std::error_code error;
  (void)std::filesystem::status(path, error);
  if (!error) return {};
  return std::string("Failed to read file: ") + FileReadError(error.value(), path).what();
}

}  // namespace

// The arguments of one parse, and what is found out about its file on the way.
struct TreeSitterEngine::ParseJob {
  std::string_view path;  // of the result
  const std::filesystem::path& file_path;
  std::int64_t file_id;
  const Messages& messages;
  StopCheck& stop;
  KnownOfFile known;            // so far
  std::string_view bytes = {};  // empty until they are read
  std::uint64_t size = 0;       // of the file; a file too large to parse has no `bytes`
  ParseReport* report = nullptr;

  void report_size(std::uint64_t found) const {
    if (report != nullptr) report->bytes = found;
  }

  ParseResult failed(std::string error) const {
    return {.path = std::string(path),
            .language = known.language,
            .content_hash = known.content_hash,
            .symbols = {},
            .references = {},
            .errors = {std::move(error)}};
  }

  ParseResult failed_to_parse(const std::exception& error, std::exception_ptr pointer) const {
    log(LogLevel::warning, messages.parse_error, {path, known.language, error.what()},
        std::move(pointer));
    return failed(std::string("Parse error: ") + error.what());
  }
};

ParseResult TreeSitterEngine::_parse(ParseJob& job) const {
  ThreadStorage& storage = _get_thread_local_storage();
  storage.ruby_visibility_cache.clear();  // also of an attempt that found too little memory
  Parser* const parser = _get_parser(job.known.language);
  if (parser == nullptr) {
    log(LogLevel::debug, job.messages.no_parser, {job.known.language, job.path});
    return job.failed("No parser available for " + job.known.language);
  }
  const bool is_too_large = job.size > MAX_PARSED_BYTES;
  const Source source(is_too_large ? std::string_view() : job.bytes, job.stop);
  std::optional<SyntaxTree> tree;
  try {
    if (is_too_large) refuse_size(job.size);
    measure_bytes(source, job.report);
    const Fields fields = _navigates(job.known.language) ? Fields::all : Fields::on_demand;
    timed(job.report, &ParseReport::parse,
          [&] { tree.emplace(parser->parse(source, storage.arena, fields, job.report)); });
    measure_tree(*tree, job.report);
  } catch (const std::bad_alloc&) {
    // The process is short of memory, which says nothing about the file.
    throw;
  } catch (const CancelledError&) {
    throw;
  } catch (const std::exception& error) {
    return job.failed_to_parse(error, std::current_exception());
  }
  return _walk(job, *tree);
}

ParseResult TreeSitterEngine::_walk(const ParseJob& job, const SyntaxTree& tree) const {
  const Node root(tree, 0);
  auto [symbols, errors] = timed(job.report, &ParseReport::symbols, [&] {
    return _extract_symbols(root, tree.source(), job.known.language, job.file_path, job.file_id);
  });
  auto references = timed(job.report, &ParseReport::references, [&] {
    return _navigates(job.known.language) ? _find_references(root)
                                          : _extract_references(root, job.known.language);
  });
  return {.path = std::string(job.path),
          .language = job.known.language,
          .content_hash = job.known.content_hash,
          .symbols = std::move(symbols),
          .references = std::move(references),
          .errors = std::move(errors)};
}

// Runs `attempt` beside the other parses of the process. If there is too little memory beside them,
// runs it again alone.
template <typename Attempt>
Outcome TreeSitterEngine::_in_turn(const ParseJob& job, std::uint64_t size,
                                   const Attempt& attempt) {
  RoomTurn turn(EXPECTED_FLOOR + EXPECTED_PER_BYTE * size, job.stop);
  try {
    return attempt();
  } catch (const std::bad_alloc&) {
    if (turn.was_alone()) throw;
  } catch (const Crowded&) {
  }
  turn.become_alone(job.stop);
  return attempt();
}

Outcome TreeSitterEngine::_parse_read(ParseJob& job, const SourceFile& file,
                                      bool declines_binary) const {
  ThreadStorage& storage = _get_thread_local_storage();
  RoomShare room;
  FileContent content = timed(job.report, &ParseReport::read,
                              [&] { return file.read(storage.digest, room, job.stop); });
  job.report_size(content.size);
  if (declines_binary && is_binary(content.bytes)) {
    return Declined{Declined::Reason::binary, content.size};
  }
  const bool is_kept = content.content_hash.empty();
  job.known.content_hash = is_kept
                               ? timed(job.report, &ParseReport::hash,
                                       [&] { return storage.digest.of(content.bytes, job.stop); })
                               : std::move(content.content_hash);
  job.bytes = content.bytes;
  job.size = content.size;
  return _parse(job);
}

Outcome TreeSitterEngine::_parse_file(ParseJob& job, std::uint64_t max_size,
                                      bool declines_binary) const {
  try {
    const SourceFile file(job.file_path);
    job.report_size(file.claimed_size());
    if (file.claimed_size() > max_size) {
      return Declined{Declined::Reason::too_large, file.claimed_size()};
    }
    return _in_turn(job, file.claimed_size(),
                    [&] { return _parse_read(job, file, declines_binary); });
  } catch (const FileReadError& error) {
    log(LogLevel::warning, "Failed to read file %s: %s", {job.path, error.what()},
        std::current_exception());
    return job.failed(std::string("Failed to read file: ") + error.what());
  } catch (const OverRoom& over) {
    return _failed_for_want_of_room(job, over);
  }
}

Outcome TreeSitterEngine::_parse_bytes(ParseJob& job, std::string_view bytes, bool is_text) const {
  if (is_text && !is_utf8(bytes, job.stop)) require_utf8(bytes);
  job.known.content_hash = timed(job.report, &ParseReport::hash, [&] {
    return _get_thread_local_storage().digest.of(bytes, job.stop);
  });
  job.bytes = bytes;
  job.size = bytes.size();
  try {
    return _in_turn(job, job.size, [&] { return _parse(job); });
  } catch (const OverRoom& over) {
    return _failed_for_want_of_room(job, over);
  }
}

// Both numbers depend on the file and the machine only, not on other parses.
ParseResult TreeSitterEngine::_failed_for_want_of_room(const ParseJob& job, const OverRoom& over) {
  const ParseError error(std::to_string(over.wanted) + " bytes of memory needed, " +
                         std::to_string(over.allowed) + " allowed to one file");
  return job.failed_to_parse(error, std::make_exception_ptr(error));
}

// ---- The entry points ----

std::optional<ParseResult> TreeSitterEngine::parse_file(const std::filesystem::path& file_path,
                                                        std::int64_t file_id) const {
  _get_thread_local_storage().ruby_visibility_cache.clear();
  const auto language = languages::detect_language(file_path);
  if (!language) return std::nullopt;
  return parse_file(file_path, *language, file_id);
}

ParseResult TreeSitterEngine::parse_file(const std::filesystem::path& file_path,
                                         std::string_view language, std::int64_t file_id) const {
  StopCheck stop;
  ParseJob job{file_path.native(), file_path, file_id,
               FILE_MESSAGES,      stop,      {std::string(language), {}}};
  return std::get<ParseResult>(_parse_file(job, UINT64_MAX, false));
}

ParseResult TreeSitterEngine::parse_content(std::string_view content, std::string_view language,
                                            std::string_view file_path,
                                            std::int64_t file_id) const {
  StopCheck stop;
  const std::filesystem::path path(file_path);
  ParseJob job{file_path, path, file_id, CONTENT_MESSAGES, stop, {std::string(language), {}}};
  return std::get<ParseResult>(_parse_bytes(job, content, true));
}

ParseResult TreeSitterEngine::parse_bytes(std::string_view bytes, std::string_view language,
                                          const std::filesystem::path& file_path,
                                          std::int64_t file_id) const {
  StopCheck stop;
  ParseJob job{file_path.native(), file_path, file_id,
               FILE_MESSAGES,      stop,      {std::string(language), {}}};
  return std::get<ParseResult>(_parse_bytes(job, bytes, false));
}

Outcome TreeSitterEngine::_parse_item(const ParseItem& item, ParseJob& job) const {
  if (item.failure) {
    job.known.language = item.language.value_or("");
    return job.failed(*item.failure);
  }
  if (item.language) {
    job.known.language = *item.language;
  } else if (const auto language = languages::detect_language(job.file_path)) {
    job.known.language = *language;
  } else {
    return NoLanguage{item.content ? "" : reading_error(job.file_path)};
  }
  if (item.content) {
    const std::size_t size = item.content->size();
    job.report_size(size);
    if (size > item.max_size) return Declined{Declined::Reason::too_large, size};
    if (item.declines_binary && is_binary(*item.content)) {
      return Declined{Declined::Reason::binary, size};
    }
    return _parse_bytes(job, *item.content, item.is_text);
  }
  return _parse_file(job, item.max_size, item.declines_binary);
}

Outcome TreeSitterEngine::_parse_or_raise(const ParseItem& item, const Cancellation& cancellation,
                                          ParseReport* report) const noexcept {
  KnownOfFile known;
  try {
    StopCheck stop(cancellation);
    const std::filesystem::path path(item.path);
    ParseJob job{item.path, path, item.file_id, item.is_text ? CONTENT_MESSAGES : FILE_MESSAGES,
                 stop,      {}};
    job.report = report;
    try {
      return _parse_item(item, job);
    } catch (...) {
      known = std::move(job.known);
      throw;
    }
  } catch (...) {
    return raised_by(std::current_exception(), std::move(known));
  }
}

Outcome TreeSitterEngine::parse(const ParseItem& item,
                                const Cancellation& cancellation) const noexcept {
  return _parse_or_raise(item, cancellation, nullptr);
}

Outcome TreeSitterEngine::explain(const ParseItem& item, ParseReport& report,
                                  const Cancellation& cancellation) const noexcept {
  report = {};
  return _parse_or_raise(item, cancellation, &report);
}

}  // namespace engines::treesitter
