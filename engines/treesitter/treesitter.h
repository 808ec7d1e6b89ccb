// Tree-sitter parsing engine for symbol extraction: one source file, or a text and its language,
// in; one ParseResult out, with the symbols that the file declares and the references that it
// makes. This is the only header that a caller includes; what it stores and matches on stands in
// engines/treesitter/records.h, what a parse that is to be explained tells in
// engines/treesitter/report.h, and what the build is made of in engines/treesitter/build_info.h.
//
//   #include "engines/treesitter/treesitter.h"
//
//   const engines::treesitter::TreeSitterEngine engine;
//   if (auto result = engine.parse_file("src/app/models.py")) {
//     for (const auto& symbol : result->symbols) {
//       std::cout << symbol.fqn << ':' << symbol.start_line << '\n';
//     }
//   }
//
// Many files, on all processors, in the order in which they were named:
//
//   for (auto& parsed : engine.parse_many(paths)) store(parsed.item.path, parsed.outcome);
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
// holds error nodes and the walks run over it. All else is thrown by the operations that give a
// ParseResult, and handed over as a value by `parse` and `parse_many`:
//   Utf8Error              a rule read bytes that are no UTF-8: a name; or in Java, C# and PHP,
//                          where visibility is looked for among the texts of all children, any byte
//                          of a declaration that is not public at first sight, comments included
//   std::invalid_argument  the path has no last component
//   ResultLimitError       the record would be out of all proportion to the file
//   std::runtime_error     the regular expression of body digests gave up on a line
//   std::bad_alloc         the process is short of memory
//
// Memory and time: a parse takes at most 64 MiB and 1 KiB per byte of the file, and 5 s and 5 s per
// MiB of processor time, whatever the bytes are. All parses of the process together stay within
// memory_room().
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engines/languages/languages.h"
#include "engines/treesitter/build_info.h"
#include "engines/treesitter/cancellation/cancellation.h"
#include "engines/treesitter/core/log.h"
#include "engines/treesitter/records.h"
#include "engines/treesitter/report.h"
#include "models/symbol.h"

namespace engines::treesitter {

class Node;
class Parser;
class Source;
class SourceFile;
class SyntaxTree;
class ThreadLocal;
class TreeSitterEngine;
class FileVisibility;
struct OverRoom;
struct Surroundings;
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

// ---- Many files ----

struct ParseManyOptions {
  // The most threads that parse; 0 for as many as processors may be used. They are started as there
  // is work for them; a system that gives none leaves the work to the thread that calls next().
  std::size_t threads = 0;
  // Starts no thread: next() parses its item itself, and nothing is done ahead of it. The cheapest
  // way to one thread's work, since no outcome is handed from one to another, which takes a tenth
  // of the time of files of 2 KB.
  bool in_caller = false;
  // Ends the run: items under way come out as cancelled, and no further ones are begun.
  std::stop_token stop = {};
  // Called on the thread that parses an item, instead of parsing it: calls `parse`, which fills in
  // the outcome, and may do what belongs to the item before and after. Without `parse` the outcome
  // is what it leaves there, NoLanguage by default. What it throws
  // becomes the outcome. Called by several threads at once.
  std::function<void(ParsedItem& parsed, const std::function<void()>& parse)> perform = {};
};

// A run over many items: an iterator over their outcomes, in the order of the items.
//
// Items are taken from their source as the run proceeds, so that it may be endless: at most 16 for
// each thread are ahead of the outcome taken last, and fewer while outcomes that nobody has taken
// hold a quarter of memory_room().
//
// Threads: all operations are for one thread at a time. The source is called by one thread at a
// time, though not always by the same; it may wait.
class ParseMany {
 public:
  // Gives the next item, or none at the end. What it throws ends the run, and leaves next() in its
  // place, behind the outcomes of the items before it.
  using Source = std::function<std::optional<ParseItem>()>;

  // The engine must outlive the run.
  ParseMany(const TreeSitterEngine& engine, Source source, ParseManyOptions options = {});
  // Cancels what is under way, and waits for it and for a call of the source: some 50 ms without
  // the latter.
  ~ParseMany();
  ParseMany(const ParseMany&) = delete;
  ParseMany& operator=(const ParseMany&) = delete;

  // Waits for the next outcome; none at the end. Throws what the source threw, std::bad_alloc.
  std::optional<ParsedItem> next();

