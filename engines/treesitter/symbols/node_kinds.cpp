// Whether a node declares a symbol under the standard rules, and of which kind.
//
// The node's type decides (standard_kinds.h), except for Python's assignments.
//
// Tested by tests/symbols_test.cpp.
#include <array>

#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/symbols/standard_kinds.h"
#include "engines/treesitter/text/text.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

// The same table indexed by node type, since every node of a file is looked up.
using KindTable = std::array<std::string_view, languages::NODE_TYPE_COUNT>;

constexpr KindTable kinds_by_type() {
  KindTable kinds{};
  for (const StandardKindRow& row : STANDARD_KINDS) {
    kinds[static_cast<std::size_t>(row.type)] = row.kind;
  }
  return kinds;
}

constexpr KindTable KINDS = kinds_by_type();

bool is_constant_name(std::string_view name) {
  return name.find('_') != std::string_view::npos && is_upper(name);
}

// Whether the assignment is a constant of the module or of a class. An `if` or `try` around it
// makes no difference, since only functions and classes are scopes.
bool is_python_constant(const Node& assignment) {
  const std::optional<Node> scope = assignment.scope();
  const bool is_module_level = !scope || (scope->type() != NodeType::function_definition &&
                                          scope->type() != NodeType::class_definition);
  if (assignment.first_child(NodeType::type)) {
    return is_module_level || scope->type() == NodeType::class_definition;
  }
  if (!is_module_level) return false;
  const std::optional<Node> target = assignment.first_child(NodeType::identifier);
  return target && is_constant_name(_node_text(*target).value_or(""));
}

}  // namespace

std::optional<std::string_view> TreeSitterEngine::_node_type_to_symbol_kind(
    const Node& node, std::string_view language) {
  if (node.type() == NodeType::assignment && language == "python") {
    if (is_python_constant(node)) return "constant";
    return std::nullopt;
  }
  const std::string_view kind = KINDS[static_cast<std::size_t>(node.type())];
  if (kind.empty()) return std::nullopt;
  return kind;
}

}  // namespace engines::treesitter
