// An index opened for writing: SQLite's door together with the other files that include SQLiteCpp.
//
// A database that is not an index is never touched: the first bytes of the file tell, before any
// statement runs. Readers never wait (a write-ahead log), and what was committed outlasts the
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
  bool is_made_anew;  // what lay there was made by another version or by other rules; it is empty
};

enum class Tables : std::uint8_t { as_they_are, empty };

// Opens the database of that place, or makes it. Throws IndexError, SQLite::Exception.
OpenedDatabase open_to_write(const Place& place, engines::treesitter::Rules rules,
                             Tables tables = Tables::as_they_are);

// To be called at the end of a run: what it has written stays in the write-ahead log while that is
// small beside the database, so that a run over few changes waits for no disk. Whoever opens the
// index next reads the log, which takes a millisecond for each MiB.
void keep_small_log(SQLite::Database& database);

// A further connection, which sees what was committed. A poll, which must outlast it, ends whatever
// statement runs or waits. Throws SQLite::Exception.
SQLite::Database open_to_read(const std::string& database, const Poll* poll = nullptr);

// The index of that place for questions. Throws IndexError when there is none, or one with other
// tables; SQLite::Exception.
SQLite::Database open_to_ask(const Place& place, const Poll& poll);

// Throws IndexError unless this is what `made_by` says of an index with the tables of this version.
void require_schema(const std::optional<std::string>& made_by, const std::string& database);

// A text for people about an error of SQLite's. `what_for`: what cannot be done.
std::string explanation(const SQLite::Exception& error, const std::string& database,
                        const std::string& what_for = "written");

}  // namespace repository
