// Functions that replace the core's own of the same names in its stack.c (cmake/Grammars.cmake).
// They do the same in less time and without recursion.
//
// Tested by tests/core_test.py and tests/killers_test.cpp.
#pragma once

#include <string.h>

// Leaves the parse by an exception when its time is up (engines/treesitter/parsing/parser.cpp).
void treesitter_engine_check_time(void);

static uint32_t stack__subtree_node_count(Subtree subtree);
StackSliceArray published_ts_stack_pop_count(Stack* self, StackVersion version, uint32_t count);

// Releases one reference to a node. The core's own function calls itself for every predecessor of a
// dead node but the first, and broken code makes chains of such nodes as long as the file: 3 kB of
// `-;` in Rust overflow a native stack of 64 KiB. Here the nodes that are not yet fully released
// form a list, so that no recursion is needed.
//
// A chain may have millions of nodes, so the time is checked on the way. Leaving in the middle
// loses nothing: stack and pool lie in the parse's arena and are not used again.
static void stack_node_release(StackNode* self, StackNodeArray* pool, SubtreePool* subtree_pool) {
  StackNode* dead = NULL;  // the newest; each holds the next older one in place of its position
  for (uint32_t steps = 1;; ++steps) {
    if (steps % (16 * 1024) == 0) treesitter_engine_check_time();
    ts_assert(self->ref_count != 0);
    if (--self->ref_count == 0) {
      memcpy(&self->position, &dead, sizeof dead);
      dead = self;
    }
    while (dead && dead->link_count == 0) {
      StackNode* const node = dead;
      memcpy(&dead, &node->position, sizeof dead);
      if (pool->size < MAX_NODE_POOL_SIZE) {
        array_push(pool, node);
      } else {
        ts_free(node);
      }
    }
    if (!dead) return;
    const StackLink link = dead->links[--dead->link_count];
    if (link.subtree.ptr) ts_subtree_release(subtree_pool, link.subtree);
    self = link.node;
  }
}

// Writes a position. Readers load its first two fields at once, and that load would wait for two
// separate stores.
static inline void store_position(Length* to, Length position) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  const uint64_t first = position.bytes | (uint64_t)position.extent.row << 32;
  memcpy(to, &first, sizeof first);
  to->extent.column = position.extent.column;
#else
  *to = position;
#endif
}

// Makes a node. The core's own function clears the room for eight links, 240 bytes for each token
// and each node of the tree, though nearly every node has one link.
__attribute__((always_inline)) static inline StackNode* stack_node_new(
    StackNode* previous, Subtree subtree, bool is_pending, TSStateId state, StackNodeArray* pool) {
  StackNode* const node = pool->size > 0 ? array_pop(pool) : ts_malloc(sizeof(StackNode));
  node->state = state;
  node->ref_count = 1;
  node->link_count = previous ? 1 : 0;
  node->links[0] = (StackLink){.node = previous, .subtree = subtree, .is_pending = is_pending};
  Length position = previous ? previous->position : length_zero();
  node->error_cost = previous ? previous->error_cost : 0;
  node->node_count = previous ? previous->node_count : 0;
  node->dynamic_precedence = previous ? previous->dynamic_precedence : 0;
  if (previous && subtree.ptr) {
    node->error_cost += ts_subtree_error_cost(subtree);
    position = length_add(position, ts_subtree_total_size(subtree));
    node->node_count += stack__subtree_node_count(subtree);
    node->dynamic_precedence += ts_subtree_dynamic_precedence(subtree);
  }
  store_position(&node->position, position);
  return node;
}

// The node that lies `count` subtrees below `node`, not counting extras; NULL when the stack
// branches or ends before. Sets `size` to the number of subtrees down to it, extras included.
static StackNode* stack_node_below(StackNode* node, uint32_t count, uint32_t* size) {
  *size = 0;
  while (count > 0) {
    if (node->link_count != 1) return NULL;
    const Subtree subtree = node->links[0].subtree;
    if (subtree.ptr) ++*size;
    if (!subtree.ptr || !ts_subtree_extra(subtree)) --count;
    node = node->links[0].node;
  }
  return node;
}

