// Sends the memory of every grammar's scanner through the core's allocator hook.
//
// Included by the compiler in front of each scanner.c. Most scanners ask for memory by ts_malloc, which
// TREE_SITTER_REUSE_ALLOCATOR directs to the hook; some (Python, Markdown, SQL) call malloc itself, and
// their memory would escape the budget and the arena that stand behind the hook. The installed sources
// stay untouched.
//
// The system headers that declare these functions come first, so that the macros meet calls only. They
// are function-like: a member or a variable called `free` stays what it is.
#pragma once

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

extern void* (*ts_current_malloc)(size_t size);
extern void* (*ts_current_calloc)(size_t count, size_t size);
extern void* (*ts_current_realloc)(void* pointer, size_t size);
extern void (*ts_current_free)(void* pointer);

#define malloc(size) ts_current_malloc(size)
#define calloc(count, size) ts_current_calloc(count, size)
#define realloc(pointer, size) ts_current_realloc(pointer, size)
#define free(pointer) ts_current_free(pointer)

// These allocate inside the C library, where the hook cannot see it, and their result would then be
// freed through the hook. No scanner uses them; one that begins to does not compile.
#pragma GCC poison strdup strndup wcsdup asprintf vasprintf getline getdelim reallocarray
#pragma GCC poison aligned_alloc posix_memalign open_memstream
