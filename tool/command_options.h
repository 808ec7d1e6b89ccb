// The options of each command that has any, and what its help says. CLI11's other door.
//
// Tested by tests/tool_test.py and tests/check_test.py.
#pragma once

#include <CLI/App.hpp>

#include "tool/arguments.h"

namespace tool {

// Add a command, whose values go into `parsed` while CLI11 reads them; both must outlive that.
void add_parse(CLI::App& app, Arguments& parsed);
void add_check(CLI::App& app, Arguments& parsed);

}  // namespace tool
