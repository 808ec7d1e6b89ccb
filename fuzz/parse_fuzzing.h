// What the fuzzers of both entry points check of an answer.
#pragma once

#include <functional>

#include "fuzz/properties.h"

namespace engines::treesitter::fuzz {

// Requires that the call's answer keeps what results promise, and that the call gives the same
// answer on another thread. Gives the answer. `content` and `prefix`: as for check.
Answer checked_answer(const std::function<ParseResult()>& call, std::string_view content,
                      std::string_view prefix, Rules rules = Rules::standard);

}  // namespace engines::treesitter::fuzz
