// One parse in a process of its own, of a file that may have killed the process before.
//
// Tested by tests/index_command_test.py.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "engines/treesitter/treesitter.h"

namespace repository {

// What ended the process that parses the file, as an error text; none when it lived. Forks, so the
// process must have one thread. `to_close`: descriptors that are not the child's business.
std::optional<std::string> trial_death(const engines::treesitter::TreeSitterEngine& engine,
                                       const engines::treesitter::ParseItem& item,
                                       const std::vector<int>& to_close);

}  // namespace repository
