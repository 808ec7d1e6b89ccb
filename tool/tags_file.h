// Writes a tags file of the symbols in an index, the same as `parse --format ctags` would print.
//
// It is written under another name beside the old file and then renamed, so that an editor reads
// either the old or the new one.
//
// Cost: reads the index's symbols once (index/all_symbols.h), and sorts in bounded memory
// (line_sorter.h).
//
// Tested by tests/ctags_test.py.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "tool/messages.h"

namespace tool {

// `file`: the tags file. `path`, `database`: the index, as of `index`. Paths in the tags are
// relative to the folder of `file` if that is the root or lies below it, else absolute. Returns how
// many files have tags that had to be left out, and reports each to `messages`. Throws
// repository::IndexError, std::system_error.
std::size_t write_tags_file(const std::string& file, const std::string& path,
                            const std::optional<std::string>& database, Messages& messages);

}  // namespace tool
