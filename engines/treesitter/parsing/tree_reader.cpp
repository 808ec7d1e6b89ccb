// Reads a parsed tree into the array of a SyntaxTree, by walking the core's own subtrees.
//
// The public cursor costs 15 to 19 % of a parse, since each step computes again what the step
// before it computed; this costs about 6 %. It relies on three facts of the core's pinned version:
// a subtree's children lie before its data; the padding of a first child is also its parent's; and
// an alias makes a hidden node visible. Aliases are given for each production, by position among
// the children that are no extras. The children of a hidden node belong to its nearest visible
// ancestor. The test compares all records with the public accessors, on every golden input.
//
// Tested by tests/syntax_tree_test.cpp.
#include <tree_sitter/api.h>

#include <algorithm>

#include "engines/treesitter/parsing/syntax_tree.h"

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

// The facts about a subtree that the walk needs. A small leaf is stored in its parent's pointer to
// it. Other subtrees lie elsewhere in memory, mostly outside the caches, so each is read once.
struct Facts {
  std::uint32_t padding;  // in bytes, as the size
  std::uint32_t size;
  std::uint32_t child_count;
  TSSymbol symbol;
  bool is_visible;
  bool is_extra;
};

[[gnu::always_inline]] inline Facts facts_of(const Subtree& subtree) {
  if (subtree.data.is_inline) {
    const SubtreeInlineData& leaf = subtree.data;
    return {.padding = leaf.padding_bytes,
            .size = leaf.size_bytes,
            .child_count = 0,
            .symbol = leaf.symbol,
            .is_visible = leaf.visible,
            .is_extra = leaf.extra};
  }
  const SubtreeHeapData& node = *subtree.ptr;
  return {.padding = node.padding.bytes,
          .size = node.size.bytes,
          .child_count = node.child_count,
          .symbol = node.symbol,
          .is_visible = node.visible,
          .is_extra = node.extra};
}

}  // namespace

// The walk is inlined into one loop, with frame and facts in registers. Without the attributes the
// compiler makes calls and passes both through memory, which takes a third more time.
template <Fields FIELDS>
class TreeReader {
 public:
  explicit TreeReader(SyntaxTree& tree) : _tree(tree) {
    const std::size_t count =
        ts_subtree_visible_descendant_count(_tree._tree->root) + std::size_t{1};
    _tree._lease->charge(count * (sizeof(NodeRecord) + sizeof(void*)));
    _tree._lease->raise_budget(STACK_PER_BYTE * tree._source->bytes().size());
    _tree._records.reserve(count);
    _tree._subtrees.reserve(count);
  }

  void read() {
    const Subtree& root = _tree._tree->root;
    const Facts facts = facts_of(root);
    const Owner nobody = {NodeRecord::NONE, NodeRecord::NONE, NodeRecord::NONE};
    const Owner owner = add(root, facts, 0, facts.padding, nobody, 0);
    if (facts.child_count == 0) return;
    Frame frame = frame_of(root, facts, facts.padding, owner, false, 0);
    std::uint32_t visits = 0;
    do {
      while (frame.next != frame.end) {
        visit(frame);
        // Visits are counted, not frames: one may have millions of children, and millions may be
        // open.
        if (++visits % NODES_PER_CHECK == 0) _tree._source->check_cancelled();
      }
    } while (close(frame));
  }

 private:
  static constexpr std::size_t LEAST_PARENTS = 64;
  // The memory of `_parents`, beyond the budget of the parse. A chain of operators has two frames
  // for each byte, and two and a half times that while the vector grows. The memory is free again
  // before the texts of the result are made.
  static constexpr std::size_t STACK_PER_BYTE = 288;

  // The visible node to which children are being added.
  struct Owner {
    std::uint32_t index;
    std::uint32_t last_child;  // so far, or NONE
    std::uint32_t scope;       // of its children, or NONE
  };

  // A subtree whose children are being read. A hidden one has its parent's owner, and gives it back
  // at its end.
  struct Frame {
    const Subtree* next;
    const Subtree* end;
    const TSSymbol* alias;   // of the next child that is no extra, or null
    std::uint32_t position;  // of the end of the child read last
    bool is_first;
    bool is_hidden;
    std::uint8_t field;        // of a hidden subtree, and so of the nodes in its place
    std::uint8_t child_index;  // of the next child that is no extra, in the production
    TSMapSlice fields;         // of the production
    Owner owner;
  };

