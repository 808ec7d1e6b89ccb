// Node: a small value that names one node of a SyntaxTree.
//
// It offers what the tree-sitter library's node offers, at one step each: the library descends from
// the root to find a parent, so that rules which ask for ancestors and siblings would be quadratic
// on wide and deep trees.
//
// A Node is two words, copied freely, and valid as long as its tree.
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

// Whether a rule's table holds this node type, or this text.
template <typename Value, typename Table>
constexpr bool is_one_of(const Value& value, const Table& table) {
  return std::find(std::begin(table), std::end(table), value) != std::end(table);
}

class NodeChildren;

class Node {
 public:
  Node(const SyntaxTree& tree, std::uint32_t index) : _tree(&tree), _index(index) {}

  // What the engine's tables call the node's type; NodeType::other for a type that no rule names.
  NodeType type() const { return record().type; }
  // The type's text, as the grammar (after the registry's aliases) has it.
  std::string_view type_text() const { return _tree->language().type_name(record().symbol); }

  std::uint32_t start_byte() const { return record().start_byte; }
  std::uint32_t end_byte() const { return record().end_byte; }
  std::uint32_t start_row() const { return record().start_row; }        // 0-based
  std::uint32_t start_column() const { return record().start_column; }  // 0-based, in bytes
  std::uint32_t end_row() const { return record().end_row; }            // 0-based

  std::uint16_t symbol() const { return record().symbol; }  // the grammar's
  bool is_named() const { return _tree->language().is_named(record().symbol); }
  // The grammar's id of the field under which the parent has this node, or 0. Known in a tree that
  // was read with Fields::all only.
  std::uint8_t field() const { return record().field; }

  // All children, named and anonymous, in source order.
  NodeChildren children() const;
  bool has_children() const { return _index + 1 < record().subtree_end; }
  // The first child of this type, or none.
  std::optional<Node> first_child(NodeType type) const;

  std::optional<Node> parent() const { return node_at(record().parent); }
  std::optional<Node> previous_sibling() const;
  // The siblings before and behind it in the array. They are what the library names, but for nodes
  // without width, of which previous_sibling knows more.
  std::optional<Node> previous_record() const { return node_at(record().previous); }
  std::optional<Node> next_sibling() const {
    const std::optional<Node> owner = parent();
    if (!owner || record().subtree_end == owner->record().subtree_end) return std::nullopt;
    return Node(*_tree, record().subtree_end);
  }
  // The nearest ancestor of a type in SCOPE_TYPES (syntax_tree.h): the ones at which the rules'
  // upward searches end. One step, however deep the tree is.
  std::optional<Node> scope() const { return node_at(record().scope); }

  // The child under a field, as the library gives it: it may be a deeper descendant where a grammar
  // passes a field through a hidden or aliased rule (`typeof a.b.c` in TypeScript).
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
