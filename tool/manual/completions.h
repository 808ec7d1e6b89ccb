// What shells complete of the tool's command line: commands, the options of each, and their values
// where those are words, files or folders. Each is a script for the shell, complete in itself.
//
// Tested by tests/manual_test.py, which asks the shells.
#pragma once

#include <string>

#include "tool/manual/commands.h"

namespace tool::manual {

std::string bash_completion(const CommandLine& line);
std::string zsh_completion(const CommandLine& line);
std::string fish_completion(const CommandLine& line);

}  // namespace tool::manual
