// Whether a walk would give a file, by its path alone: for paths that lie in no folder, such as
// those of a commit. Only the options decide; no ignore file is read.
//
// Cost: matching against the patterns of the options. Consecutive paths of one folder judge that
// folder once.
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

  // `path`: a file's, relative to the folder to which the options' patterns belong.
  bool takes(std::string_view path);

 private:
  bool takes_folder(std::string_view folder);
  bool takes_entry(std::string_view path, std::size_t name_begin, bool is_folder) const;

  const WalkOptions _options;
  const IgnoreRules _globs;
  std::string _folder;  // the one judged last, without "/" at the end
  bool _takes_folder = true;
};

}  // namespace walk
