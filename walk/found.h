// What a walk of folders gives and counts.
#pragma once

#include <cstddef>
#include <string>

namespace walk {

// A file, or what could not be read where `error` is an errno: a folder, an entry of which nobody
// tells whether it is one, or a file of rules.
struct Found {
  std::string path;  // the first folder as given, "/", and the way from there
  int error = 0;
  // The rules that the file at `path` holds are not followed. It may stand above the first folder.
  bool is_rules = false;
};

// How many entries a walk has met that are none of the indexer's business, each under the first
// reason that holds. What lies in a folder that is left out is not met.
struct LeftOut {
  std::size_t hidden = 0;      // the name begins with a full stop; files and folders
  std::size_t links = 0;       // symbolic ones: so nothing is met twice and there are no loops
  std::size_t unknown = 0;     // files whose name tells no language
  std::size_t other_type = 0;  // files of a language that was not asked for
  std::size_t excluded = 0;    // by a glob of the options; files and folders
  std::size_t ignored = 0;     // by an ignore file; files and folders

  LeftOut& operator+=(const LeftOut& other);
};

}  // namespace walk
