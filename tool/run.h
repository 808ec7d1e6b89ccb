// The command `parse`: all files by one engine, on all threads.
//
// Tested by tests/tool_runs_test.py.
#pragma once

#include "tool/arguments.h"

namespace tool {

// Parses what the arguments name and writes the records. Gives the exit status. Throws
// PathListError for a list that cannot be read (what was begun before is written first),
// std::bad_alloc.
int run(const Arguments& arguments);

}  // namespace tool
