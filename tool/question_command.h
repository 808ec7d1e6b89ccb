// The commands that ask an index: find, callers, callees, references, importers, outline, search,
// changed, stats.
//
// Tested by tests/questions_test.py.
#pragma once

#include "tool/arguments.h"

namespace tool {

inline constexpr int EXIT_NOTHING_FOUND = 1;

// Prints the answer. Gives the exit status. Throws repository::IndexError.
int run_question(const QuestionArguments& asked);

}  // namespace tool
