// The texts that the build writes from the tool's commands: manual pages and completions for
// shells.
//
// Tested by tests/manual_test.py, which asks the shells, and by lintian in
// tests/package/test_deb.py.
#pragma once

#include <string>

#include "tool/manual/commands.h"

namespace tool::manual {

// A manual page in the macros of man(7). `command`: line.whole, or one of line.commands.
std::string man_page(const CommandLine& line, const Command& command);

// The page's name: "treesitter-engine", or "treesitter-engine-parse".
std::string page_name(const CommandLine& line, const Command& command);

// Scripts for the shells. They complete commands, the options of each, and values that are words,
// files or folders.
std::string bash_completion(const CommandLine& line);
std::string zsh_completion(const CommandLine& line);
std::string fish_completion(const CommandLine& line);

}  // namespace tool::manual