  // Reads the next child of `frame`. If the child has children, it becomes the frame.
  [[gnu::always_inline]] void visit(Frame& frame) {
    const Subtree& child = *frame.next++;
    const Facts facts = facts_of(child);
    const std::uint32_t start = frame.position + (frame.is_first ? 0 : facts.padding);
    frame.is_first = false;
    frame.position = start + facts.size;
    TSSymbol alias = 0;
    if (frame.alias != nullptr && !facts.is_extra) alias = *frame.alias++;
    std::uint8_t field = 0;
    if constexpr (FIELDS == Fields::all) {
      if (!facts.is_extra) field = field_of_next(frame);
    }
    const bool is_hidden = alias == 0 && !facts.is_visible;
    Owner owner = frame.owner;
    if (!is_hidden) {
      owner = add(child, facts, alias, start, frame.owner, field);
      frame.owner.last_child = owner.index;
    }
    if (facts.child_count == 0) return;
    if (_parents.size() == _parents.capacity()) grow_parents();
    _parents.push_back(frame);
    frame = frame_of(child, facts, start, owner, is_hidden, field);
  }

  // The field of the frame's next child. The field of a hidden child is that of every node that
  // appears in its place, unless the hidden child's own production gives the node a field.
  [[gnu::always_inline]] std::uint8_t field_of_next(Frame& frame) const {
    if (frame.fields.length > 0) {
      const std::uint8_t position = frame.child_index++;
      const TSFieldMapEntry* entry = &_tree._tree->language->field_map_entries[frame.fields.index];
      for (const TSFieldMapEntry* end = entry + frame.fields.length; entry != end; ++entry) {
        if (entry->child_index == position && !entry->inherited) {
          return static_cast<std::uint8_t>(entry->field_id);
        }
      }
    }
    return frame.is_hidden ? frame.field : 0;
  }

  [[gnu::always_inline]] Frame frame_of(const Subtree& subtree, const Facts& facts,
                                        std::uint32_t start, Owner owner, bool is_hidden,
                                        std::uint8_t field) const {
    const Subtree* const children = ts_subtree_children(subtree);
    const TSLanguage* const language = _tree._tree->language;
    const std::uint16_t production = subtree.ptr->production_id;
    const TSSymbol* const aliases = ts_language_alias_sequence(language, production);
    TSMapSlice fields{};
    if constexpr (FIELDS == Fields::all) {
      if (language->field_count > 0) fields = language->field_map_slices[production];
    }
    return {.next = children,
            .end = children + facts.child_count,
            .alias = aliases,
            .position = start,
            .is_first = true,
            .is_hidden = is_hidden,
            .field = field,
            .child_index = 0,
            .fields = fields,
            .owner = owner};
  }

  // Ends the frame and makes its parent the frame. Returns false when it has none.
  [[gnu::always_inline]] bool close(Frame& frame) {
    const Owner owner = frame.owner;
    if (!frame.is_hidden) _tree._records[owner.index].subtree_end = _tree.size();
    if (_parents.empty()) return false;
    const bool is_hidden = frame.is_hidden;
    frame = _parents.back();
    _parents.pop_back();
    if (is_hidden) frame.owner = owner;
    return true;
  }

  // Grows by half, which takes less memory at once than doubling.
  [[gnu::noinline]] void grow_parents() {
    const std::size_t before = _parents.capacity();
    const std::size_t after = std::max<std::size_t>(before + before / 2, LEAST_PARENTS);
    _tree._lease->charge(after * sizeof(Frame));
    _parents.reserve(after);
    _tree._lease->uncharge(before * sizeof(Frame));
  }

  // Adds the record of a visible node, and returns the node as an owner.
  [[gnu::always_inline]] Owner add(const Subtree& subtree, const Facts& facts, TSSymbol alias,
                                   std::uint32_t start, const Owner& parent, std::uint8_t field) {
    const std::uint32_t index = _tree.size();
    const TSSymbol symbol = alias != 0 ? alias : facts.symbol;
    const NodeType type = _tree._language->node_type(symbol);
    _tree._records.push_back({
        .start_byte = start,
        .end_byte = start + facts.size,
        .parent = parent.index,
        .previous = parent.last_child,
        .subtree_end = index + 1,
        .scope = parent.scope,
        .symbol = symbol,
        .type = type,
        .field = field,
    });
    _tree._subtrees.push_back(&subtree);
    return {index, NodeRecord::NONE, is_scope(type) ? index : parent.scope};
  }

  SyntaxTree& _tree;
  std::vector<Frame> _parents;  // of the current frame, the outermost first
};

SyntaxTree::SyntaxTree(ArenaLease lease, const TSTree& tree, const languages::Language& language,
                       const Source& source, Fields fields)
    : _lease(std::move(lease)), _tree(&tree), _language(&language), _source(&source) {
  if (fields == Fields::all) {
    TreeReader<Fields::all>(*this).read();
  } else {
    TreeReader<Fields::on_demand>(*this).read();
  }
}

}  // namespace engines::treesitter
