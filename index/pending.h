// What the next run over a repository would do to its index, found as that run finds it and without
// doing it.
//
// Cost: that of a run without changes, and one reading of each file that looks changed.
//
// Tested by tests/questions_test.py.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <functional>
#include <string>

#include "index/answers.h"

namespace repository {

void for_each_pending(const std::string& root, SQLite::Database connection,
                      const std::function<void(const PendingChange&)>& take);

}  // namespace repository
