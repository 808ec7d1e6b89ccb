// Which files of a repository its index takes. An index keeps these rules (in `meta`), so that a
// later run, and who asks what it would do, goes by them until somebody says otherwise.
//
// Tested by tests/index_command_test.py.
#pragma once

#include <cstdint>
#include <string>

#include "walk/walk_options.h"

namespace SQLite {
class Database;
}

namespace repository {

struct FileRules {
  walk::WalkOptions walk{};
  std::uint64_t max_size = std::uint64_t{64} << 20;  // in bytes; larger files are refused unread

  bool operator==(const FileRules&) const = default;
};

// The error text of a file that is refused for its size.
std::string too_large_text(std::uint64_t size, std::uint64_t max_size);

// The rules that an index is by; those of a fresh one where it says nothing.
FileRules read_file_rules(const SQLite::Database& database);

// Keeps them, within the caller's transaction. What only the size decides is looked at again by the
// next run: the walk tells the rest.
void write_file_rules(SQLite::Database& database, const FileRules& rules);

}  // namespace repository
