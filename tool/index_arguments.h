// The options of the command `index`. CLI11's door, beside arguments.cpp.
//
// Tested by tests/index_command_test.py.
#pragma once

#include "tool/arguments.h"

namespace CLI {
class App;
}

namespace tool {

void add_index(CLI::App& app, Arguments& parsed);

// What of them may have been hidden from CLI11 (shield.h).
void settle_index(Arguments& parsed);

}  // namespace tool
