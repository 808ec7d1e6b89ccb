// The command `index`: makes the index of a repository, or brings it up to date.
//
// Tested by tests/index_command_test.py.
#pragma once

#include "tool/arguments.h"

namespace tool {

// Gives the exit status. Throws repository::IndexError, std::bad_alloc.
int run_index(const Arguments& arguments);

}  // namespace tool
