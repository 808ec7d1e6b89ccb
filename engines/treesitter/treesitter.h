// Tree-sitter parsing engine for symbol extraction. It parses one source file, or a text whose
// language is given, and returns one ParseResult with the symbols that the file declares and the
// references that it makes. A caller includes this header alone. It includes records.h (results,
// errors and items), report.h (what `explain` tells) and build_info.h (what the build is made of).
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
// Many files, on all processors; the outcomes come in the order of the paths:
//
//   for (auto& parsed : engine.parse_many(paths)) store(parsed.item.path, parsed.outcome);
//
// Ownership: the caller owns everything that a call returns. The engine keeps no reference to it,
// and a result holds no view into the file.
//
// Threads: any number of threads may use one engine at once; it takes no lock. Each thread has
// parsers and caches of its own, made on first use and freed when the thread or the engine ends,
// whichever is first. The engine must outlive the calls made on it.
//
// Failures: those to be expected of files become texts in ParseResult::errors: a file that cannot
// be read, a language without a grammar, a parse that a guard ends, a symbol that the model
// rejects. A syntax error is no failure: the rules run over the tree with its error nodes. The
// following errors are thrown by the operations that return a ParseResult; `parse` and `parse_many`
// return them as values:
//   Utf8Error              under the standard rules: a name is no UTF-8; or, in Java, C# and PHP, a
//                          declaration that is not public at first sight has such a byte anywhere,
//                          comments included, since all its texts are searched for modifiers
//   std::invalid_argument  the path has no last component
//   ResultLimitError       the record would hold far more text than the file
//   std::runtime_error     the regular expression of body digests reached a limit on a line
//   std::bad_alloc         the process is short of memory
//
// Memory and time: whatever the bytes are, a parse takes at most 64 MiB and 1 KiB per byte of the
// file, and at most 5 s and 5 s per MiB of processor time. All parses of the process together stay
// within memory_room().
//
// Tested by tests/engine_test.cpp, tests/parse_item_test.cpp and tests/parse_many_test.cpp.
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

// The most code points of a docstring; a cut one has TRUNCATION_SUFFIX within them.
inline constexpr std::size_t MAX_DOCSTRING_LENGTH = 500;
// The end of a cut docstring.
inline constexpr std::string_view TRUNCATION_SUFFIX = "...";
// The most code points of a body digest.
inline constexpr std::size_t MAX_BODY_DIGEST_LENGTH = 800;
// The kind of a reference to a module's path.
inline constexpr std::string_view IMPORT_MODULE_KIND = "import_module";

// ---- Many files ----

struct ParseManyOptions {
  // The most threads that parse; 0 for one per usable processor. A thread is started when there is
  // work for it. If the system starts none, the thread that calls next() parses.
  std::size_t threads = 0;
  // Starts no thread: next() parses its item itself. This is the cheapest way to use one thread.
  // Handing an outcome from one thread to another takes a tenth of the time of a file of 2 KB.
  bool in_caller = false;
  // Ends the run: the outcome of items under way is that they were cancelled, and no others are
  // begun.
  std::stop_token stop = {};
  // Lets a host work on the thread that parses an item: it is called in place of the parse, and
  // calls `parse`, which sets the outcome. If it does not, the outcome is what it sets itself, else
  // NoLanguage. An exception that it throws becomes the outcome. Several threads call it at once.
  std::function<void(ParsedItem& parsed, const std::function<void()>& parse)> perform = {};
};

// A run over many items, which gives their outcomes in the order of the items.
//
// Items are taken from their source as the run proceeds, so the source may be endless. At most 16
// items for each thread are ahead of the outcome taken last, and no more are begun while the
// outcomes that wait to be taken hold a quarter of memory_room().
//
// Threads: one thread at a time may use a run. One thread at a time calls the source, but not
// always the same one. The source may wait.
class ParseMany {
 public:
  // Gives the next item, or none at the end. An exception that it throws ends the run: next()
  // throws it after the outcomes of the items before it.
  using Source = std::function<std::optional<ParseItem>()>;

  // The engine must outlive the run.
  ParseMany(const TreeSitterEngine& engine, Source source, ParseManyOptions options = {});
  // Cancels what is under way and waits for its end, which takes up to 50 ms, and for a call of the
  // source to return.
  ~ParseMany();
  ParseMany(const ParseMany&) = delete;
  ParseMany& operator=(const ParseMany&) = delete;

  // Waits for the next outcome and returns it; none at the end. Throws what the source threw, and
  // std::bad_alloc.
  std::optional<ParsedItem> next();

  // Waits, for at most this long, until next() would not have to wait for another thread. Returns
  // whether that is so.
  bool wait_for(std::chrono::milliseconds at_most);

  // The item that has been parsed for the longest time so far; none while nothing is parsed.
  struct UnderWay {
    std::string path;
    std::chrono::steady_clock::time_point since;
  };
  std::optional<UnderWay> longest_under_way() const;

