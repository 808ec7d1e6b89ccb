// The tool's commands: each does its work with the arguments and writes to standard output. Those
// that return a number return the process's exit status (messages.h).
//
// All throw std::bad_alloc. Where standard output cannot be written they end the process.
#pragma once

#include <string>

#include "tool/arguments.h"

namespace tool {

// `parse`: parses all files on all threads and writes their records. Throws std::runtime_error when
// a list or a stream of contents cannot be read; the records of what came before are written.
//
// Tested by tests/tool_test.py and tests/tool_runs_test.py.
int run_parse(const Arguments& arguments);

// `parse --list`: writes what `parse` would take and the size of each, for hosts that split up a
// run. `parse --help` describes the lines. Looks at each file but opens none, unless its path is
// too long for the system. Throws as run_parse.
//
// Tested by tests/tool_test.py.
int run_list(const Arguments& arguments);

// `check`: parses one file and writes all that can be said about how it parses.
//
// Tested by tests/check_test.py.
int run_check(const Arguments& arguments);

// `index` and `watch`: make the index of a repository or bring it up to date, once or whenever
// files change. Throw repository::IndexError, std::system_error.
//
// Tested by tests/index_command_test.py and tests/watch_test.py.
int run_index(const Arguments& arguments);
int run_watch(const Arguments& arguments);

// `find`, `callers`, `callees`, `references`, `importers`, `outline`, `search`, `changed`, `stats`:
// ask an index and write the answer. Throws repository::IndexError.
//
// Tested by tests/questions_test.py.
int run_question(const QuestionArguments& asked);

// The output of `languages`: for each its name, then the suffixes and file names that mean it.
//
// Tested by tests/tool_test.py, and so are the versions.
std::string languages_text();

// The output of `--version`, one version on a line: of the tool, the tree-sitter core and each
// grammar. And of `--version --json`: one object with these and all else that decides about
// records.
std::string version_text();
std::string version_json();

}  // namespace tool
