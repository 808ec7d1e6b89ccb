// Which paths below a folder a walk looks at: all of them, or some together with whatever lies
// below them.
//
// Cost: the paths; a question costs a search among them.
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
  Selection() : _ways{""} {}  // all

  // Paths from the walk's folder, in any order and as often as one likes; "" is that folder.
  explicit Selection(std::vector<std::string> paths);

  bool is_all() const { return !_ways.empty() && _ways.front().empty(); }

  // The ways to what is selected: each path with "/" at the end, but for all, which is "". In the
  // order of their bytes, and none below another one.
  std::span<const std::string> ways() const { return _ways; }

  // Those at a folder and below it, which is `way` itself when all in it is looked at.
  std::span<const std::string> at(std::string_view way) const;

 private:
  std::vector<std::string> _ways;
};

}  // namespace walk
