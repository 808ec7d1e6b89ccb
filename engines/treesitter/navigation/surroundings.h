// The facts around a declaration that decide, under the navigation rules, whether it is visible
// outside its file. The walk in symbols/ fills them in, and visibility/ reads them.
//
// Tested by the navigation cases in tests/golden.
#pragma once

#include <optional>
#include <string_view>

namespace engines::treesitter {

class FileVisibility;  // visibility/navigation_visibility.cpp

struct Surroundings {
  const FileVisibility& file;
  std::string_view qualified_name;       // the part of the FQN that the declaration adds
  bool is_at_top = false;                // no declaration or scope is around it
  bool is_local = false;                 // it is within a function
  std::optional<bool> is_owner_visible;  // of the declaration around it, if there is one
};

}  // namespace engines::treesitter
