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
#include "index/poll.h"

namespace repository {

// The connection asks the poll too. Throws IndexError, SQLite::Exception.
void for_each_pending(const std::string& root, SQLite::Database connection, const Poll& poll,
                      const std::function<void(const PendingChange&)>& take);

}  // namespace repository
