// Where a repository's index lies, and what it is the index of.
//
// Tested by tests/index_command_test.py.
#pragma once

#include <optional>
#include <string>

namespace repository {

// The hidden folder at the root in which an index lies unless somebody names another place.
inline constexpr const char* INDEX_FOLDER = ".treesitter-engine";

struct Place {
  std::string root;      // absolute, without links
  std::string database;  // the file
  bool is_default;       // the database lies in the root's INDEX_FOLDER
};

// The root is the nearest folder from `path` up that is the top of a git repository or holds an
// index; without one `path` itself. Throws IndexError when `path` is no folder.
Place find_place(const std::string& path, const std::optional<std::string>& database);

// Makes the folder of a default place, which tells git to ignore it. Throws IndexError.
void make_folder(const Place& place);

// "cannot WHAT PATH: the system's words for errno".
[[noreturn]] void throw_system_error(const std::string& what, const std::string& path);

}  // namespace repository
