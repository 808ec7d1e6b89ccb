// The questions about a node that only the library can answer.
//
// Tested by tests/syntax_tree_test.cpp.
#include "engines/treesitter/parsing/syntax_tree.h"

#include <tree_sitter/api.h>

#include <algorithm>

#include "engines/treesitter/parsing/node.h"

namespace engines::treesitter {

// None of the questions needs the row and the column of the node. A symbol in the place of the
// alias is right for every node: without an alias it is the subtree's own.
TSNode SyntaxTree::library_node(std::uint32_t index) const {
  const NodeRecord& record = _records[index];
  return {{record.start_byte, 0, 0, record.symbol}, _subtrees[index], _tree};
}

// Finds the record of a library's node. Start bytes never decrease in document order, so a
// bisection does.
std::uint32_t SyntaxTree::find(const TSNode& node, std::uint32_t first, std::uint32_t end) const {
  const std::uint32_t start = ts_node_start_byte(node);
  const auto begin = std::lower_bound(
      _records.begin() + first, _records.begin() + end, start,
      [](const NodeRecord& record, std::uint32_t byte) { return record.start_byte < byte; });
  for (auto index = static_cast<std::uint32_t>(begin - _records.begin()); index < end; ++index) {
    if (_subtrees[index] == node.id) return index;
    if (_records[index].start_byte > start) break;
  }
  return NodeRecord::NONE;
}

std::uint32_t SyntaxTree::child_by_field(std::uint32_t index, std::uint16_t field) const {
  if (field == 0 || _records[index].subtree_end == index + 1) return NodeRecord::NONE;
  const TSNode child = ts_node_child_by_field_id(library_node(index), field);
  if (ts_node_is_null(child)) return NodeRecord::NONE;
  return find(child, index + 1, _records[index].subtree_end);
}

std::uint32_t SyntaxTree::library_previous_sibling(std::uint32_t index) const {
  const TSNode sibling = ts_node_prev_sibling(library_node(index));
  if (ts_node_is_null(sibling)) return NodeRecord::NONE;
  return find(sibling, 0, size());
}

Recovery SyntaxTree::recovery(std::uint32_t index) const {
  const TSNode node = library_node(index);
  if (ts_node_is_error(node)) return Recovery::error;
  return ts_node_is_missing(node) ? Recovery::missing : Recovery::none;
}

std::optional<Node> Node::previous_sibling() const {
  // For a node without width the library may give another sibling than the record before it.
  if (start_byte() == end_byte()) return node_at(_tree->library_previous_sibling(_index));
  return node_at(record().previous);
}

std::optional<Node> Node::child_by_field(Field field) const {
  return node_at(_tree->child_by_field(_index, _tree->language().field_id(field)));
}

}  // namespace engines::treesitter
