// Reads git's configuration files for the settings that decide what is ignored.
//
// Cost: each file is read as a whole, at most 256 of them in all.
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
  std::optional<std::string> excludes_file;  // core.excludesFile as written; none if not set, empty
                                             // if the user wants none
  std::size_t hash_size = 20;                // bytes of an object's name (extensions.objectFormat)
};

// Where a file lies.
struct GitFile {
  int folder;  // descriptor of the folder to which `path` is relative, or AT_FDCWD
  std::string path;
  std::string shown;  // what messages print before the path
};

// Reads the configuration of the system, of the user and of the repository, in this order; the last
// one that has a setting decides. Follows include.path but not includeIf. Skips what is no
// configuration. Adds files that cannot be read to `faults`.
GitSettings read_git_settings(const GitFile& of_repository, std::vector<Found>& faults);

// The path of a file in the user's folder of settings, such as "git/ignore". Empty when neither
// XDG_CONFIG_HOME nor HOME is set.
std::string in_user_settings(std::string_view path);

// Whether an errno of read_text means that there is no such file. A folder in its place counts as
// none, as for git.
bool is_absence(int error);

// Replaces "~" by the user's home in a path that begins with "~/".
std::string with_home(const std::string& path);

}  // namespace walk
