// The rules by which files of a repository belong in its index. The index keeps them (in `meta`),
// so that later runs go by them until one is given others.
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

// The error text of a file that is refused for its size; both in bytes.
std::string too_large_text(std::uint64_t size, std::uint64_t max_size);

// The rules that an index keeps; the default ones where it has none.
FileRules read_file_rules(const SQLite::Database& database);

// Keeps the rules, within the caller's transaction. When another largest size decides otherwise
// about a file, the next run looks at that file again; all other rules take effect in its walk.
void write_file_rules(SQLite::Database& database, const FileRules& rules);

}  // namespace repository
