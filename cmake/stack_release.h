// Compiled into the core's stack.c in the place of its stack_node_release (cmake/Grammars.cmake).
//
// The core's own calls itself for every predecessor of a dead node but the first, and broken code
// makes chains of such nodes as long as the file: 3 kB of `-;` in Rust overflow a stack of 64 KiB.
// Here the nodes that are half released form a list, so that the native stack stays as it is.
#pragma once

#include <string.h>

static void stack_node_release(StackNode* self, StackNodeArray* pool, SubtreePool* subtree_pool) {
  StackNode* dead = NULL;  // the newest; each names the one before it where its position was
  for (;;) {
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
