// What both entry points' fuzzers do with an answer.
#pragma once

#include <functional>

#include "fuzz/properties.h"

namespace engines::treesitter::fuzz {

// Requires that the call gives the same answer again, and on another thread, and that the answer
// keeps what results promise. Gives the answer.
Answer checked_answer(const std::function<ParseResult()>& call, std::string_view content,
                      std::string_view prefix, Rules rules = Rules::standard);

}  // namespace engines::treesitter::fuzz
