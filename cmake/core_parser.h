// Functions that replace the core's own of the same names in its parser.c (cmake/Grammars.cmake).
// They do the same in less time, but nothing is logged.
//
// Tested by tests/core_test.py.
#pragma once

// The engine sets no logger, and the parser would ask for one several times for each action.
#undef LOG
#undef LOG_LOOKAHEAD
#undef LOG_STACK
#undef LOG_TREE
#define LOG(...)
#define LOG_LOOKAHEAD(...)
#define LOG_STACK()
#define LOG_TREE(...)
static void ts_parser__log(TSParser* self) { (void)self; }

// Functions that run for every token or node. The compiler would not inline them by itself.
#define ALWAYS_INLINE __attribute__((always_inline))
Subtree ts_subtree_new_leaf(SubtreePool*, TSSymbol, Length, Length, uint32_t, TSStateId, bool, bool,
                            bool, const TSLanguage*) ALWAYS_INLINE;
MutableSubtree ts_subtree_new_node(TSSymbol, SubtreeArray*, unsigned,
                                   const TSLanguage*) ALWAYS_INLINE;
void ts_stack_push(Stack*, StackVersion, Subtree, bool, TSStateId) ALWAYS_INLINE;
void ts_subtree_array_remove_trailing_extras(SubtreeArray*, SubtreeArray*) ALWAYS_INLINE;
TSStateId ts_language_next_state(const TSLanguage*, TSStateId, TSSymbol) ALWAYS_INLINE;
void ts_subtree_retain(Subtree) ALWAYS_INLINE;
void ts_lexer_start(Lexer*) ALWAYS_INLINE;
void ts_lexer_finish(Lexer*, uint32_t*) ALWAYS_INLINE;
static bool ts_parser__check_progress(TSParser*, Subtree*, const uint32_t*, unsigned) ALWAYS_INLINE;
static inline void treesitter_engine_table_entry(const TSLanguage*, TSStateId, TSSymbol,
                                                 TableEntry*) ALWAYS_INLINE;
#undef ALWAYS_INLINE

static bool treesitter_engine_stack_take(Stack* self, uint32_t count, SubtreeArray* subtrees);
static StackVersion published_ts_parser__reduce(TSParser* self, StackVersion version,
                                                TSSymbol symbol, uint32_t count,
                                                int dynamic_precedence, uint16_t production_id,
                                                bool is_fragile, bool end_of_non_terminal_extra);

// The actions for a token in a state, as the core's own function gives them, but without a last one
// that the parser would skip: where a list may end or go on, a grammar has an action to reduce and,
// marked as a repetition, one to shift. With one action left, ts_parser__reduce can work in place.
//
// After an error the parser asks this for every token of the grammar, and most have no action.
static inline void treesitter_engine_table_entry(const TSLanguage* self, TSStateId state,
                                                 TSSymbol symbol, TableEntry* result) {
  *result = (TableEntry){.actions = NULL, .action_count = 0, .is_reusable = false};
  if (symbol == ts_builtin_sym_error || symbol == ts_builtin_sym_error_repeat) return;
  ts_assert(symbol < self->token_count);
  const uint16_t index = ts_language_lookup(self, state, symbol);
  if (index == 0) return;
  const TSParseActionEntry* const entry = &self->parse_actions[index];
  const TSParseAction* const actions = (const TSParseAction*)(entry + 1);
  uint32_t count = entry->entry.count;
  while (count > 1 && actions[count - 1].type == TSParseActionTypeShift &&
         actions[count - 1].shift.repetition) {
    --count;
  }
  result->actions = actions;
  result->action_count = count;
  result->is_reusable = entry->entry.reusable;
}
#define ts_language_table_entry treesitter_engine_table_entry

// Makes a node of the topmost `count` subtrees. The core's own function makes a new version of the
// stack for the node and then removes the old one, because a grammar may allow several reductions
// at once and versions may merge. Nearly always there is one version and one reduction, and the
// stack is changed in place.
static StackVersion ts_parser__reduce(TSParser* self, StackVersion version, TSSymbol symbol,
                                      uint32_t count, int dynamic_precedence,
                                      uint16_t production_id, bool is_fragile,
                                      bool end_of_non_terminal_extra) {
  SubtreeArray children;
  if (is_fragile || !treesitter_engine_stack_take(self->stack, count, &children)) {
    return published_ts_parser__reduce(self, version, symbol, count, dynamic_precedence,
                                       production_id, is_fragile, end_of_non_terminal_extra);
  }
  ts_subtree_array_remove_trailing_extras(&children, &self->trailing_extras);
  const MutableSubtree parent =
      ts_subtree_new_node(symbol, &children, production_id, self->language);
  const TSStateId state = ts_stack_state(self->stack, version);
  const TSStateId next_state = ts_language_next_state(self->language, state, symbol);
  if (end_of_non_terminal_extra && next_state == state) parent.ptr->extra = true;
  parent.ptr->parse_state = state;
  parent.ptr->dynamic_precedence += dynamic_precedence;
  ts_stack_push(self->stack, version, ts_subtree_from_mut(parent), false, next_state);
  for (uint32_t i = 0; i < self->trailing_extras.size; ++i) {
    ts_stack_push(self->stack, version, self->trailing_extras.contents[i], false, next_state);
  }
  return version;
}
