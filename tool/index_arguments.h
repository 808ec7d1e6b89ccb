// The options of the commands `index` and `watch`. CLI11's door, beside arguments.cpp.
//
// Tested by tests/index_command_test.py and tests/watch_test.py.
#pragma once

#include "tool/arguments.h"

namespace CLI {
class App;
}

namespace tool {

void add_index(CLI::App& app, Arguments& parsed);

// Whether one of the commands was given. Throws UsageError for what CLI11 cannot judge.
bool settle_index(const CLI::App& app, Arguments& parsed);

}  // namespace tool
