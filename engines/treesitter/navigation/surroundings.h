// What a walk knows about a declaration from outside of it, when it asks whether the declaration is
// seen outside its file.
#pragma once

#include <optional>
#include <string_view>

namespace engines::treesitter {

class FileVisibility;  // visibility/file_visibility.h

struct Surroundings {
  const FileVisibility& file;
  std::string_view qualified_name;       // what the declaration adds to the FQN around it
  bool is_at_top = false;                // nothing is open around it
  bool is_local = false;                 // it stands within a function
  std::optional<bool> is_owner_visible;  // of the declaration around it, if there is one
};

}  // namespace engines::treesitter
