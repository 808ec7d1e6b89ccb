// The files below a folder, one at a time: sorted, without recursion, holding one open list of
// names per level.
//
// Tested by tests/tool_test.py.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tool {

// A file found, or a folder that could not be listed.
struct FoundPath {
  std::string path;                  // the first folder as given, "/", and the way from there
  std::optional<std::string> error;  // why the folder's files are missing
};

// Gives paths in the order of their bytes, as `LC_ALL=C sort` would put them. Left out are entries
// whose name begins with a full stop, symbolic links (so nothing is met twice and there are no
// loops), and files whose name tells no language.
class FolderWalk {
 public:
  // A symbolic link to a folder is followed here, since somebody named it.
  explicit FolderWalk(const std::string& folder);

  // None at the end.
  std::optional<FoundPath> next();

 private:
  struct Level {
    std::string prefix;                // what stands before each name; ends in "/"
    std::vector<std::string> entries;  // names, folders with "/" at the end; the next one is last
  };

  void enter(const std::string& folder);

  std::vector<Level> _levels;
  std::optional<FoundPath> _fault;  // of the folder entered last
};

}  // namespace tool
