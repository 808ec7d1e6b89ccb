// Where a git repository begins, and the rules that hold in all of it.
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

// Whatever is called so, a folder or a file, makes the folder that it lies in a repository.
inline constexpr const char* GIT_FOLDER = ".git";

// The repository around a folder that is none itself, when there is one: "/", and the way to its
// top, with "/" at the end. `folder`: absolute and without links. Like git's, the search ends
// where the file system does.
std::optional<std::string> repository_above(const std::string& folder);

// Where the repository keeps what all its working trees share, as a path with "/" at the end.
// `top`: relative to the open folder, with "/" at the end, or empty.
std::string common_folder(int folder, const std::string& top);

struct RepositoryRules {
  bool folds_case = false;
  TrackedFiles tracked;       // of this working tree
  IgnoreRules of_user;        // the weakest: core.excludesFile
  IgnoreRules of_repository;  // info/exclude
};

// Of the repository that `top` is the top of, which is relative to the open folder and has "/" at
// the end, or is empty. `shown`: what stands in front of it in messages. Adds what cannot be read
// to `faults`. Reads some six files.
RepositoryRules read_repository(int folder, const std::string& top, const std::string& shown,
                                std::vector<Found>& faults);

// The rules of an ignore file, none where there is none. A link in its place is not followed, as by
// git, and a fault.
IgnoreRules read_ignore_file(int folder, const std::string& path, const std::string& shown,
                             bool folds_case, std::vector<Found>& faults);

}  // namespace walk
