// Node: one node of a SyntaxTree.
//
// It has the operations of the library's node, and parent, sibling and first child cost one step
// each. The library finds a parent by descending from the root, which would make rules quadratic on
// wide and deep trees.
//
// A Node is a tree and an index: cheap to copy, and valid as long as its tree.
//
// Tested by tests/syntax_tree_test.cpp against the library's own accessors.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string_view>

#include "engines/languages/language.h"
#include "engines/languages/node_types.h"
#include "engines/treesitter/parsing/syntax_tree.h"

namespace engines::treesitter {

using languages::Field;
using languages::NodeType;

// Whether a table holds this value.
template <typename Value, typename Table>
constexpr bool is_one_of(const Value& value, const Table& table) {
  return std::find(std::begin(table), std::end(table), value) != std::end(table);
}

class NodeChildren;

class Node {
 public:
  Node(const SyntaxTree& tree, std::uint32_t index) : _tree(&tree), _index(index) {}

  // The node's type; NodeType::other if no rule names it.
  NodeType type() const { return record().type; }
  // The text of the type, with the renamings of engines/languages/language.cpp.
  std::string_view type_text() const { return _tree->language().type_name(record().symbol); }

  std::uint32_t start_byte() const { return record().start_byte; }
  std::uint32_t end_byte() const { return record().end_byte; }
  // 0-based; columns in bytes.
  std::uint32_t start_row() const { return lines().row_at(start_byte()); }
  std::uint32_t start_column() const { return lines().column_at(start_byte()); }
  std::uint32_t end_row() const { return lines().row_at(end_byte()); }

  std::uint16_t symbol() const { return record().symbol; }  // of the grammar
  bool is_named() const { return _tree->language().is_named(record().symbol); }
  // The grammar's id of the field under which the parent has this node, or 0. Always 0 in a tree
  // that was read with Fields::on_demand.
  std::uint8_t field() const { return record().field; }

  // All children, named and anonymous, in source order.
  NodeChildren children() const;
  bool has_children() const { return _index + 1 < record().subtree_end; }
  // The first child of this type, or none.
  std::optional<Node> first_child(NodeType type) const;

  std::optional<Node> parent() const { return node_at(record().parent); }
  std::optional<Node> previous_sibling() const;
  // The siblings before and behind it in the array. The library gives the same ones, except for the
  // previous sibling of a node without width, which previous_sibling() asks the library for.
  std::optional<Node> previous_record() const { return node_at(record().previous); }
  std::optional<Node> next_sibling() const {
    const std::optional<Node> owner = parent();
    if (!owner || record().subtree_end == owner->record().subtree_end) return std::nullopt;
    return Node(*_tree, record().subtree_end);
  }
  // The nearest ancestor whose type is in SCOPE_TYPES (syntax_tree.h), at which the rules' searches
  // among ancestors end. Costs one step at any depth.
  std::optional<Node> scope() const { return node_at(record().scope); }

  // The child under a field, as the library gives it. It may be a deeper descendant, where a
  // grammar passes a field through a hidden or aliased rule (`typeof a.b.c` in TypeScript).
  std::optional<Node> child_by_field(Field field) const;

  // The bytes that the node spans.
  std::string_view bytes() const {
    return _tree->source().bytes().substr(start_byte(), end_byte() - start_byte());
  }

  const SyntaxTree& tree() const { return *_tree; }
  std::uint32_t index() const { return _index; }
  bool operator==(const Node& other) const = default;

 private:
  const NodeRecord& record() const { return _tree->record(_index); }
  const LineIndex& lines() const { return _tree->source().lines(); }
  std::optional<Node> node_at(std::uint32_t index) const {
    if (index == NodeRecord::NONE) return std::nullopt;
    return Node(*_tree, index);
  }

  const SyntaxTree* _tree;
  std::uint32_t _index;
};

// The children of a node, for a range-based loop.
class NodeChildren {
 public:
  class Iterator {
   public:
    Iterator(const SyntaxTree& tree, std::uint32_t index) : _tree(&tree), _index(index) {}
    Node operator*() const { return Node(*_tree, _index); }
    Iterator& operator++() {
      _index = _tree->record(_index).subtree_end;
      return *this;
    }
    bool operator!=(const Iterator& other) const { return _index != other._index; }

   private:
    const SyntaxTree* _tree;
    std::uint32_t _index;
  };

  NodeChildren(const SyntaxTree& tree, std::uint32_t first, std::uint32_t end)
      : _tree(&tree), _first(first), _end(end) {}
  Iterator begin() const { return Iterator(*_tree, _first); }
  Iterator end() const { return Iterator(*_tree, _end); }

 private:
  const SyntaxTree* _tree;
  std::uint32_t _first;
  std::uint32_t _end;
};

inline NodeChildren Node::children() const {
  return NodeChildren(*_tree, _index + 1, record().subtree_end);
}

inline std::optional<Node> Node::first_child(NodeType type) const {
  for (const Node child : children()) {
    if (child.type() == type) return child;
  }
  return std::nullopt;
}

inline bool is_comment(const Node& node) {
  return node.type() == NodeType::comment || node.type() == NodeType::line_comment ||
         node.type() == NodeType::block_comment || node.type() == NodeType::marginalia;
}

}  // namespace engines::treesitter
