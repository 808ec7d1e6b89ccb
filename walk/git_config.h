// What git's configuration says about ignoring.
//
// Tested by tests/walk_test.cpp.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "walk/found.h"

namespace walk {

struct GitSettings {
  bool folds_case = false;                   // core.ignoreCase
  std::optional<std::string> excludes_file;  // core.excludesFile, as written; empty for none
  std::size_t hash_size = 20;                // of objects' names, by extensions.objectFormat
};

// A file and the folder that its path is relative to, which is open (or AT_FDCWD).
struct GitFile {
  int folder;
  std::string path;
  std::string shown;  // in front of the path, for messages
};

// The system's, the user's and the repository's, of which the last one that speaks decides; with
// what they include by include.path, but for includeIf, which asks what no walk knows. What is no
// configuration is passed over. Adds those that cannot be read to `faults`.
GitSettings read_git_settings(const GitFile& of_repository, std::vector<Found>& faults);

// The user's own file below the folder of settings, "git/ignore" say; empty when there is no home.
std::string in_user_settings(std::string_view path);

// Whether an errno says that there is no such file. git passes over folders in their place.
bool is_absence(int error);

// "~/" at the beginning as the user's home.
std::string with_home(const std::string& path);

}  // namespace walk
