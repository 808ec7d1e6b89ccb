// Tree-sitter parsing engine for symbol extraction: one source file, or a text and its language,
// in; one ParseResult out, with the symbols that the file declares and the references that it
// makes. This is the only header that a caller includes.
//
//   #include "engines/treesitter/treesitter.h"
//
//   engines::treesitter::TreeSitterEngine engine;
//   if (auto result = engine.parse_file("src/app/models.py")) {
//     for (const auto& symbol : result->symbols) {
//       std::cout << symbol.fqn << ':' << symbol.start_line << '\n';
//     }
//   }
//
// Ownership: everything that a call returns belongs to the caller; the engine keeps no reference to
// it, and the result holds no view into the file.
//
// Threads: one engine serves any number of threads at once, without a lock. Each thread owns its
// parsers and caches, made on first use and freed when the thread or the engine ends, whichever is
// first. The engine must outlive the calls made on it.
//
// Failures: what can be expected of files (unreadable, no grammar, a parser that gives up, a symbol
// that the model rejects) is data, in ParseResult::errors. Syntax errors are no failures: the tree
// holds error nodes and the walks run over it. All else is thrown: Utf8Error where a rule reads a
// name that is no UTF-8, std::invalid_argument for a path without a last component,
// ResultLimitError for a file whose record would be out of all proportion, std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engines/treesitter/core/log.h"
#include "models/symbol.h"

namespace engines::treesitter {

class Node;
class Parser;
class Source;
class SyntaxTree;
class ThreadLocal;
struct ThreadStorage;

// ---- Constants ----

// The most code points that a docstring has, the suffix of a cut one included.
inline constexpr std::size_t MAX_DOCSTRING_LENGTH = 500;
// What a cut docstring ends with.
inline constexpr std::string_view TRUNCATION_SUFFIX = "...";
// The most code points that a body digest has.
inline constexpr std::size_t MAX_BODY_DIGEST_LENGTH = 800;
// The kind of a reference to a module's path.
inline constexpr std::string_view IMPORT_MODULE_KIND = "import_module";

// ---- Errors ----

// Bytes that were to be read as UTF-8 and are not. The text names the byte, its place and the
// fault.
class Utf8Error : public std::invalid_argument {
 public:
  // `start` and `end`: the ill-formed range, in bytes of `object`.
  Utf8Error(std::string object, std::size_t start, std::size_t end, const std::string& reason);

  std::string object;  // the bytes that were read
  std::size_t start;
  std::size_t end;
  std::string
      reason;  // "invalid start byte", "invalid continuation byte", "unexpected end of data"
};

// The record of one file would hold more text than MAX_RESULT_TEXT allows
// (symbols/symbol_walk.cpp): a megabyte of nested keys implies gigabytes of qualified names.
class ResultLimitError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// ---- Records ----

// A reference to another symbol found during parsing.
struct ReferenceInfo {
  std::string name;
  std::uint32_t line;  // 1-based, of the referencing node's start
  std::string kind;    // "call", "import", "import_module" or "type"

  bool operator==(const ReferenceInfo&) const = default;
};

// Result of parsing a source file.
struct ParseResult {
  std::string path;          // as given; on POSIX any bytes
  std::string language;      // the name under which the file was parsed
  std::string content_hash;  // SHA-256, 64 lower-case digits; empty when the file could not be read
  std::vector<models::Symbol> symbols;    // an enclosing symbol before those nested in it
  std::vector<ReferenceInfo> references;  // in document order
  std::vector<std::string> errors;        // in the order in which they arose

  bool operator==(const ParseResult&) const = default;
};

// ---- Text helpers ----

// A text of at most MAX_DOCSTRING_LENGTH code points, and whether it was cut to that. A cut text is
// its first 497 code points and TRUNCATION_SUFFIX: no search for a word's end.
std::pair<std::string, bool> _truncate_docstring(std::string_view text);

// The bytes that the node spans, decoded as strict UTF-8; none for zero bytes. The view points into
// the file. Throws Utf8Error.
std::optional<std::string_view> _node_text(const Node& node);

// Without one matching outer pair of double quotes or apostrophes.
std::string_view _strip_matching_quotes(std::string_view text);

// ---- The engine ----

// Tree-sitter based code parser for symbol extraction.
//
// All operations but five are static: they read their arguments and nothing else, which is most of
// the promise about threads.
class TreeSitterEngine {
 public:
  TreeSitterEngine();
  ~TreeSitterEngine();
  // Threads know an engine by its identity, so it stays where it is.
  TreeSitterEngine(const TreeSitterEngine&) = delete;
  TreeSitterEngine& operator=(const TreeSitterEngine&) = delete;

