// The name of a declaration under the standard rules.
//
// The languages of data have six rules of their own. All other declarations are named by the
// generic rule: their first direct child of a naming type. It looks no deeper and asks for no
// field. So a field whose type is a plain name in front of its declarator is named after its type,
// and a declaration whose name is inside a declarator has no name.
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

// The headers of block scalars whose content is folded into one line for the name. Headers with an
// indentation digit are not among them.
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

// The text between the quotes of the key. Escapes stay as written.
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

// The result for one child of a YAML pair. The search ends at the key, or at the colon, without a
// name.
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

// For tables and pairs. A key behind the equals sign of a pair is not its name.
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
