// Included by the compiler in front of each grammar's scanner.c: what the engine needs otherwise in the
// installed sources, which stay untouched.
//
// Memory: every scanner's goes through the core's allocator hook. Most scanners ask for it by ts_malloc,
// which TREE_SITTER_REUSE_ALLOCATOR directs to the hook; some (Python, Markdown, SQL) call malloc itself,
// and their memory would escape the budget and the arena that stand behind the hook. The system headers
// that declare these functions come first, so that the macros meet calls only. They are function-like: a
// member or a variable called `free` stays what it is.
//
// State: scanners stop, or write past the end, at the core's 1,024 bytes. The engine hands them a larger
// buffer and keeps what the core has no room for (core/guarded_grammar.h).
//
// YAML: its scanner counts rows and columns in 16 bits, and finds no key from row 32,768 on. Counted in 32
// bits it does.
#pragma once

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "tree_sitter/parser.h"

extern void* (*ts_current_malloc)(size_t size);
extern void* (*ts_current_calloc)(size_t count, size_t size);
extern void* (*ts_current_realloc)(void* pointer, size_t size);
extern void (*ts_current_free)(void* pointer);

#define malloc(size) ts_current_malloc(size)
#define calloc(count, size) ts_current_calloc(count, size)
#define realloc(pointer, size) ts_current_realloc(pointer, size)
#define free(pointer) ts_current_free(pointer)

#undef TREE_SITTER_SERIALIZATION_BUFFER_SIZE
#define TREE_SITTER_SERIALIZATION_BUFFER_SIZE (64 * 1024)

#ifdef TREESITTER_ENGINE_WIDE_ROWS
#define int16_t int32_t
#endif

// These allocate inside the C library, where the hook cannot see it, and their result would then be
// freed through the hook. No scanner uses them; one that begins to does not compile.
#pragma GCC poison strdup strndup wcsdup asprintf vasprintf getline getdelim reallocarray
#pragma GCC poison aligned_alloc posix_memalign open_memstream
