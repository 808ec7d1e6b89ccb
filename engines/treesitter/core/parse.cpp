// The two entry points: from a path or a text to one ParseResult.
//
// Only reading and parsing are guarded; what either walk throws reaches the caller.
//
// Tested by tests/engine_test.cpp.
#include <algorithm>
#include <new>

#include "engines/languages/languages.h"
#include "engines/treesitter/core/file.h"
#include "engines/treesitter/core/node.h"
#include "engines/treesitter/core/parser.h"
#include "engines/treesitter/core/text.h"
#include "engines/treesitter/core/thread_storage.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

// The log's formats name the path as each entry point's callers do.
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

ParseResult failed(std::string_view path, std::string_view language, std::string content_hash,
                   std::string error) {
  return {.path = std::string(path),
          .language = std::string(language),
          .content_hash = std::move(content_hash),
          .symbols = {},
          .references = {},
          .errors = {std::move(error)}};
}

}  // namespace

// One parse, once its bytes are at hand.
struct TreeSitterEngine::ParseJob {
  std::string_view path;  // as the result shows it
  const std::filesystem::path& file_path;
  std::string_view language;
  std::int64_t file_id;
  std::string_view bytes;
  std::uint64_t size;  // more than bytes has when the file is too large to parse
  std::string content_hash;
  const Messages& messages;
};

ParseResult TreeSitterEngine::_parse(ParseJob&& job) const {
  Parser* const parser = _get_parser(job.language);
  if (parser == nullptr) {
    log(LogLevel::debug, job.messages.no_parser, {job.language, job.path});
    return failed(job.path, job.language, std::move(job.content_hash),
                  "No parser available for " + std::string(job.language));
  }
  const bool is_too_large = job.size > MAX_PARSED_BYTES;
  const Source source(is_too_large ? std::string_view() : job.bytes);
  std::optional<SyntaxTree> tree;
  try {
    if (is_too_large) refuse_size(job.size);
    tree.emplace(parser->parse(source, _get_thread_local_storage().arena));
  } catch (const std::bad_alloc&) {
    // The process is short of memory, which is no fault of the file and no fact about it.
    throw;
  } catch (const std::exception& error) {
    log(LogLevel::warning, job.messages.parse_error, {job.path, job.language, error.what()},
        std::current_exception());
    return failed(job.path, job.language, std::move(job.content_hash),
                  std::string("Parse error: ") + error.what());
  }
  return _walk(job, *tree);
}

ParseResult TreeSitterEngine::_walk(ParseJob& job, const SyntaxTree& tree) const {
  const Node root(tree, 0);
  auto [symbols, errors] =
      _extract_symbols(root, tree.source(), job.language, job.file_path, job.file_id);
  return {.path = std::string(job.path),
          .language = std::string(job.language),
          .content_hash = std::move(job.content_hash),
          .symbols = std::move(symbols),
          .references = _extract_references(root, job.language),
          .errors = std::move(errors)};
}

std::optional<ParseResult> TreeSitterEngine::parse_file(const std::filesystem::path& file_path,
                                                        std::int64_t file_id) const {
  ThreadStorage& storage = _get_thread_local_storage();
  storage.ruby_visibility_cache.clear();
  const auto language = languages::detect_language(file_path);
  if (!language) return std::nullopt;
  const std::string& path = file_path.native();
  FileContent content;
  try {
    content = read_file(file_path, storage.digest);
  } catch (const FileReadError& error) {
    log(LogLevel::warning, "Failed to read file %s: %s", {path, error.what()},
        std::current_exception());
    return failed(path, *language, "", std::string("Failed to read file: ") + error.what());
  }
  return _parse({.path = path,
                 .file_path = file_path,
                 .language = *language,
                 .file_id = file_id,
                 .bytes = content.bytes,
                 .size = content.size,
                 .content_hash = std::move(content.content_hash),
                 .messages = FILE_MESSAGES});
}

ParseResult TreeSitterEngine::parse_content(std::string_view content, std::string_view language,
                                            std::string_view file_path,
                                            std::int64_t file_id) const {
  ThreadStorage& storage = _get_thread_local_storage();
  storage.ruby_visibility_cache.clear();
  require_utf8(content);
  return _parse({.path = file_path,
                 .file_path = std::filesystem::path(file_path),
                 .language = language,
                 .file_id = file_id,
                 .bytes = content,
                 .size = content.size(),
                 .content_hash = storage.digest.of(content),
                 .messages = CONTENT_MESSAGES});
}

// The suffix goes first, from the last component that names something; then the rest is joined in
// its normal form, and both kinds of separator become dots.
std::string TreeSitterEngine::_path_to_fqn(const std::filesystem::path& file_path) {
  std::vector<std::string_view> components = split(file_path.native(), '/');
  std::erase_if(components,
                [](std::string_view component) { return component.empty() || component == "."; });
  if (components.empty()) {
    throw std::invalid_argument("path has an empty last component: '" + file_path.native() + "'");
  }
  std::string_view& last = components.back();
  const std::size_t dot = last.rfind('.');
  if (dot != std::string_view::npos && dot > 0 && dot + 1 < last.size()) last = last.substr(0, dot);
  if (last == ".") components.pop_back();

  std::string fqn;
  for (const std::string_view component : components) fqn.append(component).append(1, '.');
  if (!fqn.empty()) fqn.pop_back();
  std::replace(fqn.begin(), fqn.end(), '\\', '.');
  return fqn.erase(0, fqn.find_first_not_of('.'));
}

}  // namespace engines::treesitter
