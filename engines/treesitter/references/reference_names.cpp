// The name that a call, a member access, a type use or a YAML alias carries.
//
// A resolver asks for a field, then reads the node's children in source order, one level deeper for
// a member callee. The first candidate decides, even when its text is none, and what no resolver
// knows has no name and no record: Go's `pkg.Func()` is none, JavaScript's `obj.run()` is `obj`.
// Each costs the children that it reads. Throws Utf8Error for a name that is no UTF-8.
//
// Tested by tests/references_test.cpp.
#include <cstddef>
#include <optional>
#include <string_view>

#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

// Callees that are looked into.
constexpr NodeType MEMBER_TYPES[] = {NodeType::member_expression,
                                     NodeType::member_access_expression, NodeType::attribute};

// What names a member callee: its first child of any of these types, so that in `obj.run` the
// object comes before the property.
constexpr NodeType MEMBER_NAME_TYPES[] = {NodeType::property_identifier, NodeType::identifier,
                                          NodeType::name};

constexpr NodeType TYPE_NAME_TYPES[] = {NodeType::identifier, NodeType::type_identifier};

constexpr Field ATTRIBUTE_FIELDS[] = {Field::attribute, Field::property};

template <std::size_t N>
std::optional<Node> first_child_of(const Node& node, const NodeType (&types)[N]) {
  for (const Node child : node.children()) {
    if (is_one_of(child.type(), types)) return child;
  }
  return std::nullopt;
}

// The node under the call's field `function`, as far as that alone decides the name.
std::optional<Node> name_of_callee(const Node& call) {
  const std::optional<Node> callee = call.child_by_field(Field::function);
  if (!callee) return std::nullopt;
  if (callee->type() == NodeType::identifier) return callee;
  if (callee->type() == NodeType::attribute) return callee->child_by_field(Field::attribute);
  return std::nullopt;
}

// Only the field `attribute` is asked for here, which JavaScript's members do not have.
std::optional<Node> name_of_member(const Node& member) {
  const std::optional<Node> attribute = member.child_by_field(Field::attribute);
  return attribute ? attribute : first_child_of(member, MEMBER_NAME_TYPES);
}

}  // namespace

std::optional<std::string_view> TreeSitterEngine::_get_call_name(const Node& node,
                                                                 std::string_view /*language*/) {
  if (const std::optional<Node> name = name_of_callee(node)) return _node_text(*name);
  for (const Node child : node.children()) {
    if (child.type() == NodeType::identifier) return _node_text(child);
    if (!is_one_of(child.type(), MEMBER_TYPES)) continue;
    if (const std::optional<Node> name = name_of_member(child)) return _node_text(*name);
  }
  return std::nullopt;
}

std::optional<std::string_view> TreeSitterEngine::_get_attribute_name(const Node& node) {
  for (const Field field : ATTRIBUTE_FIELDS) {
    if (const std::optional<Node> name = node.child_by_field(field)) return _node_text(*name);
  }
  const std::optional<Node> name = node.first_child(NodeType::property_identifier);
  return name ? _node_text(*name) : std::nullopt;
}

// Of a generic type this is its own name, of a list of bases the first that is a plain name; the
// others are recorded when the walk meets them as type identifiers.
std::optional<std::string_view> TreeSitterEngine::_get_type_name(const Node& node) {
  if (node.type() == NodeType::type_identifier) return _node_text(node);
  const std::optional<Node> name = first_child_of(node, TYPE_NAME_TYPES);
  return name ? _node_text(*name) : std::nullopt;
}

std::optional<std::string_view> TreeSitterEngine::_get_yaml_alias_name(const Node& node) {
  const std::optional<Node> name = node.first_child(NodeType::alias_name);
  return name ? _node_text(*name) : std::nullopt;
}

}  // namespace engines::treesitter