  // Waits until next() would not wait for another thread, for at most so long; whether it would
  // not.
  bool wait_for(std::chrono::milliseconds at_most);

  // The item that has been under way longest of those being parsed.
  struct UnderWay {
    std::string path;
    std::chrono::steady_clock::time_point since;
  };
  std::optional<UnderWay> longest_under_way() const;

  // For range-based loops; an item is moved out of the run and lasts until the next step.
  class Iterator {
   public:
    using difference_type = std::ptrdiff_t;
    using value_type = ParsedItem;

    explicit Iterator(ParseMany& run) : _run(&run), _item(run.next()) {}
    ParsedItem& operator*() const { return *_item; }
    ParsedItem* operator->() const { return &*_item; }
    Iterator& operator++() {
      _item = _run->next();
      return *this;
    }
    void operator++(int) { ++*this; }
    bool operator==(std::default_sentinel_t /*end*/) const { return !_item; }

   private:
    ParseMany* _run;
    mutable std::optional<ParsedItem> _item;
  };
  Iterator begin() { return Iterator(*this); }
  std::default_sentinel_t end() const { return {}; }

 private:
  class Run;
  std::unique_ptr<Run> _run;
};

// A source of the files at these paths, which it owns.
ParseMany::Source files_at(std::vector<std::string> paths);

// ---- What the process may take ----

// The bytes that all parses of the process may take together, with their results as long as those
// wait in a run: three quarters of the least of physical memory, the control group's limit and
// RLIMIT_AS, unless set_memory_room said otherwise. A file that finds no room waits for others to
// end and is then parsed alone. One file may take five eighths; one that takes more gives an error
// text with both numbers, which is the same whatever else is under way. Memory of the host's own is
// not counted.
std::uint64_t memory_room();
std::uint64_t file_room();                  // of that, what one file may take
void set_memory_room(std::uint64_t bytes);  // from any thread; holds for what begins later

// The processors that this process may run on.
std::size_t usable_processors();

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

// Which declarations and references a record holds, and how they are named (doc/records.md).
enum class Rules : std::uint8_t {
  // A node's first child that looks like a name names it, the first declaration of an FQN counts.
  standard,
  // What a reader looks for: names by the grammars' fields, every declaration, every call under the
  // name of what is called. Ill-formed UTF-8 is replaced and raises nothing.
  navigation,
};

// Tree-sitter based code parser for symbol extraction.
//
// Private operations that read their arguments and nothing else are static, which is most of the
// promise about threads; the others reach the calling thread's storage.
class TreeSitterEngine {
 public:
  explicit TreeSitterEngine(Rules rules = Rules::standard);
  ~TreeSitterEngine();
  Rules rules() const { return _rules; }  // of every parse of this engine
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

  // parse_file for a file whose language the caller knows better than its path tells.
  ParseResult parse_file(const std::filesystem::path& file_path, std::string_view language,
                         std::int64_t file_id = 0) const;

  // What parse_file does once the bytes are read, for bytes that are elsewhere, such as a blob of a
  // repository. They may be no UTF-8.
  ParseResult parse_bytes(std::string_view bytes, std::string_view language,
                          const std::filesystem::path& file_path, std::int64_t file_id = 0) const;

  // All of these as one operation that throws nothing: what they would throw is in the outcome.
  Outcome parse(const ParseItem& item, const Cancellation& cancellation = {}) const noexcept;

  // The same, and what it met and took. Costs a look at each node more.
  Outcome explain(const ParseItem& item, ParseReport& report,
                  const Cancellation& cancellation = {}) const noexcept;

  // What the FQNs of all symbols of a file begin with: "src.app" for "src/app.py". Throws
  // std::invalid_argument.
  static std::string fqn_prefix(const std::filesystem::path& file_path) {
    return _path_to_fqn(file_path);
  }

  // Many items at once, on several threads.
  ParseMany parse_many(ParseMany::Source source, ParseManyOptions options = {}) const {
    return ParseMany(*this, std::move(source), std::move(options));
  }
  ParseMany parse_many(std::vector<std::string> paths, ParseManyOptions options = {}) const {
    return parse_many(files_at(std::move(paths)), std::move(options));
  }

 private:
  friend struct EnginePeer;  // the tests' door to the private operations

