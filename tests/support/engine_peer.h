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
  static auto _extract_python_docstring(const Node& node, const Source& content) {
    return TreeSitterEngine::_extract_python_docstring(node, content);
  }
  static bool _is_php_public(const Node& node) { return TreeSitterEngine::_is_php_public(node); }
  static auto _get_attribute_name(const Node& node) {
    return TreeSitterEngine::_get_attribute_name(node);
  }
};

}  // namespace engines::treesitter
