// The command line, read and checked: what is wrong with it is said before anything is parsed.
//
// Tested by tests/tool_test.py.
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

// What stands for standard input among paths and as a list's name.
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

// Of the commands that ask an index.
struct QuestionArguments {
  Question question = Question::find;
  std::string text;                // what is asked for
  std::vector<std::string> words;  // of a search
  repository::Match match = repository::Match::exact;
  repository::Filter filter;
  std::size_t limit = 100;  // 0 for none
  std::string path = ".";
  std::optional<std::string> database;
  std::optional<std::string> catalogue;  // a folder; of `find` alone
  Format format = Format::text;
};

struct Arguments {
  Command command = Command::parse;
  std::string help;              // the text, when the command is `help`
  bool is_version_json = false;  // when it is `version`

  // Of `parse`; `check` has the language, the format and the rules, and its file as the one path:
  std::optional<std::string> language;  // forced; one of the sixteen
  unsigned jobs = 0;                    // threads, at most MAX_JOBS; 0 for as many as processors
  Format format = Format::json;
  engines::treesitter::Rules rules = engines::treesitter::Rules::standard;
  std::optional<std::string> files_from;  // a list of paths, or STANDARD_INPUT
  bool null_separated = false;            // how that list is separated
  std::vector<std::string> paths;         // any bytes; no folder where a language is forced
  std::optional<std::string> stdin_path;  // of what standard input holds
  bool is_batch = false;                  // contents and paths on standard input
  bool skips_binary = false;              // also what is named
  bool lists = false;                     // what would be parsed, and parses nothing
  repository::FileRules files;            // those of folders, and the size of any
  bool is_verbose = false;

  // Of `index` and `watch`, beside `jobs`, `files` and `is_verbose`:
  bool has_files = false;  // `files` is to hold from now on
  std::optional<std::string> tags;
  std::optional<std::string> from_shards;  // a folder; of `index` alone
  std::optional<std::string> catalogue;    // a folder to make one in, of shards
  std::string index_path = ".";
  std::optional<std::string> database;
  engines::treesitter::Rules index_rules = engines::treesitter::Rules::navigation;

  QuestionArguments question;
};

// What the user has to change about the command line.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Asks the system whether standard output is a terminal, and what is a folder. Throws UsageError.
Arguments parse_arguments(int count, const char* const* arguments);

}  // namespace tool
