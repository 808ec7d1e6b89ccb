// Gives tests the engine's private operations, each under its own name.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {

struct EnginePeer {
  static ThreadStorage& _get_thread_local_storage(const TreeSitterEngine& engine) {
    return engine._get_thread_local_storage();
  }
  static Parser* _get_parser(const TreeSitterEngine& engine, std::string_view language) {
    return engine._get_parser(language);
  }
  static std::string _path_to_fqn(const std::filesystem::path& file_path) {
    return TreeSitterEngine::_path_to_fqn(file_path);
  }
  static auto _node_type_to_symbol_kind(const Node& node, std::string_view language) {
    return TreeSitterEngine::_node_type_to_symbol_kind(node, language);
  }
  static auto _get_signature(const Node& node, const Source& content, std::string_view language) {
    return TreeSitterEngine::_get_signature(node, content, language);
  }
  static auto _extract_body_digest(const Node& node, const Source& content) {
    return TreeSitterEngine::_extract_body_digest(node, content);
  }
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
