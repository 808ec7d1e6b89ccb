// A function that replaces the core's own of the same name in its subtree.c (cmake/Grammars.cmake).
//
// Tested by tests/core_test.py.
#pragma once

void published_ts_subtree_summarize_children(MutableSubtree self, const TSLanguage* language);

// Computes the fields of a node that depend on its children. The core's own function does more: it
// also computes what only a later parse of an edited text needs (the first leaf, how far the lexer
// looked ahead, whether nodes are fragile, have external tokens or depend on their column). It also
// keeps the sums in the node itself, where each addition waits for the one before; here they are
// in registers.
void ts_subtree_summarize_children(MutableSubtree self, const TSLanguage* language) {
  SubtreeHeapData* const node = self.ptr;
  if (node->child_count == 0) {
    published_ts_subtree_summarize_children(self, language);
    return;
  }
  const Subtree* const children = ts_subtree_children(self);
  const Subtree* const end = children + node->child_count;
  const bool is_error =
      node->symbol == ts_builtin_sym_error || node->symbol == ts_builtin_sym_error_repeat;
  const TSSymbol* alias = ts_language_alias_sequence(language, node->production_id);
  node->padding = ts_subtree_padding(*children);
  uint32_t bytes = 0;
  TSPoint extent = {0, 0};
  uint32_t error_cost = 0;
  uint32_t visible = 0;
  uint32_t named = 0;
  uint32_t descendants = 0;
  int32_t precedence = 0;
  for (const Subtree* child = children; child != end; ++child) {
    bool is_visible;
    bool is_named;
    bool is_extra;
    TSSymbol symbol;
    if (child->data.is_inline) {
      const SubtreeInlineData leaf = child->data;
      bytes += leaf.size_bytes;
      if (child != children) {
        bytes += leaf.padding_bytes;
        extent.row += leaf.padding_rows;
        extent.column = (leaf.padding_rows > 0 ? 0 : extent.column) + leaf.padding_columns;
      }
      extent.column += leaf.size_bytes;
      if (leaf.is_missing) error_cost += ERROR_COST_PER_MISSING_TREE + ERROR_COST_PER_RECOVERY;
      if (is_error && leaf.visible && !leaf.extra) error_cost += ERROR_COST_PER_SKIPPED_TREE;
      is_visible = leaf.visible;
      is_named = leaf.named;
      is_extra = leaf.extra;
      symbol = leaf.symbol;
    } else {
      const SubtreeHeapData* const inner = child->ptr;
      bytes += inner->size.bytes;
      if (child != children) {
        bytes += inner->padding.bytes;
        extent = point_add(extent, inner->padding.extent);
      }
      extent = point_add(extent, inner->size.extent);
      is_visible = inner->visible;
      is_named = inner->named;
      is_extra = inner->extra;
      symbol = inner->symbol;
      if (symbol != ts_builtin_sym_error_repeat) error_cost += ts_subtree_error_cost(*child);
      if (is_error && !is_extra && !(symbol == ts_builtin_sym_error && inner->child_count == 0)) {
        const uint32_t skipped = is_visible               ? 1
                                 : inner->child_count > 0 ? inner->visible_child_count
                                                          : 0;
        error_cost += ERROR_COST_PER_SKIPPED_TREE * skipped;
      }
      if (inner->child_count > 0) {
        precedence += inner->dynamic_precedence;
        descendants += inner->visible_descendant_count;
        const bool is_aliased = alias && !is_extra && *alias != 0;
        if (!is_visible && !is_aliased) {
          visible += inner->visible_child_count;
          named += inner->named_child_count;
        }
      }
    }
    if (alias && !is_extra) {
      const TSSymbol replacing = *alias++;
      if (replacing != 0 && symbol != 0) {
        is_visible = true;
        is_named = ts_language_symbol_metadata(language, replacing).named;
      }
    }
    if (is_visible) {
      ++visible;
      ++descendants;
      if (is_named) ++named;
    }
  }
  node->size.bytes = bytes;
  node->size.extent = extent;
  if (is_error) {
    error_cost += ERROR_COST_PER_RECOVERY + ERROR_COST_PER_SKIPPED_CHAR * bytes +
                  ERROR_COST_PER_SKIPPED_LINE * extent.row;
  }
  node->error_cost = error_cost;
  node->visible_child_count = visible;
  node->named_child_count = named;
  node->visible_descendant_count = descendants;
  node->dynamic_precedence = precedence;
  node->repeat_depth = 0;
  if (node->child_count >= 2 && !node->visible && !node->named &&
      ts_subtree_symbol(children[0]) == node->symbol) {
    const uint32_t first = ts_subtree_repeat_depth(children[0]);
    const uint32_t last = ts_subtree_repeat_depth(end[-1]);
    node->repeat_depth = (uint16_t)((first > last ? first : last) + 1);
  }
}
