// The commands, their options and their help, as CLI11 takes them.
//
// The commands are in parse_options.cpp, index_options.cpp and question_options.cpp; options that
// several of them have are in command_options.cpp.
//
// Tested by tests/tool_test.py, and by tests/tool_runs_test.py for wrong use.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tool/arguments.h"

namespace CLI {
class App;
}

namespace tool {

// Add all commands; `parse` and `check`; `index` and `watch`; those that ask an index. CLI11 writes
// the values into `parsed` while it reads the arguments, so both parameters must outlive that.
void add_all(CLI::App& app, Arguments& parsed);
void add_parse(CLI::App& app, Arguments& parsed);
void add_check(CLI::App& app, Arguments& parsed);
void add_index(CLI::App& app, Arguments& parsed);
void add_questions(CLI::App& app, Arguments& parsed);

// Finish `parsed` when the user gave one of these commands, and say whether that is so. Throw
// UsageError for what CLI11 cannot check.
bool settle_index(const CLI::App& app, Arguments& parsed);
bool settle_question(const CLI::App& app, Arguments& parsed);

// Add --language for the named files, --format, --rules and --jobs. `words`: the values that are
// allowed, in the order in which the help shows them.
void add_language(CLI::App& command, Arguments& parsed);
void add_format(CLI::App& command, Format& format, const char* help,
                const std::vector<std::string>& words);
void add_rules(CLI::App& command, engines::treesitter::Rules& rules, const char* help,
               const std::vector<std::string>& words);
void add_jobs(CLI::App& command, Arguments& parsed);

// Adds the options that say which files of folders are taken. `size_help`: of --max-filesize.
void add_files(CLI::App& command, Arguments& parsed, const char* size_help);
// Finishes the values of these options. Throws UsageError for an unknown language.
void settle_files(Arguments& parsed);

// The canonical name of the language that a user means by one of the sixteen names, by a suffix of
// its files, with or without the full stop, or by another usual name. Case does not count. Throws
// UsageError.
std::string language_meant(std::string_view text);

}  // namespace tool
