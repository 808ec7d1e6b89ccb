// Manual pages in the macros of man(7): treesitter-engine(1), and one for each command.
//
// Tested by tests/manual_test.py, and by lintian in tests/package/test_deb.py.
#pragma once

#include <string>

#include "tool/manual/commands.h"

namespace tool::manual {

// Of line.whole or one of line.commands.
std::string man_page(const CommandLine& line, const Command& command);

// The page's name: "treesitter-engine-parse".
std::string page_name(const CommandLine& line, const Command& command);

}  // namespace tool::manual
