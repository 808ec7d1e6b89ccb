// The name of a node that declares a symbol.
//
// Six rules name what the data languages declare; everything else is named by the generic rule,
// which takes the first direct child of a naming type. It never looks deeper and never asks for a
// field: a field declared with a plain type before its declarator is named after its type, and a
// declaration whose name sits inside a declarator has none.
//
// Tested by tests/symbols_test.cpp.
#include <algorithm>
#include <array>

#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/text/text.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

using Name = std::optional<std::string>;

constexpr std::array NAME_TYPES = {
    NodeType::identifier,       NodeType::type_identifier, NodeType::property_identifier,
    NodeType::field_identifier, NodeType::constant,  // a Ruby class or module
    NodeType::inline_,                               // the content of a Markdown heading
};

constexpr std::array YAML_SCALAR_TYPES = {
    NodeType::plain_scalar,
    NodeType::single_quote_scalar,
    NodeType::double_quote_scalar,
};

// The headers of block scalars whose content is folded into a name; one with an indentation digit
// is not among them.
constexpr std::array<std::string_view, 6> BLOCK_SCALAR_INDICATORS = {"|",  ">",  "|+",
                                                                     "|-", ">+", ">-"};

Name copy(std::optional<std::string_view> text) {
  if (!text) return std::nullopt;
  return std::string(*text);
}

Name text_of_first(const Node& node, NodeType type) {
  const auto child = node.first_child(type);
  return child ? copy(_node_text(*child)) : std::nullopt;
}

// The outer key is the text between its quotes as written: escapes stay.
Name json_pair_name(const Node& pair) {
  const auto key = pair.first_child(NodeType::string);
  const auto text = key ? _node_text(*key) : std::nullopt;
  if (!text) return std::nullopt;
  const bool is_quoted = text->size() >= 2 && text->front() == '"' && text->back() == '"';
  return std::string(is_quoted ? text->substr(1, text->size() - 2) : *text);
}

Name xml_element_name(const Node& element) {
  for (const Node child : element.children()) {
    if (child.type() != NodeType::STag && child.type() != NodeType::EmptyElemTag) continue;
    if (const auto name = child.first_child(NodeType::Name)) return copy(_node_text(*name));
  }
  return std::nullopt;
}

std::string folded(std::string_view text) {
  std::string line;
  for (const std::string_view word : split_whitespace(text)) {
    if (!line.empty()) line.push_back(' ');
    line.append(word);
  }
  return line;
}

Name block_scalar_name(const Node& scalar) {
  const auto text = _node_text(scalar);
  if (!text) return std::nullopt;
  const std::size_t line_end = std::min(text->find('\n'), text->size());
  if (!is_one_of(trim(text->substr(0, line_end)), BLOCK_SCALAR_INDICATORS)) {
    return std::string(*text);
  }
  return folded(text->substr(line_end));
}

// A child of a YAML pair either is the key, or says nothing, or is the colon that ends the search.
struct YamlKey {
  bool is_found;
  Name name;
};

YamlKey yaml_key(const Node& child, std::string_view (*unquote)(std::string_view)) {
  const auto scalar_name = [&](const Node& scalar) -> Name {
    const auto text = _node_text(scalar);
    if (!text) return std::nullopt;
    return std::string(unquote(*text));
  };
  if (is_one_of(child.type(), YAML_SCALAR_TYPES)) return {true, scalar_name(child)};
  if (child.type() == NodeType::flow_node) {
    for (const Node grandchild : child.children()) {
      if (is_one_of(grandchild.type(), YAML_SCALAR_TYPES)) return {true, scalar_name(grandchild)};
    }
  }
  if (child.type() == NodeType::block_node) {
    if (const auto scalar = child.first_child(NodeType::block_scalar)) {
      return {true, block_scalar_name(*scalar)};
    }
  }
  return {child.type() == NodeType::colon, std::nullopt};
}

Name yaml_pair_name(const Node& pair, std::string_view (*unquote)(std::string_view)) {
  for (const Node child : pair.children()) {
    if (YamlKey key = yaml_key(child, unquote); key.is_found) return std::move(key.name);
  }
  return std::nullopt;
}

// Tables and pairs alike: the key comes first, and nothing behind an equals sign is one.
Name toml_name(const Node& node, bool is_pair, std::string_view (*unquote)(std::string_view)) {
  for (const Node child : node.children()) {
    if (child.type() == NodeType::bare_key || child.type() == NodeType::dotted_key) {
      return copy(_node_text(child));
    }
    if (child.type() == NodeType::quoted_key) {
      const auto text = _node_text(child);
      if (!text) return std::nullopt;
      return std::string(unquote(*text));
    }
    if (is_pair && child.type() == NodeType::equals) return std::nullopt;
  }
  return std::nullopt;
}

Name generic_name(const Node& node) {
  for (const Node child : node.children()) {
    if (is_one_of(child.type(), NAME_TYPES)) {
      const auto text = _node_text(child);
      if (!text) return std::nullopt;
      return std::string(trim(*text));
    }
    if (child.type() == NodeType::name) return copy(_node_text(child));
  }
  return std::nullopt;
}

}  // namespace

std::string_view TreeSitterEngine::_unquote_yaml_string(std::string_view text) {
  return _strip_matching_quotes(text);
}

std::string_view TreeSitterEngine::_unquote_toml_string(std::string_view text) {
  return _strip_matching_quotes(text);
}

std::optional<std::string> TreeSitterEngine::_get_symbol_name(const Node& node,
                                                              std::string_view language) {
  const NodeType type = node.type();
  if (language == "xml" && type == NodeType::element) return xml_element_name(node);
  if (language == "json" && type == NodeType::pair) return json_pair_name(node);
  if (language == "yaml" && type == NodeType::anchor) {
    return text_of_first(node, NodeType::anchor_name);
  }
  if (language == "yaml" && (type == NodeType::block_mapping_pair || type == NodeType::flow_pair)) {
    return yaml_pair_name(node, _unquote_yaml_string);
  }
  if (language == "toml" && (type == NodeType::table || type == NodeType::table_array_element)) {
    return toml_name(node, false, _unquote_toml_string);
  }
  if (language == "toml" && type == NodeType::pair) {
    return toml_name(node, true, _unquote_toml_string);
  }
  return generic_name(node);
}

}  // namespace engines::treesitter