  // Parse a source file and extract symbols. `file_id` is copied into every symbol. Gives none when
  // the path tells no language; nothing is read then.
  std::optional<ParseResult> parse_file(const std::filesystem::path& file_path,
                                        std::int64_t file_id = 0) const;

  // Parse source code content directly. `content` is UTF-8 (else Utf8Error); `file_path` becomes
  // the result's path as it stands, and names the symbols.
  ParseResult parse_content(std::string_view content, std::string_view language,
                            std::string_view file_path, std::int64_t file_id = 0) const;

 private:
  friend struct EnginePeer;  // the tests' door to the private operations

  struct ParseJob;
  class SymbolWalk;
  class ReferenceWalk;

  // -- core/: storage, reading, hashing, parsing.
  // The calling thread's parsers and Ruby visibility cache, made on first use.
  ThreadStorage& _get_thread_local_storage() const;
  Parser* _get_parser(std::string_view language) const;
  ParseResult _parse(ParseJob&& job) const;
  ParseResult _walk(ParseJob& job, const SyntaxTree& tree) const;
  static std::string _path_to_fqn(const std::filesystem::path& file_path);

  // -- symbols/: which nodes declare something, of which kind, under which name.
  // `file_path` gives the prefix of every FQN.
  std::pair<std::vector<models::Symbol>, std::vector<std::string>> _extract_symbols(
      const Node& root, const Source& content, std::string_view language,
      const std::filesystem::path& file_path, std::int64_t file_id) const;
  static std::optional<std::string_view> _node_type_to_symbol_kind(const Node& node,
                                                                   std::string_view language);
  static std::optional<std::string> _get_symbol_name(const Node& node, std::string_view language);
  static std::string_view _unquote_yaml_string(std::string_view text);
  static std::string_view _unquote_toml_string(std::string_view text);
  static std::optional<std::string> _get_signature(const Node& node, const Source& content,
                                                   std::string_view language);
  static std::optional<std::string> _extract_body_digest(const Node& node, const Source& content);

  // -- docs/: the documentation of a declaration, by the convention of its language.
  // The pairs tell the cleaned text, none when it is empty, and whether it was cut.
  static std::optional<std::string> _extract_docstring(const Node& node, const Source& content,
                                                       std::string_view language);
  static std::optional<std::string> _extract_python_docstring(const Node& node,
                                                              const Source& content);
  static std::pair<std::optional<std::string>, bool> _clean_python_docstring(std::string_view text);
  static std::optional<std::string> _extract_preceding_block_comment(const Node& node,
                                                                     const Source& content,
                                                                     std::string_view prefix);
  static std::pair<std::optional<std::string>, bool> _clean_block_comment(std::string_view text);
  template <typename CommentTypes, typename Handler>
  static std::optional<std::string> _collect_preceding_comments(const Node& node,
                                                                const Source& content,
                                                                const CommentTypes& comment_types,
                                                                Handler handler);
  static std::optional<std::string> _extract_go_doc(const Node& node, const Source& content);
  static std::optional<std::string> _extract_rust_doc(const Node& node, const Source& content);
  static std::optional<std::string> _extract_csharp_doc(const Node& node, const Source& content);
  static std::optional<std::string> _extract_ruby_doc(const Node& node, const Source& content);

  // -- visibility/: whether a declaration is seen outside its file.
  bool _is_exported(const Node& node, std::string_view language) const;
  static bool _is_csharp_public_or_controller(const Node& node);
  static bool _has_modifier(const Node& node, std::string_view modifier);
  static bool _is_rust_public(const Node& node);
  static bool _is_php_public(const Node& node);
  bool _is_ruby_public(const Node& node) const;
  // Changes of visibility among the direct children, as pairs of 0-based row and word, by row.
  static std::vector<std::pair<std::uint32_t, std::string_view>> _build_ruby_visibility_map(
      const Node& parent);
  static std::optional<std::string_view> _get_ruby_call_name(const Node& node);

  // -- references/: which nodes refer to something, and under which name. Views point into the
  // file.
  static std::vector<ReferenceInfo> _extract_references(const Node& root,
                                                        std::string_view language);
  static std::optional<std::string_view> _get_call_name(const Node& node,
                                                        std::string_view language);
  static std::optional<std::string_view> _get_attribute_name(const Node& node);
  static std::vector<std::string_view> _get_import_names(const Node& node,
                                                         std::string_view language);
  static std::vector<std::string_view> _get_import_modules(const Node& node,
                                                           std::string_view language);
  static std::vector<std::string_view> _get_import_names_generic(const Node& node);
  static std::optional<std::string_view> _get_type_name(const Node& node);
  static std::optional<std::string_view> _get_yaml_alias_name(const Node& node);

  // One set of values per thread. Written by the constructor only; each thread reads and writes its
  // own set and no other.
  std::unique_ptr<ThreadLocal> _local;
};

}  // namespace engines::treesitter
