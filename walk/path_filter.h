// What a walk of a folder would take of paths that lie in none: those of a commit, say. By the
// rules of its options alone; ignore files are for folders.
//
// Cost: as much as the walk's rules; a folder is judged once where its paths follow each other.
//
// Tested by tests/tool_test.py.
#pragma once

#include <string>
#include <string_view>

#include "walk/ignore_rules.h"
#include "walk/walk_options.h"

namespace walk {

class PathFilter {
 public:
  explicit PathFilter(WalkOptions options);

  // `path`: from the folder that the patterns of the options are of, to a file.
  bool takes(std::string_view path);

 private:
  bool takes_folder(std::string_view way);
  bool takes_name(std::string_view path, std::size_t begin, bool is_folder) const;

  const WalkOptions _options;
  const IgnoreRules _globs;
  std::string _way;  // the folder that was judged last, without "/" at the end
  bool _takes_way = true;
};

}  // namespace walk
