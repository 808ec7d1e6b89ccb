// Included by the compiler before each grammar's scanner.c. It replaces functions and constants
// that the scanners use; the installed sources stay unchanged. The system headers that declare the
// replaced functions are included first, so that the macros replace calls only.
//
// Memory: all of it comes from the arena of the parse (allocator.h). Most scanners call ts_malloc,
// but some (Python, Markdown, SQL) call malloc itself, and their memory would escape the budget and
// the arena. The macros are function-like, so that a member or a variable called `free` keeps its
// name.
//
// State: at the core's 1,024 bytes some scanners stop, and others write past the end. The engine
// gives them a larger buffer, stores states that the core has no room for, and checks each copy
// into the buffer (engines/treesitter/parsing/guarded_grammar.h).
//
// Characters: the C library's functions depend on the locale that the host has set, so that one
// file would give several results. The scanners get Unicode's answers
// (engines/treesitter/text/text_for_scanners.cpp). Markdown calls isdigit with any code point, and
// the C library looks it up in a table of 384.
//
// YAML: its scanner counts rows and columns in 16 bits, and finds no key from row 32,768 on. Here
// it counts in 32 bits.
//
// Tested by tests/guards_test.cpp and tests/killers_test.cpp.
#pragma once

#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>
#include <wctype.h>

#include "allocator.h"
#include "scanner_state.h"
#include "tree_sitter/parser.h"

#define malloc(size) treesitter_engine_allocate(size)
#define calloc(count, size) treesitter_engine_allocate_zeroed(count, size)
#define realloc(block, size) treesitter_engine_reallocate(block, size)
#define free(block) treesitter_engine_deallocate(block)

#undef TREE_SITTER_SERIALIZATION_BUFFER_SIZE
#define TREE_SITTER_SERIALIZATION_BUFFER_SIZE TREESITTER_ENGINE_SCANNER_STATE_BYTES

extern void* treesitter_engine_copy(void* destination, const void* source, size_t size);
#undef memcpy
#define memcpy(destination, source, size) treesitter_engine_copy(destination, source, size)

extern int treesitter_engine_iswspace(wint_t character);
extern int treesitter_engine_iswalpha(wint_t character);
extern int treesitter_engine_iswalnum(wint_t character);
extern int treesitter_engine_iswupper(wint_t character);
extern int treesitter_engine_iswlower(wint_t character);
extern wint_t treesitter_engine_towlower(wint_t character);
#undef iswspace
#undef iswalpha
#undef iswalnum
#undef iswupper
#undef iswlower
#undef towlower
#undef isdigit
#define iswspace(character) treesitter_engine_iswspace((wint_t)(character))
#define iswalpha(character) treesitter_engine_iswalpha((wint_t)(character))
#define iswalnum(character) treesitter_engine_iswalnum((wint_t)(character))
#define iswupper(character) treesitter_engine_iswupper((wint_t)(character))
#define iswlower(character) treesitter_engine_iswlower((wint_t)(character))
#define towlower(character) treesitter_engine_towlower((wint_t)(character))
#define isdigit(character) iswdigit((wint_t)(character))

#ifdef TREESITTER_ENGINE_WIDE_ROWS
#define int16_t int32_t
#endif

// No scanner uses these functions; one that begins to will not compile. Those of the first two
// lines allocate inside the C library, and the scanner would then free their result in the arena.
// The others depend on the locale.
#pragma GCC poison strdup strndup wcsdup asprintf vasprintf getline getdelim reallocarray
#pragma GCC poison aligned_alloc posix_memalign open_memstream
#pragma GCC poison isalnum isalpha isblank iscntrl isgraph islower isprint ispunct isspace isupper
#pragma GCC poison isxdigit tolower toupper iswblank iswcntrl iswgraph iswprint iswpunct towupper
