// The functions by which the core and the scanners allocate memory, in place of the core's hook.
// They take it from the arena of the calling thread's parse; engines/treesitter/parsing/parser.cpp
// defines them. A call by name can be inlined at link time, one through a pointer cannot.
#pragma once

#include <stddef.h>

void* treesitter_engine_allocate(size_t size);
void* treesitter_engine_allocate_zeroed(size_t count, size_t size);
void* treesitter_engine_reallocate(void* block, size_t size);
void treesitter_engine_deallocate(void* block);

// The core's own names for its hook.
#define ts_malloc(size) treesitter_engine_allocate(size)
#define ts_calloc(count, size) treesitter_engine_allocate_zeroed(count, size)
#define ts_realloc(block, size) treesitter_engine_reallocate(block, size)
#define ts_free(block) treesitter_engine_deallocate(block)
