// What the output formats ask about the outcome of an item.
//
// Tested by tests/tool_formats_test.cpp.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "engines/treesitter/treesitter.h"

namespace tool {

// The error texts of the outcome, in order. An item that has any makes the whole run end with
// status 1. One of unknown language has none: lists made by other tools hold licences and pictures.
std::vector<std::string> error_texts(const engines::treesitter::ParsedItem& parsed);

// An outcome without a result as one that has nothing but its error texts, for formats that show
// both alike.
engines::treesitter::ParseResult without_entries(const engines::treesitter::ParsedItem& parsed);

// How long the output is, roughly, in any format: at most six times that, since it does not look
// for what has to be escaped. Takes some nanoseconds for each entry.
std::size_t output_size_bound(const engines::treesitter::ParsedItem& parsed);

}  // namespace tool