  // For range-based loops. The iterator owns its item until the next step.
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

// A source that gives the files at these paths.
ParseMany::Source files_at(std::vector<std::string> paths);

// ---- What the process may take ----

// The bytes that all parses of the process may take together, including results that wait in a run.
// By default three quarters of the least of physical memory, the control group's limit and
// RLIMIT_AS. A file for which there is no room waits until the others end and is then parsed alone.
// A file that alone takes more than file_room() gets an error text with both numbers, whatever else
// is under way. The host's own memory is not counted.
std::uint64_t memory_room();
// The bytes that one file may take: five eighths of memory_room().
std::uint64_t file_room();
// Sets memory_room(). May be called from any thread; holds for parses that begin later.
void set_memory_room(std::uint64_t bytes);

// The processors that this process may run on.
std::size_t usable_processors();

// ---- Text helpers ----

// The text, cut to MAX_DOCSTRING_LENGTH code points, and whether it was cut. A cut text is its
// first 497 code points and TRUNCATION_SUFFIX; it may end within a word.
std::pair<std::string, bool> _truncate_docstring(std::string_view text);

// The text of the node; none when it has no bytes. The view points into the file. Throws Utf8Error
// for bytes that are no UTF-8.
std::optional<std::string_view> _node_text(const Node& node);

// The text without one matching outer pair of double quotes or apostrophes.
std::string_view _strip_matching_quotes(std::string_view text);

// ---- The engine ----

// Which declarations and references a record holds, and their names (doc/records.md).
enum class Rules : std::uint8_t {
  // A declaration's name is its first child that looks like one. Of several declarations with one
  // FQN the first counts.
  standard,
  // For readers: names by the grammars' fields, every declaration, every call by the name of the
  // function. Ill-formed UTF-8 is replaced and raises no error.
  navigation,
};

// Tree-sitter based code parser for symbol extraction.
//
// Private operations that use only their arguments are static, so the compiler proves most of the
// promise about threads. The others use the calling thread's storage.
class TreeSitterEngine {
 public:
  explicit TreeSitterEngine(Rules rules = Rules::standard);
  ~TreeSitterEngine();
  Rules rules() const { return _rules; }
  // Neither copied nor moved: runs refer to it.
  TreeSitterEngine(const TreeSitterEngine&) = delete;
  TreeSitterEngine& operator=(const TreeSitterEngine&) = delete;

  // Parses a source file. `file_id` is copied into every symbol. Returns none, and reads nothing,
  // when the path has no known language.
  std::optional<ParseResult> parse_file(const std::filesystem::path& file_path,
                                        std::int64_t file_id = 0) const;

  // Parses a text, which must be UTF-8 (else Utf8Error). `file_path` becomes the result's path,
  // unchanged, and the symbols' FQNs begin with it.
  ParseResult parse_content(std::string_view content, std::string_view language,
                            std::string_view file_path, std::int64_t file_id = 0) const;

  // Parses a file in the given language, whatever its path.
  ParseResult parse_file(const std::filesystem::path& file_path, std::string_view language,
                         std::int64_t file_id = 0) const;

  // Parses the bytes of a file that are not on the disk, such as a blob of a repository. They need
  // not be UTF-8.
  ParseResult parse_bytes(std::string_view bytes, std::string_view language,
                          const std::filesystem::path& file_path, std::int64_t file_id = 0) const;

  // Does any of these, as the item says, and throws nothing: an error is returned as an outcome.
  Outcome parse(const ParseItem& item, const Cancellation& cancellation = {}) const noexcept;

  // The same, and fills in a report. Costs one more loop over the nodes.
  Outcome explain(const ParseItem& item, ParseReport& report,
                  const Cancellation& cancellation = {}) const noexcept;

  // The beginning of the FQNs of all symbols of a file: "src.app" for "src/app.py". Throws
  // std::invalid_argument for a path without a last component.
  static std::string fqn_prefix(const std::filesystem::path& file_path) {
    return _path_to_fqn(file_path);
  }

  // Parses many items on several threads. The engine must outlive the run.
  ParseMany parse_many(ParseMany::Source source, ParseManyOptions options = {}) const {
    return ParseMany(*this, std::move(source), std::move(options));
  }
  ParseMany parse_many(std::vector<std::string> paths, ParseManyOptions options = {}) const {
    return parse_many(files_at(std::move(paths)), std::move(options));
  }

 private:
  friend struct EnginePeer;  // by which tests call private operations

  struct ParseJob;
  class SymbolList;
  class SymbolWalk;
  class DeclarationWalk;
  class ReferenceWalk;

  // -- core/: storage for each thread, and the steps from bytes to a result.
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
  // The pairs hold the cleaned text, none when it is empty, and whether it was cut.
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
  // Which comments above a declaration count: all of them; those with no code in front of them on
  // their line; of these, those on the lines directly above it.
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
  // The words that change visibility among the direct children, with their 0-based rows, by row.
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
  // The storage of each thread. The pointer is written by the constructor only.
  std::unique_ptr<ThreadLocal> _local;
};

}  // namespace engines::treesitter
