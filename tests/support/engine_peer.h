// The tests' door to the engine's private operations: each is reached under its own name.
#pragma once

#include <string_view>
#include <utility>

#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {

struct EnginePeer {
  static auto _clean_python_docstring(std::string_view text) {
    return TreeSitterEngine::_clean_python_docstring(text);
  }
  static auto _clean_block_comment(std::string_view text) {
    return TreeSitterEngine::_clean_block_comment(text);
  }
};

}  // namespace engines::treesitter
