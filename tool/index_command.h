// The commands `index` and `watch`: make the index of a repository, or bring it up to date; once,
// or whenever files change.
//
// Tested by tests/index_command_test.py and tests/watch_test.py.
#pragma once

#include "tool/arguments.h"

namespace tool {

// Gives the exit status. Throws repository::IndexError, std::bad_alloc.
int run_index(const Arguments& arguments);
int run_watch(const Arguments& arguments);

}  // namespace tool
