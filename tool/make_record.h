// One job done: from a path to its record, whatever happens on the way.
//
// Tested by tests/tool_test.py.
#pragma once

#include <optional>
#include <string>

#include "engines/treesitter/treesitter.h"
#include "tool/job_source.h"
#include "tool/record.h"

namespace tool {

// `language`: the forced one. It holds for what the user named; files found in folders are parsed
// as what their names tell. Errors that the engine throws become the outcome Raised; nothing is
// thrown but std::bad_alloc where even that has no room.
Record make_record(const engines::treesitter::TreeSitterEngine& engine, Job job,
                   const std::optional<std::string>& language);

}  // namespace tool
