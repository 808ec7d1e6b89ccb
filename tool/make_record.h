// One job done: from a path to its record, whatever happens on the way.
//
// Tested by tests/tool_test.py.
#pragma once

#include <optional>
#include <string>

#include "engines/treesitter/treesitter.h"
#include "tool/job_source.h"

namespace tool {

// `language`: the forced one. It holds for what the user named; files found in folders are parsed
// as what their names tell. What the engine fails with is in the outcome; what is thrown is
// std::bad_alloc, by standard input that has no room.
engines::treesitter::ParsedItem make_record(const engines::treesitter::TreeSitterEngine& engine,
                                            Job job, const std::optional<std::string>& language);

}  // namespace tool
