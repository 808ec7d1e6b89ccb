// The name of a call, a member access, a type or a YAML alias under the standard rules.
//
// First the node's fields are asked, then its children are read in source order; in a callee that
// is a member access, its children are read too. The first candidate decides, even if it has no
// text. A node without a candidate gives no reference: Go's `pkg.Func()` has none. The name of
// JavaScript's `obj.run()` is `obj`.
//
// Costs the children that it reads. Throws Utf8Error for a name that is no UTF-8.
//
// Tested by tests/references_test.cpp.
#include <cstddef>
#include <optional>
#include <string_view>

#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

// Callees whose children are read.
constexpr NodeType MEMBER_TYPES[] = {NodeType::member_expression,
                                     NodeType::member_access_expression, NodeType::attribute};

// The name of such a callee is its first child of any of these types. In `obj.run` the object is
// before the property.
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

// The node with the name, if the field `function` of the call decides.
std::optional<Node> name_of_callee(const Node& call) {
  const std::optional<Node> callee = call.child_by_field(Field::function);
  if (!callee) return std::nullopt;
  if (callee->type() == NodeType::identifier) return callee;
  if (callee->type() == NodeType::attribute) return callee->child_by_field(Field::attribute);
  return std::nullopt;
}

// JavaScript's member accesses have no field `attribute`.
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

// For a generic type its own name, for a list of bases the first plain name. The others are
// recorded when the walk reaches them, where they are type identifiers.
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
