// What the output formats need to know about the outcome of an item.
//
// Tested by tests/tool_formats_test.cpp.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "engines/treesitter/treesitter.h"

namespace tool {

// The error texts of the outcome, in order. An item that has any makes the run end with status 1.
// An unknown language is no error: lists that other tools make hold licences and pictures, too.
std::vector<std::string> error_texts(const engines::treesitter::ParsedItem& parsed);

// For an outcome without a result, a result that has only the language and the error texts.
engines::treesitter::ParseResult without_entries(const engines::treesitter::ParsedItem& parsed);

// Roughly the bytes of the output in any format. The output may be up to six times as long, since
// escapes are not counted. Takes some nanoseconds for each entry.
std::size_t output_size_bound(const engines::treesitter::ParsedItem& parsed);

}  // namespace tool
