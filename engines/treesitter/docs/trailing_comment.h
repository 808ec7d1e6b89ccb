// Whether a comment speaks of the code in front of it on its line, and not of what is below.
#pragma once

#include <cstddef>
#include <string_view>

#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/reading/source.h"

namespace engines::treesitter {

// Costs the blanks in front of it.
inline bool is_trailing(const Node& comment) {
  const std::string_view before = comment.tree().source().bytes().substr(0, comment.start_byte());
  const std::size_t end = before.find_last_not_of(" \t\r");
  return end != std::string_view::npos && before[end] != '\n';
}

}  // namespace engines::treesitter
