// Reads a parsed tree into the array of a SyntaxTree, by walking the core's own subtrees.
//
// The public ways cost 15 to 19 % of a parse, because each step rebuilds what the step before it
// knew; this one costs about 6 %. It relies on three facts of the core at its pinned version, all
// in the core's private headers: a subtree's children lie before its data; the padding of a first
// child is its parent's; and an alias, given per production and position among the children that
// are no extras, makes a hidden node visible. A hidden node's children belong to its nearest
// visible ancestor. The equality with the public accessors is tested on every golden input.
//
// Tested by tests/syntax_tree_test.cpp.
#include <tree_sitter/api.h>

#include <algorithm>
#include <array>

#include "engines/treesitter/core/syntax_tree.h"

extern "C" {
#include <lib/src/language.h>
#include <lib/src/subtree.h>
#include <lib/src/tree.h>
}

namespace engines::treesitter {
namespace {

using languages::NodeType;

bool is_scope(NodeType type) {
  return std::find(SCOPE_TYPES.begin(), SCOPE_TYPES.end(), type) != SCOPE_TYPES.end();
}

}  // namespace

class TreeReader {
 public:
  explicit TreeReader(SyntaxTree& tree) : _tree(tree) {
    const Subtree& root = _tree._tree->root;
    const std::size_t count = ts_subtree_visible_descendant_count(root) + std::size_t{1};
    _tree._lease->charge(count * (sizeof(NodeRecord) + sizeof(NodeHandle)));
    _tree._records.reserve(count);
    _tree._handles.reserve(count);
    const Length start = ts_subtree_padding(root);
    open(root, start, {add(root, start, 0, NodeRecord::NONE, NodeRecord::NONE), NodeRecord::NONE});
  }

  void read() {
    while (!_frames.empty()) {
      if (_frames.back().next == _frames.back().end) {
        close();
      } else {
        visit(_frames.back());
      }
    }
  }

 private:
  // The visible node to which children are being added.
  struct Owner {
    std::uint32_t index;
    std::uint32_t last_child;  // so far, or NONE
  };

  // A subtree whose children are being read. A hidden one hands its owner back when it is done.
  struct Frame {
    const Subtree* next;
    const Subtree* end;
    const TSSymbol* alias;  // of the next child that is no extra, or null
    Length position;        // where the last child read ends
    bool is_first;
    bool is_hidden;
    Owner owner;
  };

  void visit(Frame& frame) {
    const Subtree& child = *frame.next++;
    if (!frame.is_first) frame.position = length_add(frame.position, ts_subtree_padding(child));
    frame.is_first = false;
    TSSymbol alias = 0;
    if (frame.alias != nullptr && !ts_subtree_extra(child)) alias = *frame.alias++;
    const Length start = frame.position;
    frame.position = length_add(start, ts_subtree_size(child));
    if (alias == 0 && !ts_subtree_visible(child)) {
      open(child, start, frame.owner, true);
      return;
    }
    const std::uint32_t index = add(child, start, alias, frame.owner.index, frame.owner.last_child);
    frame.owner.last_child = index;
    open(child, start, {index, NodeRecord::NONE}, false);
  }

  void open(const Subtree& subtree, Length start, Owner owner, bool is_hidden = false) {
    const std::uint32_t count = ts_subtree_child_count(subtree);
    if (count == 0) return;
    const Subtree* const children = ts_subtree_children(subtree);
    const TSSymbol* const aliases =
        ts_language_alias_sequence(_tree._tree->language, subtree.ptr->production_id);
    _frames.push_back({children, children + count, aliases, start, true, is_hidden, owner});
  }

  void close() {
    const Frame frame = _frames.back();
    _frames.pop_back();
    if (frame.is_hidden) {
      _frames.back().owner = frame.owner;
    } else {
      _tree._records[frame.owner.index].subtree_end = _tree.size();
    }
  }

  std::uint32_t add(const Subtree& subtree, Length start, TSSymbol alias, std::uint32_t parent,
                    std::uint32_t previous) {
    const std::uint32_t index = _tree.size();
    const TSSymbol symbol = alias != 0 ? alias : ts_subtree_symbol(subtree);
    const Length end = length_add(start, ts_subtree_size(subtree));
    _tree._records.push_back({
        .start_byte = start.bytes,
        .end_byte = end.bytes,
        .start_row = start.extent.row,
        .start_column = start.extent.column,
        .end_row = end.extent.row,
        .parent = parent,
        .previous = previous,
        .subtree_end = index + 1,
        .scope = scope_below(parent),
        .symbol = symbol,
        .type = _tree._language->node_type(symbol),
    });
    _tree._handles.push_back({&subtree, alias});
    return index;
  }

  std::uint32_t scope_below(std::uint32_t parent) const {
    if (parent == NodeRecord::NONE) return NodeRecord::NONE;
    const NodeRecord& record = _tree._records[parent];
    return is_scope(record.type) ? parent : record.scope;
  }

  SyntaxTree& _tree;
  std::vector<Frame> _frames;
};

SyntaxTree::SyntaxTree(ArenaLease lease, const TSTree& tree, const languages::Language& language,
                       const Source& source)
    : _lease(std::move(lease)), _tree(&tree), _language(&language), _source(&source) {
  TreeReader(*this).read();
}

}  // namespace engines::treesitter
