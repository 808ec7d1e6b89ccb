// Reads and checks the command line, so that wrong use is reported before anything is parsed.
//
// Tested by tests/tool_runs_test.py (wrong use) and tests/tool_test.py.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "engines/treesitter/treesitter.h"
#include "index/file_rules.h"
#include "index/questions.h"

namespace tool {

// The most threads that --jobs takes.
inline constexpr unsigned MAX_JOBS = 1024;

// The name of standard input, as a path or as the file of --files-from.
inline constexpr const char* STANDARD_INPUT = "-";

enum class Command : std::uint8_t {
  parse,
  check,
  index,
  watch,
  question,
  languages,
  help,
  version
};

enum class Format : std::uint8_t { json, text, ctags };

enum class Question : std::uint8_t {
  find,
  callers,
  callees,
  references,
  importers,
  outline,
  search,
  changed,
  stats
};

// The arguments of the commands that ask an index. What a command has no option for keeps its
// default.
struct QuestionArguments {
  Question question = Question::find;
  std::string text;                // the name, path or words that are asked for
  std::vector<std::string> words;  // of `search`; parse_arguments joins them into `text`
  repository::Match match = repository::Match::exact;  // of `find`
  repository::Filter filter;
  std::size_t limit = 100;               // 0 for all rows; parse_arguments copies it to `filter`
  std::string path = ".";                // a folder of the repository
  std::optional<std::string> database;   // the index's file, if it is not at its usual place
  std::optional<std::string> catalogue;  // of `find`: the folder of a catalogue to ask instead
  Format format = Format::text;
};

struct Arguments {
  Command command = Command::parse;
  std::string help;              // of `help`: the text to print
  bool is_version_json = false;  // of `version`

  // Of `parse`. `check` has the language, the format and the rules of these, and its file as the
  // only path.
  std::optional<std::string> language;  // canonical name; the language of all that is named
  unsigned jobs = 0;                    // threads, at most MAX_JOBS; 0 for one per processor
  Format format = Format::json;
  engines::treesitter::Rules rules = engines::treesitter::Rules::standard;
  std::optional<std::string> files_from;  // the file of a list of paths, or STANDARD_INPUT
  bool null_separated = false;            // paths in lists end with NUL and not with line feeds
  std::vector<std::string> paths;         // any bytes; no folder when a language is given
  std::optional<std::string> stdin_path;  // the path of what standard input holds
  bool is_batch = false;                  // standard input holds contents, each with its path
  bool skips_binary = false;              // leave out binary files that are named, too
  bool lists = false;                     // print what would be parsed, and parse nothing
  repository::FileRules files;            // which files of folders, and the largest size of any
  bool is_verbose = false;

  // Of `index` and `watch`, which have `jobs`, `files` and `is_verbose` as well.
  bool has_files = false;                  // the user gave `files`; otherwise the index's own apply
  std::optional<std::string> tags;         // a tags file to write
  std::optional<std::string> from_shards;  // of `index`: the output folder of a cluster's run
  std::optional<std::string> catalogue;    // of `index`: the folder to make a catalogue in
  std::string index_path = ".";            // a folder of the repository
  std::optional<std::string> database;     // the index's file, if it is not at its usual place
  engines::treesitter::Rules index_rules = engines::treesitter::Rules::navigation;

  QuestionArguments question;
};

// Wrong use. The text says what the user has to change about the command line.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Reads the arguments of main(). Asks the system which paths are folders, and whether standard
// output is a terminal, on which `format` defaults to text. Throws UsageError.
Arguments parse_arguments(int count, const char* const* arguments);

}  // namespace tool