  struct ParseJob;
  class SymbolList;
  class SymbolWalk;
  class DeclarationWalk;
  class ReferenceWalk;

  // -- core/: storage for each thread, and the road from bytes to a result.
  // Whether files of this language are read by the navigation rules.
  bool _navigates(std::string_view language) const;
  // The calling thread's parsers and Ruby visibility cache, made on first use.
  ThreadStorage& _get_thread_local_storage() const;
  Parser* _get_parser(std::string_view language) const;
  ParseResult _parse(ParseJob& job) const;
  ParseResult _walk(const ParseJob& job, const SyntaxTree& tree) const;
  Outcome _parse_or_raise(const ParseItem& item, const Cancellation& cancellation,
                          ParseReport* report) const noexcept;
  Outcome _parse_item(const ParseItem& item, ParseJob& job) const;
  Outcome _parse_file(ParseJob& job, std::uint64_t max_size, bool declines_binary) const;
  Outcome _parse_read(ParseJob& job, const SourceFile& file, bool declines_binary) const;
  Outcome _parse_bytes(ParseJob& job, std::string_view bytes, bool is_text) const;
  template <typename Attempt>
  static Outcome _in_turn(const ParseJob& job, std::uint64_t size, const Attempt& attempt);
  static ParseResult _failed_for_want_of_room(const ParseJob& job, const OverRoom& over);
  static std::string _path_to_fqn(const std::filesystem::path& file_path);

  // -- symbols/: which nodes declare something, of which kind, under which name.
  // `file_path` gives the prefix of every FQN.
  std::pair<std::vector<models::Symbol>, std::vector<std::string>> _extract_symbols(
      const Node& root, const Source& content, std::string_view language,
      const std::filesystem::path& file_path, std::int64_t file_id) const;
  // The same by the navigation rules, into `list`.
  static void _find_declarations(const Node& root, const Source& content, SymbolList& list);
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
  // The same by the navigation rules. The comment above the holder documents the declaration.
  static std::optional<std::string> _find_documentation(const Node& node, const Node& holder,
                                                        const Source& content);
  static std::optional<std::string> _read_doc_run(const Node& declaration, const Node& holder,
                                                  const Source& content);
  static std::optional<std::string> _extract_python_docstring(const Node& node,
                                                              const Source& content);
  static std::pair<std::optional<std::string>, bool> _clean_python_docstring(std::string_view text);
  // Which of the comments above a declaration count: all of them, those that stand behind no code,
  // or of these those on the lines directly above it.
  enum class Above : std::uint8_t { anywhere, alone, directly };
  static std::optional<std::string> _extract_preceding_block_comment(const Node& node,
                                                                     const Source& content,
                                                                     Above above);
  static std::pair<std::optional<std::string>, bool> _clean_block_comment(std::string_view text);
  template <typename CommentTypes, typename Handler>
  static std::optional<std::string> _collect_preceding_comments(const Node& node,
                                                                const Source& content,
                                                                const CommentTypes& comment_types,
                                                                Handler handler,
                                                                Above above = Above::anywhere);
  static std::optional<std::string> _extract_go_doc(const Node& node, const Source& content);
  static std::optional<std::string> _extract_rust_doc(const Node& node, const Source& content);
  static std::optional<std::string> _extract_csharp_doc(const Node& node, const Source& content);
  static std::optional<std::string> _extract_xml_doc(const Node& node, const Source& content);
  static std::optional<std::string> _extract_ruby_doc(const Node& node, const Source& content);
  static std::optional<std::string> _extract_ruby_doc(const Node& node, const Source& content,
                                                      Above above);

  // -- visibility/: whether a declaration is seen outside its file.
  bool _is_exported(const Node& node, std::string_view language) const;
  // The same by the navigation rules. `holder` has the declaration's modifiers.
  static bool _is_visible(const Node& node, const Node& holder, std::string_view name,
                          const Surroundings& surroundings);
  static std::shared_ptr<const FileVisibility> _read_visibility(const Node& root);
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
  // The same by the navigation rules.
  static std::vector<ReferenceInfo> _find_references(const Node& root);
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

  const Rules _rules;
  // One set of values per thread. Written by the constructor only; each thread reads and writes its
  // own set and no other.
  std::unique_ptr<ThreadLocal> _local;
};

}  // namespace engines::treesitter
