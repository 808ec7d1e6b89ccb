// What a walk of folders returns and counts.
//
// Tested by tests/walk_test.cpp.
#pragma once

#include <cstddef>
#include <string>

namespace walk {

// A file, when `error` is 0. Otherwise something that could not be read, and `error` is its errno:
// a folder, an entry that may be a folder, or a file of ignore rules.
struct Found {
  std::string path;  // the walk's folder as the caller gave it, "/", and the path below it
  int error = 0;
  // `path` is a file of ignore rules that are not applied. It may lie above the walk's folder.
  bool is_rules = false;
};

// How many entries a walk has left out, each counted under the first reason that holds. The content
// of a folder that is left out is not counted, since the walk does not see it.
struct LeftOut {
  std::size_t hidden = 0;      // files and folders whose name begins with a full stop
  std::size_t links = 0;       // symbolic links: following them could give files twice, or loop
  std::size_t unknown = 0;     // files whose name has no language
  std::size_t other_type = 0;  // files of a language that was not asked for
  std::size_t excluded = 0;    // files and folders, by WalkOptions::exclude
  std::size_t ignored = 0;     // files and folders, by an ignore file

  LeftOut& operator+=(const LeftOut& other) {
    hidden += other.hidden;
    links += other.links;
    unknown += other.unknown;
    other_type += other.other_type;
    excluded += other.excluded;
    ignored += other.ignored;
    return *this;
  }
};

}  // namespace walk
