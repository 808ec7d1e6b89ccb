// Parses a file that may have killed an earlier process, in a process of its own.
//
// Tested by tests/index_command_test.py.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "engines/treesitter/treesitter.h"

namespace repository {

// Parses the item in a child. Gives an error text when the child was killed or failed, else none.
// Forks, so that the caller must be the only thread of its process. `to_close`: descriptors that
// the child closes first. Throws IndexError when the system gives no process.
std::optional<std::string> trial_death(const engines::treesitter::TreeSitterEngine& engine,
                                       const engines::treesitter::ParseItem& item,
                                       const std::vector<int>& to_close);

}  // namespace repository
