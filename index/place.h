// Finds the root of a repository and the place of its index.
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

// The root is the nearest folder, from `path` upward, that is the top of a git repository or holds
// an index; without such a folder it is `path` itself. `database`: its file when it does not lie in
// the root's INDEX_FOLDER. Throws IndexError when `path` is no folder.
Place find_place(const std::string& path, const std::optional<std::string>& database);

// Makes the folder of a default place, with a .gitignore by which git ignores it. Throws
// IndexError.
void make_folder(const Place& place);

// The folder with a "/" at its end, also when it is "/".
std::string with_slash(std::string folder);

}  // namespace repository
