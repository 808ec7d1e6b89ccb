// Finds what the next run over a repository would change in its index, in the way of that run.
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

// Calls `take` for each change, in the order of paths. The connection must ask the same poll
// (open_to_read). Throws IndexError, also when the poll gives true; SQLite::Exception.
void for_each_pending(const std::string& root, SQLite::Database connection, const Poll& poll,
                      const std::function<void(const PendingChange&)>& take);

}  // namespace repository
