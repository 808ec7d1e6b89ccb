// The commands, their options and what their help says. CLI11's other door.
//
// Tested by tests/tool_test.py and tests/check_test.py.
#pragma once

#include <CLI/App.hpp>

#include "tool/arguments.h"

namespace tool {

// Add a command, whose values go into `parsed` while CLI11 reads them; both must outlive that.
void add_all(CLI::App& app, Arguments& parsed);  // every command, and the options of none
void add_parse(CLI::App& app, Arguments& parsed);
void add_check(CLI::App& app, Arguments& parsed);

// The options about which files of folders are taken, of whatever command takes folders.
void add_files(CLI::App& command, Arguments& parsed, const char* size_help);
// What of them may have been hidden from CLI11 (shield.h). Throws UsageError.
void settle_files(Arguments& parsed);

}  // namespace tool
