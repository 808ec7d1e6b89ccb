// Finds a git repository and reads the rules that apply to all of it.
//
// Tested by tests/walk_test.cpp.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "walk/found.h"
#include "walk/ignore_rules.h"
#include "walk/tracked_files.h"

namespace walk {

// An entry of this name, folder or file, makes the folder that holds it the top of a repository.
inline constexpr const char* GIT_FOLDER = ".git";

// The top of the repository around a folder that is no top itself: an absolute path with "/" at the
// end, or none. `folder`: absolute and without symbolic links. The search ends at the border of the
// file system, as git's does.
std::optional<std::string> repository_above(const std::string& folder);

// The folder in which the repository keeps what all its working trees share, with "/" at the end:
// absolute, or relative to the descriptor `folder`. `top`: the top of the repository, relative to
// `folder`, with "/" at the end; empty for `folder` itself.
std::string common_folder(int folder, const std::string& top);

struct RepositoryRules {
  bool folds_case = false;
  TrackedFiles tracked;       // of this working tree
  IgnoreRules of_user;        // core.excludesFile; the weakest
  IgnoreRules of_repository;  // info/exclude
};

// Reads the rules of a repository. `folder`, `top`: as of common_folder. `shown`: what messages
// print before paths relative to `folder`. Adds what cannot be read to `faults`. Reads some six
// files.
RepositoryRules read_repository(int folder, const std::string& top, const std::string& shown,
                                std::vector<Found>& faults);

// Reads an ignore file; no rules where there is none. A symbolic link in its place is a fault,
// since git does not follow it either.
IgnoreRules read_ignore_file(int folder, const std::string& path, const std::string& shown,
                             bool folds_case, std::vector<Found>& faults);

}  // namespace walk
