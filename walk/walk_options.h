// What a caller may ask of a walk.
#pragma once

#include <string>
#include <vector>

namespace walk {

struct WalkOptions {
  bool hidden = false;     // takes entries whose name begins with a full stop, but never `.git`
  bool no_ignore = false;  // reads no ignore file
  // Patterns as in an ignore file of the named folder, stronger than all of those. Taken as they
  // are: neither `#` nor spaces at the end mean anything else in an argument.
  std::vector<std::string> exclude{};
  std::vector<std::string> types{};  // files of these languages only, by canonical names; none: all

  bool operator==(const WalkOptions&) const = default;
};

}  // namespace walk
