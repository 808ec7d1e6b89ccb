// `parse --list`: what a run would parse, and how large it is, for hosts that share a run out. One
// object on a line, as `parse --help` describes.
//
// Costs a look at each file, and opens none whose path the system takes.
//
// Tested by tests/tool_test.py.
#pragma once

#include "tool/arguments.h"

namespace tool {

// Gives the exit status. Throws PathListError.
int run_list(const Arguments& arguments);

}  // namespace tool
