// Opens the database of an index, for writing and for reading.
//
// A file that is not an index is never changed: its first bytes are read before any statement runs.
// The database has a write-ahead log, so that readers never wait, and a commit outlasts the
// process.
//
// Tested by tests/index_command_test.py.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <optional>
#include <string>

#include "engines/treesitter/treesitter.h"
#include "index/place.h"
#include "index/poll.h"

namespace repository {

struct OpenedDatabase {
  SQLite::Database connection;
  bool is_made_anew;  // it held an index by another version or by other rules, and is now empty
};

enum class Tables : std::uint8_t { as_they_are, empty };

// Opens or makes the database of that place. It keeps its rules for files (file_rules.h) also when
// its tables are emptied. Throws IndexError, SQLite::Exception.
OpenedDatabase open_to_write(const Place& place, engines::treesitter::Rules rules,
                             Tables tables = Tables::as_they_are);

// To be called at the end of a run. A write-ahead log that is small beside the database then stays
// when the connection is closed, so that a run over few changes does not wait for the disk. Whoever
// opens the index next reads the log, which takes a millisecond for each MiB.
void keep_small_log(SQLite::Database& database);

// A further connection, which sees what is committed. A statement on it ends with an error once the
// poll gives true, also while it waits for a lock; the poll must outlast the connection. Throws
// SQLite::Exception.
SQLite::Database open_to_read(const std::string& database, const Poll* poll = nullptr);

// A connection for questions to the index of that place. Throws IndexError when there is none, or
// one with other tables; SQLite::Exception.
SQLite::Database open_to_ask(const Place& place, const Poll& poll);

// Throws IndexError unless this value of `made_by` is that of an index with the tables of this
// version.
void require_schema(const std::optional<std::string>& made_by, const std::string& database);

// A text for people about an error of SQLite's. `what_for`: "written" or "read", as what failed.
std::string explanation(const SQLite::Exception& error, const std::string& database,
                        const std::string& what_for = "written");

}  // namespace repository
