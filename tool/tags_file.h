// A tags file of what an index holds, as `parse --format ctags` would print it.
//
// Written beside and renamed, so that an editor reads the old file or the new one.
//
// Cost: the index's symbols once (index/all_symbols.h), sorted in bounded memory (line_sorter.h).
//
// Tested by tests/ctags_test.py.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "tool/messages.h"

namespace tool {

// Of the index of the repository around `path`, or of that database. Paths in the tags lead from
// the folder of `file` where that is the root or below it, else they are absolute. Gives how many
// files have tags that are left out, of which `messages` are told. Throws repository::IndexError,
// std::system_error.
std::size_t write_tags_file(const std::string& file, const std::string& path,
                            const std::optional<std::string>& database, Messages& messages);

}  // namespace tool
