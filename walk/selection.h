// Which paths below a folder a walk visits: all of them, or some paths with all that lies below.
//
// Cost: memory of the paths; at() is a binary search.
//
// Tested by tests/walk_test.cpp.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace walk {

class Selection {
 public:
  Selection() : _ways{""} {}  // everything

  // `paths`: relative to the walk's folder, in any order, repeats allowed; "" is that folder.
  explicit Selection(std::vector<std::string> paths);

  bool is_all() const { return !_ways.empty() && _ways.front().empty(); }

  // The selected paths, each with "/" at the end (also a file's), or "" alone for everything.
  // Sorted by bytes; none lies below another. Valid as long as the selection.
  std::span<const std::string> ways() const { return _ways; }

  // Those ways that begin with `way`, a folder with "/" at the end or "". `way` itself comes first
  // if all of the folder is selected.
  std::span<const std::string> at(std::string_view way) const;

 private:
  std::vector<std::string> _ways;
};

}  // namespace walk
