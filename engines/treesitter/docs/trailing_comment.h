// Whether there is code in front of a comment on its line, so that it is not about the lines below.
//
// Tested by tests/docs_test.cpp and the navigation cases in tests/golden.
#pragma once

#include <cstddef>
#include <string_view>

#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/reading/source.h"

namespace engines::treesitter {

// Reads the blanks in front of the comment.
inline bool is_trailing(const Node& comment) {
  const std::string_view before = comment.tree().source().bytes().substr(0, comment.start_byte());
  const std::size_t end = before.find_last_not_of(" \t\r");
  return end != std::string_view::npos && before[end] != '\n';
}

}  // namespace engines::treesitter