// Adds a version of the stack whose top is `node`. The core's own function builds the head in
// another place and copies it: wide loads then read what narrow stores have just written, and the
// processor waits.
static StackVersion ts_stack__add_version(Stack* self, StackVersion original_version,
                                          StackNode* node) {
  if (self->heads.size == self->heads.capacity) {
    array_reserve(&self->heads, self->heads.capacity * 2);
  }
  const StackHead* const original = array_get(&self->heads, original_version);
  StackHead* const head = &self->heads.contents[self->heads.size];
  head->node = node;
  head->summary = NULL;
  head->node_count_at_last_error = original->node_count_at_last_error;
  head->last_external_token = original->last_external_token;
  head->lookahead_when_paused = NULL_SUBTREE;
  head->status = StackStatusActive;
  stack_node_retain(node);
  if (head->last_external_token.ptr) ts_subtree_retain(head->last_external_token);
  return (StackVersion)self->heads.size++;
}

// Pops `count` subtrees. The core's own function follows all branches of the stack at once, with a
// callback for each step. Nearly always there is no branch, and two loops along the stack do.
StackSliceArray ts_stack_pop_count(Stack* self, StackVersion version, uint32_t count) {
  StackNode* node = array_get(&self->heads, version)->node;
  uint32_t size = 0;
  StackNode* const bottom = stack_node_below(node, count, &size);
  if (!bottom) return published_ts_stack_pop_count(self, version, count);

  SubtreeArray subtrees = array_new();
  // They become a node's children, and the node's data is put behind them in the same block.
  const uint32_t room = (uint32_t)(ts_subtree_alloc_size(count) / sizeof(Subtree));
  array_reserve(&subtrees, size > room ? size : room);
  subtrees.size = size;
  for (; node != bottom; node = node->links[0].node) {
    const Subtree subtree = node->links[0].subtree;
    if (!subtree.ptr) continue;
    ts_subtree_retain(subtree);
    subtrees.contents[--size] = subtree;
  }
  array_reserve(&self->slices, 1);
  self->slices.contents[0].subtrees = subtrees;
  self->slices.contents[0].version = ts_stack__add_version(self, version, bottom);
  self->slices.size = 1;
  // Field by field: a load of all of self->slices would wait for the store of its size above.
  return (StackSliceArray){self->slices.contents, 1, self->slices.capacity};
}

// Takes the topmost `count` subtrees, not counting extras, from the stack's only version and
// returns true. Changes nothing and returns false when there are other versions, or when the stack
// branches on the way. The caller gets the stack's own references to the subtrees.
static bool treesitter_engine_stack_take(Stack* self, uint32_t count, SubtreeArray* subtrees) {
  if (self->heads.size != 1) return false;
  StackNode* node = self->heads.contents[0].node;
  uint32_t size = 0;
  StackNode* bottom = node;
  for (uint32_t left = count; left > 0; bottom = bottom->links[0].node) {
    if (bottom->link_count != 1 || bottom->ref_count != 1) return false;
    const Subtree subtree = bottom->links[0].subtree;
    if (!subtree.ptr) return false;
    ++size;
    if (!ts_subtree_extra(subtree)) --left;
  }
  *subtrees = (SubtreeArray)array_new();
  // They become a node's children, and the node's data is put behind them in the same block.
  const uint32_t room = (uint32_t)(ts_subtree_alloc_size(count) / sizeof(Subtree));
  array_reserve(subtrees, size > room ? size : room);
  subtrees->size = size;
  while (node != bottom) {
    StackNode* const below = node->links[0].node;
    subtrees->contents[--size] = node->links[0].subtree;
    if (self->node_pool.size < MAX_NODE_POOL_SIZE) {
      array_push(&self->node_pool, node);
    } else {
      ts_free(node);
    }
    node = below;
  }
  self->heads.contents[0].node = bottom;
  return true;
}

// Pops everything; called for each step. The stack of a file of open brackets is as long as the
// file. The core's own function never checks the time: 10 MB of brackets took seconds.
static StackAction pop_all_callback(void* payload, const StackIterator* iterator) {
  (void)payload;
  if (iterator->subtrees.size % 16384 == 16383) treesitter_engine_check_time();
  return iterator->node->link_count == 0 ? StackActionPop : StackActionNone;
}
