// The commands that ask an index, and their options. CLI11's door, beside arguments.cpp.
//
// Tested by tests/questions_test.py.
#pragma once

#include "tool/arguments.h"

namespace CLI {
class App;
}

namespace tool {

void add_questions(CLI::App& app, Arguments& parsed);

// Whether one of the commands was given. Throws UsageError for what CLI11 cannot judge.
bool settle_question(const CLI::App& app, Arguments& parsed);

}  // namespace tool
